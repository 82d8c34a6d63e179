// SPDX-License-Identifier: MIT
#pragma once

#include <signal.h>

#include <array>
#include <chrono>
#include <thread>

#include "platform/RunLoop.h"

namespace lightpen {

// Turns SIGTERM, SIGINT and SIGHUP into an orderly end of the program, with status 0. A thread takes them, so
// that waits of the main thread that do not run the loop end too. Who asks a second time wants out at once:
// the program then leaves where it stands, with the shell's status for that signal. SIGPIPE ends nothing: a
// display or a bus that goes away is an error of the call that finds it out. One object a process.
class TerminationSignals {
public:
    // The loop must outlive the object. Logs a line when the signals cannot be taken over; the system's own
    // handling stays then. A program that has not ended within the patience hangs, and is left with a line
    // and the same status, so that one signal is enough.
    explicit TerminationSignals(RunLoop& runLoop,
                                std::chrono::milliseconds patience = std::chrono::seconds(10));
    // Puts back what was there before.
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

private:
    static constexpr std::array<int, 4> kSignals{SIGTERM, SIGINT, SIGHUP, SIGPIPE};

    void watch();

    RunLoop& runLoop_;
    const std::chrono::milliseconds patience_;
    std::array<struct sigaction, kSignals.size()> previous_{};
    std::thread thread_;
};

} // namespace lightpen
