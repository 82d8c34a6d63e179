// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <string>

#include "platform/FileDescriptor.h"

namespace lightpen {

// A pipe whose reading end the test holds: somebody who reads when asked to, or never, or has gone.
class Pipe {
public:
    Pipe() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        read_ = FileDescriptor(ends[0]);
        write_ = FileDescriptor(ends[1]);
    }

    int writeEnd() const { return write_.get(); }
    int readEnd() const { return read_.get(); }
    void closeReadEnd() { read_ = FileDescriptor(); }
    // How many bytes fit before a writer has to wait.
    std::size_t capacity() const { return static_cast<std::size_t>(fcntl(writeEnd(), F_GETPIPE_SZ)); }
    // Everything that is in the pipe now.
    std::string readAvailable() {
        std::string text;
        while (readSome(text, std::chrono::milliseconds(0))) {
        }
        return text;
    }
    // Reads until the text ends with the given one; what came so far when nothing more has come for so long.
    std::string readUntil(const std::string& ending,
                          std::chrono::seconds patience = std::chrono::seconds(10)) {
        std::string text;
        while (!text.ends_with(ending) && readSome(text, patience)) {
        }
        return text;
    }

private:
    bool readSome(std::string& text, std::chrono::milliseconds patience) {
        pollfd polled{readEnd(), POLLIN, 0};
        if (poll(&polled, 1, static_cast<int>(patience.count())) != 1 || !(polled.revents & POLLIN))
            return false;
        char buffer[4096];
        const auto count = read(readEnd(), buffer, sizeof buffer);
        if (count > 0)
            text.append(buffer, static_cast<std::size_t>(count));
        return count > 0;
    }

    FileDescriptor read_, write_;
};

} // namespace lightpen
