// SPDX-License-Identifier: MIT
#include "linux_desktop/process/LogFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <utility>

namespace lightpen {

namespace {

constexpr const char* kName = "log";
constexpr const char* kNameBefore = "log.1";

// A link at the name's end is refused, and a pipe there holds nobody up.
FileDescriptor open(int folder, const char* name, int flags) {
    return FileDescriptor(retryInterrupted([&] {
        return ::openat(folder, name, flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, S_IRUSR | S_IWUSR);
    }));
}

} // namespace

std::string LogFile::pathIn(const std::string& folder) {
    return folder + '/' + kName;
}

bool LogFile::openFolder() {
    std::filesystem::path above;
    for (const auto& part : std::filesystem::path(path_)) {
        above /= part;
        if (::mkdir(above.c_str(), S_IRWXU) != 0 && errno != EEXIST)
            return false;
    }
    FileDescriptor folder = open(AT_FDCWD, path_.c_str(), O_RDONLY | O_DIRECTORY);
    if (!folder || ::fchmod(folder.get(), S_IRWXU) != 0)
        return false;
    folder_ = std::move(folder);
    return true;
}

bool LogFile::openFile() {
    if (!folder_ && !openFolder())
        return false;
    FileDescriptor file = open(folder_.get(), kName, O_WRONLY | O_APPEND | O_CREAT);
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || ::fchmod(file.get(), S_IRUSR | S_IWUSR) != 0)
        return false;
    if (!S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return false;
    }
    file_ = std::move(file);
    size_ = static_cast<std::size_t>(status.st_size);
    return true;
}

bool LogFile::makeRoomFor(std::size_t length) {
    if (!file_ && !openFile())
        return false;
    if (size_ == 0 || size_ + length <= limit_)
        return true;
    const bool kept = ::renameat(folder_.get(), kName, folder_.get(), kNameBefore) == 0;
    return (kept || errno == ENOENT) && openFile(); // somebody may have removed it
}

bool LogFile::write(std::string_view text) {
    while (!text.empty()) {
        const auto count = retryInterrupted([&] { return ::write(file_.get(), text.data(), text.size()); });
        if (count < 0)
            return false;
        size_ += static_cast<std::size_t>(count);
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

void LogFile::append(std::string_view text) {
    if (fails_ || (makeRoomFor(text.size()) && write(text)))
        return;
    fails_ = true;
    ::dprintf(complaints_, "Log: %s/%s cannot be written: %s; the program goes on without it\n",
              path_.c_str(), kName, errorText(errno).c_str());
}

} // namespace lightpen
