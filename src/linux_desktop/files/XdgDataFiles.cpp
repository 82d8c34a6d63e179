// SPDX-License-Identifier: MIT
#include "linux_desktop/files/XdgDataFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include <QStandardPaths>

#include "platform/FileDescriptor.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

namespace fs = std::filesystem;

FileDescriptor openFile(const std::string& path, int flags) {
    return FileDescriptor(retryInterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC); }));
}

bool logFailure(const char* what, const std::string& path, int error) {
    logLine("Files: %s cannot be %s: %s", path.c_str(), what, errorText(error).c_str());
    return false;
}

// Something of this name is there, whatever it is and whether or not it may be read.
bool exists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 || errno == EACCES;
}

bool writeAll(int fd, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = retryInterrupted([&] { return ::write(fd, bytes.data(), bytes.size()); });
        if (written < 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

bool synchronized(int fd) {
    return retryInterrupted([fd] { return ::fsync(fd); }) == 0;
}

// Only the user may enter a folder of the user's data.
bool makeFolder(const fs::path& folder) {
    std::error_code error;
    if (fs::is_directory(folder, error))
        return true;
    if (folder.has_parent_path() && folder.parent_path() != folder && !makeFolder(folder.parent_path()))
        return false;
    if (::mkdir(folder.c_str(), S_IRWXU) == 0 || errno == EEXIST)
        return true;
    return logFailure("made", folder.string(), errno);
}

// A new file beside the one it is to replace, with the bytes on the disk; empty name (and a log line) when
// that fails, and nothing is left of it then.
std::string writtenBeside(const std::string& path, std::span<const std::uint8_t> bytes) {
    std::string temporary = path + ".XXXXXX";
    const FileDescriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) {
        logFailure("written", path, errno);
        return {};
    }
    if (writeAll(file.get(), bytes) && synchronized(file.get()))
        return temporary;
    logFailure("written", path, errno);
    ::unlink(temporary.c_str());
    return {};
}

} // namespace

XdgDataFiles::XdgDataFiles(std::string userFolder, std::string shippedFolder)
    : userFolder_(std::move(userFolder)), shippedFolder_(std::move(shippedFolder)) {}

std::string XdgDataFiles::userFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation).toStdString() +
           "/LightPenNX7";
}

std::optional<DataFilePaths> XdgDataFiles::locate(std::string_view name) const {
    const std::string own = userFolder_ + "/" + std::string(name);
    if (exists(own))
        return DataFilePaths{own, own};
    const std::string shipped = shippedFolder_ + "/" + std::string(name);
    if (!shippedFolder_.empty() && exists(shipped))
        return DataFilePaths{shipped, own};
    return std::nullopt;
}

std::optional<std::vector<std::uint8_t>> XdgDataFiles::read(const std::string& path,
                                                            std::size_t limit) const {
    // A pipe of that name must not hold its reader up.
    const FileDescriptor file = openFile(path, O_RDONLY | O_NONBLOCK);
    if (!file) {
        logFailure("read", path, errno);
        return std::nullopt;
    }
    std::vector<std::uint8_t> bytes(limit);
    std::size_t length = 0;
    while (length < limit) {
        const ssize_t count =
            retryInterrupted([&] { return ::read(file.get(), bytes.data() + length, limit - length); });
        if (count < 0) {
            logFailure("read", path, errno);
            return std::nullopt;
        }
        if (count == 0)
            break;
        length += static_cast<std::size_t>(count);
    }
    bytes.resize(length);
    return bytes;
}

bool XdgDataFiles::replace(const std::string& path, std::span<const std::uint8_t> bytes) const {
    const fs::path folder = fs::path(path).parent_path();
    if (!makeFolder(folder))
        return false;
    // Who may write the folder could replace a file that is not to be written.
    if (exists(path) && !openFile(path, O_WRONLY | O_NONBLOCK))
        return logFailure("written", path, errno);
    const std::string temporary = writtenBeside(path, bytes);
    if (temporary.empty())
        return false;
    if (::rename(temporary.c_str(), path.c_str()) != 0) {
        logFailure("replaced", path, errno);
        ::unlink(temporary.c_str());
        return false;
    }
    // The new name, too, must outlive a loss of power. The file is the new one by now, whatever comes of
    // this.
    const FileDescriptor directory = openFile(folder.string(), O_RDONLY | O_DIRECTORY);
    if (!directory || !synchronized(directory.get()))
        logFailure("made durable", path, errno);
    return true;
}

} // namespace lightpen
