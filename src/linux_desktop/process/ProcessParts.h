// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <utility>

#include "linux_desktop/process/QtRunLoop.h"
#include "linux_desktop/process/StderrLog.h"
#include "linux_desktop/process/SystemClock.h"
#include "linux_desktop/process/SystemThreads.h"
#include "linux_desktop/process/TerminationSignals.h"
#include "platform/Log.h"

namespace lightpen {

// What the platform has of the process itself, in the order in which it is made: every line goes through the
// log that does not wait, from before the first other part to after the last. Main thread.
struct ProcessParts {
    // The function is called before the process ends through the loop; see QtRunLoop.
    ProcessParts(StderrLog::Settings settings, std::function<void()> beforeExit)
        : log(settings), runLoop(clock, std::move(beforeExit)) {}

    struct LogInForce {
        explicit LogInForce(LogSink& log) { setLogSink(&log); }
        ~LogInForce() { setLogSink(nullptr); }
        LogInForce(const LogInForce&) = delete;
        LogInForce& operator=(const LogInForce&) = delete;
    };

    StderrLog log;
    LogInForce logInForce{log};
    SystemClock clock;
    SystemThreads threads;
    QtRunLoop runLoop;
    TerminationSignals termination{runLoop};
};

} // namespace lightpen
