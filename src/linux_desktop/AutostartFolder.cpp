// SPDX-License-Identifier: MIT
#include "linux_desktop/AutostartFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "linux_desktop/XdgDataFiles.h"
#include "platform/FileDescriptor.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

constexpr std::string_view kSuffix = ".desktop";
// Far above any entry.
constexpr std::size_t kLargest = 64 * 1024;
constexpr int kMostNames = 100;

// The bytes of a plain file; none for what is none, cannot be read, or is too large.
std::optional<std::string> contentsOf(const std::string& file) {
    const FileDescriptor descriptor(retryInterrupted(
        [&] { return ::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC); }));
    struct stat status {};
    if (!descriptor || ::fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    std::string bytes(kLargest + 1, '\0');
    std::size_t length = 0;
    while (length < bytes.size()) {
        const ssize_t count = retryInterrupted(
            [&] { return ::read(descriptor.get(), bytes.data() + length, bytes.size() - length); });
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        length += static_cast<std::size_t>(count);
    }
    if (length > kLargest)
        return std::nullopt;
    bytes.resize(length);
    return bytes;
}

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
    const auto text = contentsOf(file(name));
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
        const std::string name =
            stem + (number == 1 ? "" : '-' + std::to_string(number)) + std::string(kSuffix);
        struct stat status {};
        if (::lstat(file(name).c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR))
            return name;
    }
    return {};
}

} // namespace lightpen
