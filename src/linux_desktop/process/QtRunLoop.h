// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include "platform/FileDescriptor.h"
#include "platform/PerformQueue.h"
#include "platform/RunLoop.h"

namespace lightpen {

// The main thread's run loop on Qt's event loop. It is made after the application object, on its thread, and
// outlives every thread that uses it.
class QtRunLoop final : public QObject, public RunLoop {
public:
    // The last act is what exitProcess does before it leaves: to let go of buttons, to write out the log. It
    // is called once, on the thread that leaves.
    explicit QtRunLoop(Clock& clock, std::function<void()> releaseButtonsAndFlushLog = {});

    // Runs until terminate() is called, or until the session or Qt asks the application to quit or exit,
    // which counts as terminate(). Returns the exit status. Main thread.
    int run();

    // Every wait serves all modes.
    void addCommonMode(std::string_view) override {}
    bool containsSource(const RunLoopSourceRef& source, std::string_view mode) const override;
    void addSource(const RunLoopSourceRef& source, std::string_view mode) override;
    void performOnMainThread(PerformRequest request) override;
    void performAfterDelay(PerformRequest request, Microseconds delay) override;
    void cancelPreviousPerformRequests(const void* target, std::string_view selector,
                                       std::string_view argument) override;
    // Every kind of event is served meanwhile, also for a duration of nothing.
    void runFor(Microseconds duration) override;
    // The first status counts.
    void terminate(int status) override;
    bool terminating() const override { return status_.load(std::memory_order_acquire) != kNoStatus; }
    [[noreturn]] void exitProcess(int status) override;

private:
    // Beyond every int.
    static constexpr long kNoStatus = std::numeric_limits<long>::max();

    int status() const { return static_cast<int>(status_.load()); }
    bool eventFilter(QObject*, QEvent* event) override;
    void wokenUp();
    void turn();
    void writeWakeUp();
    void wake();
    void armTimer();

    Clock& clock_;
    const std::function<void()> atExit_;
    PerformQueue queue_;
    std::vector<std::pair<RunLoopSourceRef, std::string>> sources_;
    std::atomic<bool> wakePosted_{false};
    std::atomic<long> status_{kNoStatus};
    std::atomic_flag leaving_ = ATOMIC_FLAG_INIT;
    const FileDescriptor wakeUp_; // other threads write it, Qt's loop reads it
    QSocketNotifier notifier_;
    QTimer timer_;
};

} // namespace lightpen
