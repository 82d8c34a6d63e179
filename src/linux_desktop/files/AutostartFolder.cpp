// SPDX-License-Identifier: MIT
#include "linux_desktop/files/AutostartFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "linux_desktop/files/PlainFile.h"
#include "linux_desktop/files/XdgDataFiles.h"
#include "platform/FileDescriptor.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

constexpr std::string_view kSuffix = ".desktop";
// Far above any entry.
constexpr std::size_t kLargest = 64 * 1024;
constexpr int kMostNames = 100;

} // namespace

std::optional<std::vector<AutostartFolder::File>> AutostartFolder::files() const {
    std::error_code error;
    std::filesystem::directory_iterator place(path_, error);
    std::vector<File> result;
    for (; !error && place != std::filesystem::directory_iterator(); place.increment(error)) {
        const std::string name = place->path().filename().string();
        if (!name.ends_with(kSuffix))
            continue;
        if (auto entry = read(name))
            result.push_back({name, std::move(*entry)});
    }
    if (error && error != std::errc::no_such_file_or_directory) {
        errno = error.value();
        return std::nullopt;
    }
    std::sort(result.begin(), result.end(), [](const File& a, const File& b) { return a.name < b.name; });
    return result;
}

std::optional<DesktopEntry> AutostartFolder::read(const std::string& name) const {
    const auto text = readPlainFile(file(name), kLargest, Links::refused);
    return text ? DesktopEntry::parse(*text) : std::nullopt;
}

bool AutostartFolder::write(const std::string& name, const DesktopEntry& entry) const {
    const std::string text = entry.text();
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    return XdgDataFiles(path_, {}).replace(file(name), bytes);
}

bool AutostartFolder::remove(const std::string& name) const {
    if (::unlink(file(name).c_str()) == 0 || errno == ENOENT)
        return true;
    logLine("Login items: %s cannot be removed: %s", file(name).c_str(), errorText(errno).c_str());
    return false;
}

std::string AutostartFolder::freeName(const std::string& stem) const {
    for (int number = 1; number <= kMostNames; ++number) {
        std::string name = stem + (number == 1 ? "" : '-' + std::to_string(number)) + std::string(kSuffix);
        struct stat status {};
        if (::lstat(file(name).c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR))
            return name;
    }
    return {};
}

} // namespace lightpen
