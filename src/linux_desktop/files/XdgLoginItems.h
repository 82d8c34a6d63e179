// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/LoginItems.h"

namespace lightpen {

// The items that were stored here, each as a desktop entry in the user's autostart folder, and those that
// came with a package, in the system's. Such an entry has keys of our own, and no other file there is listed,
// written or removed. An item's origin is the name of its file. A file of the user's goes before the system's
// of the same name, whatever is in it. Links, folders, pipes, files that are too large for an entry or are
// none are as good as not there, and stay. Main thread.
class XdgLoginItems final : public LoginItems {
public:
    // The user's folder is made with the first entry. The system's are only read; the first of them goes
    // before the others.
    explicit XdgLoginItems(std::string folder, std::vector<std::string> systemFolders = {})
        : folder_(std::move(folder)), systemFolders_(std::move(systemFolders)) {}

    std::optional<std::vector<LoginItem>> copyValue() const override;
    void setValue(std::vector<LoginItem> list) override;
    // Items that are new or have another path, "Hide", identifier or place are written whole, with all keys
    // that they had; the others keep their bytes. What was on the list and is not any more is removed; where
    // the system has an entry of that name, one of the user's that is hidden takes its place. What somebody
    // else has taken away meanwhile stays away.
    bool synchronize() override;

private:
    struct Stored;

    std::string file(const std::string& name) const { return folder_ + '/' + name; }
    bool isOfTheSystem(const std::string& name) const;
    static std::optional<Stored> storedIn(const std::filesystem::path& file);
    std::optional<std::vector<Stored>> stored() const;
    std::string freeName() const;
    bool store(const LoginItem& item, std::int64_t order, const Stored* before) const;
    bool remove(const std::string& name) const;

    const std::string folder_;
    const std::vector<std::string> systemFolders_;
    mutable std::set<std::string> seen_; // the origins of items that were on the list when it was asked for
    std::optional<std::vector<LoginItem>> list_; // to be stored
};

} // namespace lightpen
