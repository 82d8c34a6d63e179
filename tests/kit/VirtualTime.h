// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/PerformQueue.h"
#include "platform/RunLoop.h"
#include "platform/Time.h"

namespace lightpen {

// Time that moves only when somebody sleeps, or when the test says so. Thread-safe.
class VirtualClock final : public Clock {
public:
    Microseconds now() override;
    // Moves the time on and keeps the duration for comparison.
    void sleep(Microseconds duration) override;
    // Waits until then, or until `woken` says so. No sleep is recorded.
    void waitUntil(Microseconds time, const std::function<bool()>& woken = {});
    // Moves the time on to the given one, if that is later. No sleep is recorded.
    void advanceTo(Microseconds time);
    // The sleeps since the last call, oldest first.
    std::vector<Microseconds> takeSleeps();
    // Called after each sleep, by the one who slept. Set it before there are other threads.
    std::function<void(Microseconds)> onSleep;
    // Carries out each wait, where several threads share this time; it moves the time on. Without it the one
    // who waits moves the time on alone.
    std::function<void(Microseconds until, const std::function<bool()>& woken)> onWait;

private:
    std::mutex mutex_;
    Microseconds now_{1'000'000};
    std::vector<Microseconds> sleeps_;
};

// What exitProcess throws, so that nothing behind it runs.
struct ProcessExit {
    int status;
};

// A run loop in virtual time: whoever runs it performs what is due, and time jumps from one request to the
// next.
class VirtualRunLoop final : public RunLoop {
public:
    explicit VirtualRunLoop(VirtualClock& clock) : clock_(clock) {}

    // Performs what is due now, and what that asks for, until nothing is due. Time stands still.
    void runPending();

    void addCommonMode(std::string_view mode) override { commonModes_.emplace_back(mode); }
    bool containsSource(const RunLoopSourceRef& source, std::string_view mode) const override;
    void addSource(const RunLoopSourceRef& source, std::string_view mode) override;
    void performOnMainThread(PerformRequest request) override {
        ++posted;
        queue_.post(std::move(request));
    }
    void performAfterDelay(PerformRequest request, Microseconds delay) override;
    void cancelPreviousPerformRequests(const void* target, std::string_view selector,
                                       std::string_view argument) override;
    void runFor(Microseconds duration) override;
    void terminate(int status) override;
    bool terminating() const override { return terminating_.load(); }
    // Throws ProcessExit.
    [[noreturn]] void exitProcess(int status) override { throw ProcessExit{status}; }

    const std::vector<std::string>& commonModes() const { return commonModes_; }
    const std::vector<std::pair<RunLoopSourceRef, std::string>>& sources() const { return sources_; }
    // Throws at the next run after that many: somebody waits for what will never come. For tests of waits
    // that have no end of their own; without it such a test would be ended from outside.
    void limitRuns(int most) { runsLeft_ = most; }
    // How often performOnMainThread was called.
    std::atomic<int> posted{0};
    // The status of the first terminate(); none before it.
    std::optional<int> terminateStatus() const { return terminateStatus_; }

private:
    VirtualClock& clock_;
    PerformQueue queue_;
    std::optional<int> runsLeft_;
    std::vector<std::string> commonModes_;
    std::vector<std::pair<RunLoopSourceRef, std::string>> sources_;
    std::atomic<bool> terminating_{false};
    std::optional<int> terminateStatus_;
};

} // namespace lightpen
