// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace lightpen {

// Where diagnostic lines go. Called from any thread; a sink must not block its caller and must keep the order
// of each thread's lines.
class LogSink {
public:
    virtual ~LogSink() = default;
    // Whether anybody wants what comes; otherwise it is not even formatted.
    virtual bool listens() const { return true; }
    // One line of the platform log, without its final line break (a line may hold line breaks of its own).
    virtual void logLine(std::string_view line) = 0;
    // Text for standard output, line breaks included.
    virtual void standardOutput(std::string_view text) = 0;
};

// Makes the sink receive everything from now on. The sink is not owned and must outlive its use; null puts
// the default back, which writes straight to stderr and stdout.
void setLogSink(LogSink* sink);

// Writes one line to the platform log; printf formats, numbers always in the "C" locale. Any thread.
void logLine(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Writes text to standard output, beside the log; formats as logLine. The line break is the caller's.
void printText(const char* format, ...) __attribute__((format(printf, 1, 2)));

} // namespace lightpen
