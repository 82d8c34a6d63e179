// SPDX-License-Identifier: MIT
#include "kernel/support/InstalledProgram.h"

#include <filesystem>
#include <map>

#include "kit/TemporaryDirectory.h"

namespace lightpen {

namespace {

namespace fs = std::filesystem;

class Installation {
public:
    explicit Installation(const fs::path& built) {
        fs::copy(built.parent_path(), folder_.path(), fs::copy_options::recursive);
        letEverybodyRead(fs::directory_entry(folder_.path()));
        for (const auto& entry : fs::recursive_directory_iterator(folder_.path()))
            letEverybodyRead(entry);
        program_ = folder_.file(built.filename().string());
    }
    const std::string& program() const { return program_; }

private:
    static void letEverybodyRead(const fs::directory_entry& entry) {
        using enum fs::perms;
        const auto read = owner_read | group_read | others_read;
        const auto enter = entry.is_directory() ? owner_exec | group_exec | others_exec : none;
        fs::permissions(entry.path(), read | enter, fs::perm_options::add);
    }

    TemporaryDirectory folder_;
    std::string program_;
};

} // namespace

const std::string& installedProgram(const std::string& built) {
    static std::map<std::string, Installation> installations;
    return installations.try_emplace(built, built).first->second.program();
}

} // namespace lightpen
