// SPDX-License-Identifier: MIT
#include "platform/Log.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/NumericLocale.h"

namespace lightpen {

namespace {

class DirectSink final : public LogSink {
public:
    void logLine(std::string_view line) override {
        std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
    }
    void standardOutput(std::string_view text) override { std::fwrite(text.data(), 1, text.size(), stdout); }
};

constinit DirectSink direct; // there before anything that logs

std::size_t copyText(char* to, std::size_t room, const LogEntry& entry) {
    const std::size_t length = entry.arguments.size();
    if (room > 0) {
        const std::size_t copied = std::min(length, room - 1);
        std::memcpy(to, entry.arguments.data(), copied);
        to[copied] = '\0';
    }
    return length;
}

} // namespace

std::atomic<LogSink*> listeningLogSink{&direct};

void setLogSink(LogSink* sink) {
    LogSink* const chosen = sink ? sink : &direct;
    listeningLogSink.store(chosen->listens() ? chosen : nullptr, std::memory_order_release);
}

std::size_t printLogText(char* to, std::size_t room, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
// Each LogFormat was compared with its arguments while the program was compiled.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int length = std::vsnprintf(to, room, format, arguments);
#pragma GCC diagnostic pop
    va_end(arguments);
    return length < 0 ? 0 : static_cast<std::size_t>(length);
}

LogEntry LogEntry::of(Sort sort, std::string_view complete) {
    return {sort, "", copyText, std::as_bytes(std::span(complete))};
}

std::string_view LogEntry::beginning() const {
    if (print != copyText)
        return format;
    return {reinterpret_cast<const char*>(arguments.data()), arguments.size()};
}

// Most lines fit on the stack; longer ones are formatted once more into their own memory.
void LogSink::take(const LogEntry& entry) {
    const CNumericLocale numbers;
    char onStack[512];
    std::string longer;
    const std::size_t length = entry.print(onStack, sizeof onStack, entry);
    std::string_view text(onStack, std::min(length, sizeof onStack - 1));
    if (length >= sizeof onStack) {
        longer.resize(length);
        entry.print(longer.data(), length + 1, entry);
        text = longer;
    }
    if (entry.sort == LogEntry::Sort::line)
        logLine(text);
    else
        standardOutput(text);
}

} // namespace lightpen
