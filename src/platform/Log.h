// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstddef>
#include <string_view>
#include <type_traits>
#include <vector>

#include "platform/LogEntry.h"

namespace lightpen {

// Where diagnostic lines go. Called from any thread; a sink must not block its caller and must keep the order
// of each thread's lines.
class LogSink {
public:
    virtual ~LogSink() = default;
    // Whether anybody wants what comes; asked once, when the sink is set. Otherwise a line costs its writer
    // one look.
    virtual bool listens() const { return true; }
    // One line of the platform log, without its final line break (a line may hold line breaks of its own).
    virtual void logLine(std::string_view line) = 0;
    // Text for standard output, line breaks included.
    virtual void standardOutput(std::string_view text) = 0;
    // One of both that is not formatted yet. Unless a sink has a better time for that, it is formatted at
    // once, numbers in the "C" locale, and given to one of the two.
    virtual void take(const LogEntry& entry);
};

// Makes the sink receive everything from now on. The sink is not owned and must outlive its use; null puts
// the default back, which writes straight to stderr and stdout.
void setLogSink(LogSink* sink);

// The sink in use; null while it does not listen. Written by setLogSink alone.
extern std::atomic<LogSink*> listeningLogSink;

// Gives the sink an entry of these arguments.
template <class... Arguments>
[[gnu::noinline]] void giveToLog(LogSink& sink, LogEntry::Sort sort, const char* format,
                                 const Arguments&... arguments) {
    constexpr std::size_t kUsualRoom = 256;
    std::byte room[kUsualRoom];
    std::byte* begin = room;
    std::vector<std::byte> more;
    const std::size_t size = (std::size_t{0} + ... + LogArgument<Arguments>::size(arguments));
    if (size > kUsualRoom) {
        more.resize(size);
        begin = more.data();
    }
    [[maybe_unused]] std::byte* to = begin;
    ((to = LogArgument<Arguments>::put(to, arguments)), ...);
    sink.take({sort, format, printLogEntry<Arguments...>, {begin, size}});
}

// Writes one line to the platform log; printf formats, numbers always in the "C" locale. A point is a %s. Any
// thread.
template <class... Arguments>
void logLine(LogFormat<std::type_identity_t<Arguments>...> format, const Arguments&... arguments) {
    if (LogSink* const sink = listeningLogSink.load(std::memory_order_acquire))
        giveToLog(*sink, LogEntry::Sort::line, format.text(), arguments...);
}

// Writes text to standard output, beside the log; formats as logLine. The line break is the caller's.
template <class... Arguments>
void printText(LogFormat<std::type_identity_t<Arguments>...> format, const Arguments&... arguments) {
    if (LogSink* const sink = listeningLogSink.load(std::memory_order_acquire))
        giveToLog(*sink, LogEntry::Sort::text, format.text(), arguments...);
}

} // namespace lightpen
