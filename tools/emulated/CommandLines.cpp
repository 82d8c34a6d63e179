// SPDX-License-Identifier: MIT
#include "emulated/CommandLines.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

namespace lightpen {

namespace {

constexpr std::chrono::milliseconds kAskAgain{20};

} // namespace

CommandLines::CommandLines(int descriptor, Ends ends)
    : descriptor_(descriptor), ends_(std::move(ends)), input_(descriptor, QSocketNotifier::Read) {
    QObject::connect(&input_, &QSocketNotifier::activated, &input_, [this] { read(); });
    again_.setInterval(kAskAgain);
    QObject::connect(&again_, &QTimer::timeout, &again_, [this] { performNext(); });
}

void CommandLines::read() {
    std::array<char, 1024> buffer{};
    const ssize_t length = ::read(descriptor_, buffer.data(), buffer.size());
    if (length < 0 && (errno == EINTR || errno == EAGAIN))
        return; // the notifier calls again
    if (length > 0)
        partial_.append(buffer.data(), static_cast<std::size_t>(length));
    for (std::size_t end = partial_.find('\n'); end != std::string::npos; end = partial_.find('\n')) {
        waiting_.push_back(partial_.substr(0, end));
        partial_.erase(0, end + 1);
    }
    if (length <= 0 || partial_.size() > kLongestLine)
        end();
    performNext();
}

void CommandLines::end() {
    input_.setEnabled(false);
    ended_ = true;
}

// A command may run the main loop, and so come back here.
void CommandLines::performNext() {
    if (std::exchange(performing_, true))
        return;
    bool unfinished = false;
    while (!waiting_.empty() && !unfinished) {
        if (const auto answer = ends_.perform(waiting_.front())) {
            waiting_.pop_front();
            ends_.answer(*answer);
        } else {
            unfinished = true;
        }
    }
    performing_ = false;
    if (unfinished)
        again_.start();
    else
        again_.stop();
    if (waiting_.empty() && std::exchange(ended_, false))
        ends_.ended();
}

} // namespace lightpen
