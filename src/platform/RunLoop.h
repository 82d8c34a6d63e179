// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Time.h"

namespace lightpen {

class RunLoop;

// Something that wakes the run loop it is attached to and is then performed on it. Signals that come before
// the source is attached are lost.
class RunLoopSource : public std::enable_shared_from_this<RunLoopSource> {
public:
    // The operation runs on the loop, never in signal().
    explicit RunLoopSource(std::function<void()> perform) : perform_(std::move(perform)) {}
    // Asks the loop to perform the source once; each signal is one perform. Any thread.
    void signal();
    // The operation; called by the loop.
    void perform() const { perform_(); }
    // Called by the run loop that takes the source in; the loop outlives its sources.
    void attachedTo(RunLoop& loop) { loop_.store(&loop, std::memory_order_release); }

private:
    const std::function<void()> perform_;
    std::atomic<RunLoop*> loop_{nullptr};
};

using RunLoopSourceRef = std::shared_ptr<RunLoopSource>;

inline constexpr std::string_view kCFRunLoopDefaultMode = "kCFRunLoopDefaultMode";
inline constexpr std::string_view kCFRunLoopCommonModes = "kCFRunLoopCommonModes";
inline constexpr std::string_view NSModalPanelRunLoopMode = "NSModalPanelRunLoopMode";

// An operation to be performed later, with what a cancellation compares: target, selector and argument.
struct PerformRequest {
    const void* target = nullptr;
    std::string selector;
    std::string argument;
    std::function<void()> operation;
    // Performed where there is no operation, unless it is gone. To ask for it costs no memory.
    std::weak_ptr<RunLoopSource> source = {};

    void perform() const {
        if (operation)
            operation();
        else if (const auto signalled = source.lock())
            signalled->perform();
    }
};

// The main thread's event loop. Requests made with performOnMainThread run in the order they were made, and
// those made before a delayed request is due run before it.
class RunLoop {
public:
    virtual ~RunLoop() = default;

    // Mode names are recorded for containsSource; sources of every mode are performed in every mode here.
    virtual void addCommonMode(std::string_view mode) = 0;
    virtual bool containsSource(const RunLoopSourceRef& source, std::string_view mode) const = 0;
    // Keeps a reference to the source while somebody else has one too. Main thread.
    virtual void addSource(const RunLoopSourceRef& source, std::string_view mode) = 0;

    // Asks for the operation to run on the main thread, and does not wait for it. Any thread.
    virtual void performOnMainThread(PerformRequest request) = 0;
    // Asks for the operation to run after the delay, on the main thread. Main thread.
    virtual void performAfterDelay(PerformRequest request, Microseconds delay) = 0;
    // Drops every delayed request with this target, selector and equal argument. Main thread.
    virtual void cancelPreviousPerformRequests(const void* target, std::string_view selector,
                                               std::string_view argument) = 0;

    // Runs the loop, nested, for the duration, or for less when the program is to end. Main thread.
    virtual void runFor(Microseconds duration) = 0;

    // Asks the program to end with this exit status: the loop returns, nested waits included. Any thread.
    virtual void terminate(int status) = 0;
    // True from the first terminate() on; every wait without a time-out of its own looks here. Any thread.
    virtual bool terminating() const = 0;
    // Flushes the log and ends the process at once, without running destructors under the other threads.
    // Any thread; does not return outside tests.
    virtual void exitProcess(int status) = 0;
};

inline void RunLoopSource::signal() {
    RunLoop* loop = loop_.load(std::memory_order_acquire);
    if (!loop)
        return;
    // A source that is dropped meanwhile is not performed any more.
    loop->performOnMainThread({this, "RunLoopSource", {}, {}, weak_from_this()});
}

} // namespace lightpen
