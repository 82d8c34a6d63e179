// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "linux_desktop/process/ProgramLog.h"
#include "linux_desktop/process/QtRunLoop.h"
#include "linux_desktop/process/SystemClock.h"
#include "linux_desktop/process/SystemThreads.h"
#include "linux_desktop/process/TerminationSignals.h"
#include "platform/Log.h"

namespace lightpen {

// Keeps the lines that come while the settings are read, since these say where the log goes. Main thread.
class EarlyLines final : public LogSink {
public:
    EarlyLines() { setLogSink(this); }
    void logLine(std::string_view line) override { lines_.emplace_back(line); }
    void standardOutput(std::string_view) override {} // that reading has no text
    // Gives them to the log in force.
    void repeat() const {
        for (const std::string& line : lines_)
            lightpen::logLine("%s", line.c_str());
    }

private:
    std::vector<std::string> lines_;
};

// What the platform has of the process itself, in the order in which it is made: every line goes through the
// log that does not wait, from before the first other part to after the last. Main thread.
struct ProcessParts {
    // The function is called before the process ends through the loop; see QtRunLoop.
    ProcessParts(const EarlyLines& early, const ProgramLog::Settings& settings,
                 std::function<void()> beforeExit)
        : log(settings), logInForce(log, early), runLoop(clock, std::move(beforeExit)) {}

    struct LogInForce {
        LogInForce(LogSink& log, const EarlyLines& early) {
            setLogSink(&log);
            early.repeat();
        }
        ~LogInForce() { setLogSink(nullptr); }
        LogInForce(const LogInForce&) = delete;
        LogInForce& operator=(const LogInForce&) = delete;
    };

    ProgramLog log;
    LogInForce logInForce;
    SystemClock clock;
    SystemThreads threads;
    QtRunLoop runLoop;
    TerminationSignals termination{runLoop};
};

} // namespace lightpen
