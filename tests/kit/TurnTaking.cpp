// SPDX-License-Identifier: MIT
#include "kit/TurnTaking.h"

#include <algorithm>
#include <utility>

namespace lightpen {

TurnTaking::TurnTaking(VirtualClock& clock) : clock_(clock) {
    clock_.onWait = [this](Microseconds until, const std::function<bool()>& woken) { wait(until, woken); };
}

TurnTaking::~TurnTaking() {
    clock_.onWait = nullptr;
    for (auto& [self, thread] : threads_)
        thread.join();
}

void TurnTaking::start(std::function<void()> entry) {
    const std::lock_guard hold(mutex_);
    joinEnded();
    const int self = ++started_;
    waiting_[self] = {clock_.now(), ++waits_, {}};
    ++running_;
    threads_[self] = std::thread([this, self, entry = std::move(entry)] { body(self, entry); });
}

// A thread that has ended keeps its stack until somebody joins it.
void TurnTaking::joinEnded() {
    for (const int self : std::exchange(ended_, {})) {
        threads_[self].join();
        threads_.erase(self);
    }
}

void TurnTaking::body(int self, const std::function<void()>& entry) {
    {
        std::unique_lock hold(mutex_);
        turn_.wait(hold, [&] { return current_ == self; });
        waiting_.erase(self);
    }
    std::optional<int> exitStatus;
    try {
        entry();
    } catch (const ProcessExit& exit) {
        exitStatus = exit.status;
    }
    const std::lock_guard hold(mutex_);
    if (exitStatus)
        exitStatus_ = exitStatus;
    --running_;
    ++waits_;
    ended_.push_back(self);
    handOver();
}

void TurnTaking::wait(Microseconds until, const std::function<bool()>& woken) {
    std::unique_lock hold(mutex_);
    const int self = current_;
    waiting_[self] = {until, ++waits_, woken};
    handOver();
    turn_.wait(hold, [&] { return current_ == self; });
    waiting_.erase(self);
}

void TurnTaking::handOver() {
    const Microseconds now = clock_.now();
    const auto end = [&](const Wait& wait) {
        return wait.woken && wait.woken() ? now : std::max(now, wait.until);
    };
    const auto next = std::min_element(waiting_.begin(), waiting_.end(), [&](const auto& a, const auto& b) {
        return std::pair(end(a.second), a.second.number) < std::pair(end(b.second), b.second.number);
    });
    clock_.advanceTo(end(next->second));
    current_ = next->first;
    turn_.notify_all();
}

void TurnTaking::nextTurn() {
    if (running() == 0)
        return;
    // This wait is one of those that are counted.
    const std::uint64_t before = waits_ + 1;
    clock_.waitUntil(clock_.now() + std::chrono::minutes(1), [this, before] { return waits_ > before; });
}

bool TurnTaking::finish(Microseconds patience) {
    if (running() > 0)
        clock_.waitUntil(clock_.now() + patience, [this] { return running_ == 0; });
    return running() == 0;
}

int TurnTaking::running() const {
    const std::lock_guard hold(mutex_);
    return running_;
}

std::optional<int> TurnTaking::exitStatus() const {
    const std::lock_guard hold(mutex_);
    return exitStatus_;
}

} // namespace lightpen
