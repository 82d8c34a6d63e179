// SPDX-License-Identifier: MIT
#pragma once

#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

namespace lightpen {

// Owns one file descriptor, and closes it at its end. Moves, never copies.
class FileDescriptor {
public:
    FileDescriptor() = default;
    // Takes the descriptor over; a negative one is none.
    explicit FileDescriptor(int fd) : fd_(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    // Swaps: what was held here is closed with the other.
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    // Whatever close answers, the number is free afterwards and must not be closed again.
    ~FileDescriptor() {
        if (fd_ >= 0)
            ::close(fd_);
    }

    // The descriptor, still owned here; -1 when there is none.
    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; } // whether one is held

private:
    int fd_ = -1;
};

// What an error number means, in words. Any thread.
inline std::string errorText(int error) {
    return std::system_category().message(error);
}

// Repeats a system call for as long as a signal interrupts it. Returns what the call returns; errno is the
// call's.
template <class Call>
auto retryInterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

} // namespace lightpen
