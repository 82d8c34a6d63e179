// SPDX-License-Identifier: MIT
#include "linux_desktop/files/PlainFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include <QFile>
#include <QSaveFile>

#include "platform/FileDescriptor.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

namespace fs = std::filesystem;

FileDescriptor openFile(const std::string& path, int flags) {
    return FileDescriptor(
        retryInterrupted([&] { return ::open(path.c_str(), flags | O_NONBLOCK | O_CLOEXEC); }));
}

bool synchronized(int fd) {
    return retryInterrupted([fd] { return ::fsync(fd); }) == 0;
}

bool logFailure(const char* what, const std::string& path, int error) {
    logLine("Files: %s cannot be %s: %s", path.c_str(), what, errorText(error).c_str());
    return false;
}

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

// Who may write the folder could replace a file that is not to be written.
bool mayBeWritten(const std::string& path) {
    return openFile(path, O_WRONLY) || errno == ENOENT;
}

} // namespace

std::optional<std::string> readPlainFile(const std::string& path, std::size_t limit, Links links) {
    const FileDescriptor file = openFile(path, O_RDONLY | (links == Links::refused ? O_NOFOLLOW : 0));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0)
        return std::nullopt;
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return std::nullopt;
    }
    std::string bytes;
    std::array<char, 16384> piece{};
    while (bytes.size() < limit) {
        const ssize_t count = retryInterrupted(
            [&] { return ::read(file.get(), piece.data(), std::min(piece.size(), limit - bytes.size())); });
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        bytes.append(piece.data(), static_cast<std::size_t>(count));
    }
    return bytes;
}

bool makeFolderOf(const std::string& path) {
    return makeFolder(fs::path(path).parent_path());
}

void keepNameOf(const std::string& path) {
    const FileDescriptor folder = openFile(fs::path(path).parent_path().string(), O_RDONLY | O_DIRECTORY);
    if (!folder || !synchronized(folder.get()))
        logFailure("made durable", path, errno);
}

bool replacePlainFile(const std::string& path, std::string_view bytes) {
    if (!makeFolderOf(path))
        return false;
    if (!mayBeWritten(path))
        return logFailure("written", path, errno);
    QSaveFile file(QFile::decodeName(path.c_str()));
    const auto size = static_cast<qint64>(bytes.size());
    // The one look at the disk's answer: Qt's own goes on whatever that is.
    if (!file.open(QIODevice::WriteOnly) || !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) ||
        file.write(bytes.data(), size) != size || !file.flush() || !synchronized(file.handle()) ||
        !file.commit())
        return logFailure("written", path, errno);
    keepNameOf(path);
    return true;
}

} // namespace lightpen
