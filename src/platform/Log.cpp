// SPDX-License-Identifier: MIT
#include "platform/Log.h"

#include <atomic>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <string>

#include <locale.h>

namespace lightpen {

namespace {

class DirectSink final : public LogSink {
public:
    void logLine(std::string_view line) override {
        std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
    }
    void standardOutput(std::string_view text) override { std::fwrite(text.data(), 1, text.size(), stdout); }
};

std::atomic<LogSink*> currentSink{nullptr};

LogSink& sink() {
    static DirectSink direct;
    LogSink* chosen = currentSink.load(std::memory_order_acquire);
    return chosen ? *chosen : direct;
}

// A desktop toolkit sets the user's locale, in which "%.2f" may print a comma.
class CNumericLocale {
public:
    CNumericLocale() : previous_(uselocale(cLocale())) {}
    ~CNumericLocale() { uselocale(previous_); }
    CNumericLocale(const CNumericLocale&) = delete;
    CNumericLocale& operator=(const CNumericLocale&) = delete;

private:
    static locale_t cLocale() {
        static const locale_t locale = newlocale(LC_NUMERIC_MASK, "C", nullptr);
        return locale;
    }
    locale_t previous_;
};

// Most lines fit on the stack; longer ones are formatted once more into their own memory.
__attribute__((format(printf, 2, 0))) void formatTo(void (LogSink::*receive)(std::string_view),
                                                    const char* format, std::va_list arguments) {
    LogSink& receiver = sink();
    if (!receiver.listens())
        return;
    const CNumericLocale numbers;
    char line[512];
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(line, sizeof line, format, arguments);
    if (length >= 0 && static_cast<std::size_t>(length) < sizeof line) {
        (receiver.*receive)(std::string_view(line, static_cast<std::size_t>(length)));
    } else if (length >= 0) {
        std::string longLine(static_cast<std::size_t>(length), '\0');
        std::vsnprintf(longLine.data(), longLine.size() + 1, format, again);
        (receiver.*receive)(longLine);
    }
    va_end(again);
}

} // namespace

void setLogSink(LogSink* sink) {
    currentSink.store(sink, std::memory_order_release);
}

void logLine(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    formatTo(&LogSink::logLine, format, arguments);
    va_end(arguments);
}

void printText(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    formatTo(&LogSink::standardOutput, format, arguments);
    va_end(arguments);
}

} // namespace lightpen
