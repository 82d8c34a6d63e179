// SPDX-License-Identifier: MIT
#pragma once

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "kit/ChildProcess.h"
#include "platform/FileDescriptor.h"

namespace lightpen {

// The application on a unit in software, as a program beside the test, which is driven by its commands. It
// ends with this object.
class EmulatedProgram {
public:
    // The display, the bus and the folders are those of the environment and of the additions to it.
    EmulatedProgram(const std::string& program, const std::vector<std::string>& options,
                    const std::map<std::string, std::string>& environment = {}) {
        std::array<int, 2> ends{-1, -1};
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
            throw std::runtime_error("no socket pair");
        ours_ = FileDescriptor(ends[0]);
        const FileDescriptor theirs(ends[1]);
        const std::string fd = std::to_string(theirs.get());
        std::vector<std::string> command{
            "sh",         "-c",     "exec \"$@\" <&" + fd + " >&" + fd + " " + fd + "<&-", "sh", program,
            "--commands", "--xtest"};
        command.insert(command.end(), options.begin(), options.end());
        child_ = std::make_unique<ChildProcess>(command, theirs.get(), environment);
    }

    // Performs the command and returns the answer; empty when there is none in half a minute.
    std::string ask(const std::string& line) {
        const std::string whole = line + "\n";
        if (send(ours_.get(), whole.data(), whole.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(whole.size()))
            return {};
        return readLine();
    }
    // Asks for the state until it holds these words; false after half a minute.
    bool reaches(const std::string& words) {
        for (const auto end = std::chrono::steady_clock::now() + kPatience;
             std::chrono::steady_clock::now() < end;) {
            const std::string state = ask("state");
            if (state.find(words) != std::string::npos)
                return true;
            if (state.empty())
                return false;
            poll(nullptr, 0, 50);
        }
        return false;
    }
    // There will be no more commands.
    void endInput() { shutdown(ours_.get(), SHUT_WR); }
    // Waits for its end; its exit status.
    int wait() { return child_->wait(); }
    ChildProcess& process() { return *child_; }

private:
    static constexpr std::chrono::seconds kPatience{30};

    std::string readLine() {
        while (true) {
            if (const auto end = received_.find('\n'); end != std::string::npos) {
                const std::string line = received_.substr(0, end);
                received_.erase(0, end + 1);
                return line;
            }
            pollfd waiting{ours_.get(), POLLIN, 0};
            std::array<char, 512> buffer{};
            if (poll(&waiting, 1, std::chrono::milliseconds(kPatience).count()) <= 0)
                return {};
            const ssize_t length = recv(ours_.get(), buffer.data(), buffer.size(), 0);
            if (length <= 0)
                return {};
            received_.append(buffer.data(), static_cast<std::size_t>(length));
        }
    }

    FileDescriptor ours_;
    std::unique_ptr<ChildProcess> child_;
    std::string received_;
};

} // namespace lightpen
