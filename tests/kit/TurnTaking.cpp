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
    waiting_[self] = {clock_.now(), ++waits_, {}, nullptr};
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
        awaitTurn(hold, self);
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
    waiting_[self] = {until, ++waits_, woken, nullptr};
    handOver();
    awaitTurn(hold, self);
}

void TurnTaking::awaitTurn(std::unique_lock<std::mutex>& hold, int self) {
    std::condition_variable turn;
    waiting_[self].turn = &turn;
    turn.wait(hold, [&] { return current_ == self; });
    waiting_.erase(self);
}

void TurnTaking::handOver() {
    const Microseconds now = clock_.now();
    auto next = waiting_.end();
    std::pair<Microseconds, std::uint64_t> earliest;
    for (auto each = waiting_.begin(); each != waiting_.end(); ++each) {
        const Wait& wait = each->second;
        const bool ends = wait.woken && wait.woken();
        const std::pair order(ends ? now : std::max(now, wait.until), wait.number);
        if (next != waiting_.end() && earliest <= order)
            continue;
        next = each;
        earliest = order;
    }
    clock_.advanceTo(earliest.first);
    current_ = next->first;
    // One who has not begun to wait yet sees that it is his turn.
    if (next->second.turn)
        next->second.turn->notify_one();
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
