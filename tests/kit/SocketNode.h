// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <csignal>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "platform/FileDescriptor.h"

namespace lightpen {

// A pair of sockets that keep the bounds of reports, in place of a hidraw node and the unit behind it. The
// unit's end is this object's; the host's goes to what is tested.
class SocketNode {
public:
    explicit SocketNode(bool blocking = true) {
        std::signal(SIGPIPE, SIG_IGN); // a hidraw node raises none either
        int ends[2] = {-1, -1};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
        unit_ = FileDescriptor(ends[0]);
        host_ = FileDescriptor(ends[1]);
        EXPECT_EQ(::fcntl(ends[1], F_SETFL, blocking ? 0 : O_NONBLOCK), 0);
    }

    // The host's end; once.
    FileDescriptor takeHost() { return std::exchange(host_, FileDescriptor()); }

    // An input report; the host has it when this returns.
    void send(std::span<const std::uint8_t> report) {
        ASSERT_EQ(::send(unit_.get(), report.data(), report.size(), 0), static_cast<ssize_t>(report.size()));
    }
    // The next output report, report ID first; none when none comes within ten seconds.
    std::optional<std::vector<std::uint8_t>> take() {
        pollfd state{unit_.get(), POLLIN, 0};
        if (retryInterrupted([&] { return ::poll(&state, 1, 10'000); }) != 1)
            return std::nullopt;
        std::vector<std::uint8_t> report(2048);
        const ssize_t length = ::recv(unit_.get(), report.data(), report.size(), 0);
        if (length < 0)
            return std::nullopt;
        report.resize(static_cast<std::size_t>(length));
        return report;
    }
    // Whether there is one already.
    bool hasOutput() const {
        pollfd state{unit_.get(), POLLIN, 0};
        return retryInterrupted([&] { return ::poll(&state, 1, 0); }) == 1;
    }
    // Makes the host's writes block, as a unit that reads nothing does, and returns how many reports
    // (of one byte, 0xEE) it took. Before takeHost.
    std::size_t fill() {
        const std::uint8_t filler = 0xEE;
        std::size_t count = 0;
        while (::send(host_.get(), &filler, 1, MSG_DONTWAIT) == 1)
            ++count;
        return count;
    }
    // Whether the host has let go of its end.
    bool hostClosed() const {
        pollfd state{unit_.get(), 0, 0};
        return retryInterrupted([&] { return ::poll(&state, 1, 0); }) == 1 && (state.revents & POLLHUP) != 0;
    }
    // The unit is unplugged: the host's end hangs up.
    void unplug() { unit_ = FileDescriptor(); }

private:
    FileDescriptor unit_, host_;
};

} // namespace lightpen
