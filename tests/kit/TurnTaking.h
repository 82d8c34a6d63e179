// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "kit/VirtualTime.h"

namespace lightpen {

// Threads in virtual time. Only one of them runs at any moment: who waits hands over to the one whose wait
// ends first, and of several to the one who has waited longest. So each run of a test is the same, and the
// driver's threads meet in every wait of each other's. The thread that makes the object is one of them.
class TurnTaking {
public:
    // Carries out the waits of this clock while it lives.
    explicit TurnTaking(VirtualClock& clock);
    // Every thread must have ended.
    ~TurnTaking();
    TurnTaking(const TurnTaking&) = delete;
    TurnTaking& operator=(const TurnTaking&) = delete;

    // Starts a thread, which gets its first turn in the next wait of the one who calls.
    void start(std::function<void()> entry);
    // Waits until another thread has gone to wait, or has ended; at once where there is none. A minute at
    // most.
    void nextTurn();
    // Waits for the end of every thread; false when one has not ended within the time.
    bool finish(Microseconds patience);
    int running() const;
    // The status of a thread that has ended the process; none before.
    std::optional<int> exitStatus() const;

private:
    struct Wait {
        Microseconds until;
        std::uint64_t number;
        std::function<bool()> woken;
        std::condition_variable* turn = nullptr; // its own, as most turns are nobody else's business
    };
    void wait(Microseconds until, const std::function<bool()>& woken);
    void handOver();  // to the next one; with the mutex held
    void joinEnded(); // with the mutex held
    void awaitTurn(std::unique_lock<std::mutex>& hold, int self);
    void body(int self, const std::function<void()>& entry);

    VirtualClock& clock_;
    mutable std::mutex mutex_;
    int current_ = 0; // 0 is the thread that made the object
    std::map<int, Wait> waiting_;
    std::uint64_t waits_ = 0; // so far, those of threads that ended included
    int running_ = 0;
    std::optional<int> exitStatus_;
    std::map<int, std::thread> threads_;
    std::vector<int> ended_; // of those, which are past their last turn
    int started_ = 0;
};

} // namespace lightpen
