// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "platform/Log.h"
#include "platform/LogChoice.h"
#include "platform/Time.h"

namespace lightpen {

// The log of a desktop program, written by a thread of its own: diagnostics to one descriptor and standard
// output to another, or both to the user's log file. With the file, the first descriptor has what a user or
// an administrator should act on: the lines that carry no number. A caller only copies the format and its
// arguments into memory, takes no lock, and never waits, whoever reads at the other end, or nobody: what does
// not fit any more is dropped, and a line in its place says how many lines that were.
class ProgramLog final : public LogSink {
public:
    // As a program uses them unless it says otherwise.
    struct Settings {
        int diagnostics = 2; // descriptors, not owned
        int output = 1;
        std::size_t capacity = std::size_t{1} << 20; // bytes of text that wait, for each end
        // How long the writer lets lines gather before it writes them together.
        Microseconds gathering{20'000};
        // How long a flush that names no patience, the one at the log's end too, bears with an end that takes
        // nothing.
        Microseconds patience{1'000'000};
        LogChoice choice = LogChoice::standardError;
        std::string folder = {}; // of the log file
    };

    // Starts the writer. Where no thread can be had nothing is logged, and where the log file cannot be
    // written the program goes on without it; one line on the diagnostics' descriptor says so.
    explicit ProgramLog(const Settings& settings);
    // Writes out what is left, as flush() does, and ends the writer.
    ~ProgramLog() override;
    ProgramLog(const ProgramLog&) = delete;
    ProgramLog& operator=(const ProgramLog&) = delete;

    bool listens() const override;
    void logLine(std::string_view line) override;
    void standardOutput(std::string_view text) override;
    void take(const LogEntry& entry) override;

    // Waits until everything that was logged before the call has been written, or cannot be because the other
    // end is closed. Gives up when the other end takes nothing for that long; returns whether all is out. Any
    // thread.
    bool flush(Microseconds patience);
    bool flush() { return flush(patience_); }

    // The path of the log file; empty where the log goes elsewhere. Any thread.
    const std::string& file() const { return file_; }

private:
    class Writer;
    // Shared with the writer's thread, which may be caught in a write and then outlives the log.
    std::shared_ptr<Writer> writer_;
    const Microseconds patience_;
    const std::string file_;
};

} // namespace lightpen
