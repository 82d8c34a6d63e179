// SPDX-License-Identifier: MIT
#include "linux_desktop/files/PlainFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/FileDescriptor.h"

namespace lightpen {

namespace {

std::nullopt_t failed(int error) {
    errno = error;
    return std::nullopt;
}

} // namespace

std::optional<std::string> readPlainFile(const std::string& file, std::size_t limit, Links links) {
    const int flags = O_RDONLY | O_NONBLOCK | O_CLOEXEC | (links == Links::refused ? O_NOFOLLOW : 0);
    const FileDescriptor descriptor(retryInterrupted([&] { return ::open(file.c_str(), flags); }));
    struct stat status {};
    if (!descriptor || ::fstat(descriptor.get(), &status) != 0)
        return failed(errno);
    if (!S_ISREG(status.st_mode))
        return failed(EINVAL);
    std::string bytes(limit + 1, '\0');
    std::size_t length = 0;
    while (length < bytes.size()) {
        const ssize_t count = retryInterrupted(
            [&] { return ::read(descriptor.get(), bytes.data() + length, bytes.size() - length); });
        if (count < 0)
            return failed(errno);
        if (count == 0)
            break;
        length += static_cast<std::size_t>(count);
    }
    if (length > limit)
        return failed(EFBIG);
    bytes.resize(length);
    return bytes;
}

} // namespace lightpen
