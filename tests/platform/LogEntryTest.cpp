// SPDX-License-Identifier: MIT
#include "platform/LogEntry.h"

#include <cfloat>
#include <climits>
#include <cstdio>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "kit/RecordingLog.h"
#include "platform/Log.h"

namespace lightpen {
namespace {

// What printf makes of the same, at once.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
template <class... Arguments>
std::string printed(const char* format, const Arguments&... arguments) {
    std::string text(static_cast<std::size_t>(std::snprintf(nullptr, 0, format, arguments...)), '\0');
    std::snprintf(text.data(), text.size() + 1, format, arguments...);
    return text;
}
#pragma GCC diagnostic pop

// Logs it, and compares the line with what printf makes of it.
#define EXPECT_AS_PRINTED(...)                                                                               \
    do {                                                                                                     \
        logLine(__VA_ARGS__);                                                                                \
        EXPECT_EQ(log.takeLines(), std::vector<std::string>{printed(__VA_ARGS__)});                          \
    } while (false)

class LogEntryTest : public testing::Test {
protected:
    RecordingLog log;
};

TEST_F(LogEntryTest, EachConversionIsAsPrintfHasIt) {
    EXPECT_AS_PRINTED("%d %i %d", 0, INT_MIN, INT_MAX);
    EXPECT_AS_PRINTED("%u %x %X %#x %08x", UINT_MAX, 0xBEEFu, 0xBEEFu, 255u, 0x1Fu);
    EXPECT_AS_PRINTED("%ld %lld %zu %lx %llu", LONG_MIN, LLONG_MAX, SIZE_MAX, 7UL, ULLONG_MAX);
    EXPECT_AS_PRINTED("[%5d] [%-5d] [%+d] [% d] [%05d] [%.3d]", 42, 42, 42, 42, 42, 7);
    EXPECT_AS_PRINTED("%f %.0f %.2f %10.3f %-10.1f| %g %g", 1.5, 2.5, -0.125, DBL_MAX, 3.25, 1e-7, 1e300);
    EXPECT_AS_PRINTED("%f %f %f", 1.0 / 0.0, -1.0 / 0.0, 0.0);
    EXPECT_AS_PRINTED("[%c] [%3c]", 'x', 'y');
    EXPECT_AS_PRINTED("[%s] [%10s] [%-10s] [%.2s]", "text", "right", "left", "cut");
    EXPECT_AS_PRINTED("%p", static_cast<const void*>(&log));
    EXPECT_AS_PRINTED("100%% of %d%%", 5);
    EXPECT_AS_PRINTED("nothing but text, and 5%%");
}

TEST_F(LogEntryTest, ArgumentsArePromotedAsInACall) {
    enum Plain { kThree = 3 };
    const bool flag = true;
    const std::uint8_t byte = 200;
    const std::int16_t word = -7;
    const float fraction = 0.5F;
    EXPECT_AS_PRINTED("%d %d %d %x %d %.2f", flag, byte, word, byte, kThree, fraction);
}

TEST_F(LogEntryTest, TextsOfAnyKindAreCopiedUpToTheirFirstZero) {
    const char fixed[8] = "fixed";
    char changing[] = "changing";
    logLine("%s|%s|%s|%s|%s", fixed, changing, std::string("string"), std::string_view("a view").substr(2),
            "");
    EXPECT_EQ(log.takeLines(), std::vector<std::string>{"fixed|changing|string|view|"});
    const char* const nothing = nullptr;
    logLine("%s", nothing);
    EXPECT_EQ(log.takeLines(), std::vector<std::string>{"(null)"});
    logLine("%s %d", std::string("up to\0 here", 11), 7);
    EXPECT_EQ(log.takeLines(), std::vector<std::string>{"up to 7"});
    for (const std::size_t length : {254u, 255u, 256u, 257u, 5000u}) {
        const std::string text(length, 'x');
        EXPECT_AS_PRINTED("%d %s %d", 1, text.c_str(), 2);
    }
}

TEST_F(LogEntryTest, APointIsItsText) {
    logLine("{%s} %d", ScreenPoint{1.5, -0.1}, 3);
    EXPECT_EQ(log.takeLines(), std::vector<std::string>{"{{1.5, -0.1}} 3"});
}

// Keeps what it is given, and prints it when everything that the writer had is gone.
class LateSink final : public LogSink {
public:
    LateSink() { setLogSink(this); }
    ~LateSink() override { setLogSink(nullptr); }
    LateSink(const LateSink&) = delete;
    LateSink& operator=(const LateSink&) = delete;
    void logLine(std::string_view) override { ADD_FAILURE(); }
    void standardOutput(std::string_view) override { ADD_FAILURE(); }
    void take(const LogEntry& entry) override {
        bytes_.assign(entry.arguments.begin(), entry.arguments.end());
        kept_ = entry;
        kept_.arguments = bytes_;
    }
    LogEntry::Sort sort() const { return kept_.sort; }
    std::string_view beginning() const { return kept_.beginning(); }
    std::string text(std::size_t room = 1000) const {
        std::vector<char> to(room + 1, '#');
        length = kept_.print(to.data(), room, kept_);
        EXPECT_EQ(to[room], '#');
        return room > 0 ? to.data() : "";
    }
    mutable std::size_t length = 0;

private:
    LogEntry kept_;
    std::vector<std::byte> bytes_;
};

TEST(LateLogEntryTest, WhatIsPrintedLaterIsWhatWasThereWhenItWasLogged) {
    const LateSink sink;
    {
        std::string text = "before";
        ScreenPoint point{1, 2};
        int number = 3;
        logLine("%s %s %d", text, point, number);
        text = "behind";
        point = {};
        number = 0;
    }
    EXPECT_EQ(sink.text(), "before {1, 2} 3");
    EXPECT_EQ(sink.sort(), LogEntry::Sort::line);
    EXPECT_EQ(sink.beginning(), "%s %s %d");
    printText("%d\n", 1);
    EXPECT_EQ(sink.sort(), LogEntry::Sort::text);
}

TEST(LateLogEntryTest, NoMoreIsPrintedThanThereIsRoomFor) {
    LateSink sink;
    logLine("number %d", 12345);
    for (const std::size_t room : {0u, 1u, 5u, 12u, 13u, 14u}) {
        EXPECT_EQ(sink.text(room), std::string("number 12345").substr(0, room > 0 ? room - 1 : 0));
        EXPECT_EQ(sink.length, 12u);
    }
    sink.take(LogEntry::of(LogEntry::Sort::line, "100% whole"));
    EXPECT_EQ(sink.beginning(), "100% whole");
    for (const std::size_t room : {0u, 1u, 5u, 10u, 11u, 12u}) {
        EXPECT_EQ(sink.text(room), std::string("100% whole").substr(0, room > 0 ? room - 1 : 0));
        EXPECT_EQ(sink.length, 10u);
    }
}

// What the compiler accepts

template <class... Arguments>
constexpr bool fits(std::string_view format) {
    constexpr std::array<LogKind, sizeof...(Arguments)> kinds{LogArgument<Arguments>::kKind...};
    return fitsLogFormat(format, kinds);
}

static_assert(fits<>("") && fits<>("text") && fits<>("%%") && fits<>("a%%b%%"));
static_assert(!fits<>("%") && !fits<>("%d") && !fits<>("a%%%") && !fits<>("%n"));
static_assert(fits<int>("%d") && fits<int>("%x") && fits<int>("%c") && fits<unsigned>("%-08u%%"));
static_assert(!fits<int>("") && !fits<int>("%%") && !fits<int>("%d%d") && !fits<int, int>("%d"));
static_assert(!fits<int>("%s") && !fits<int>("%f") && !fits<int>("%p") && !fits<int>("%n") &&
              !fits<int>("%"));
static_assert(!fits<int>("%ld") && !fits<int>("%zu") && !fits<long>("%d") && fits<long>("%ld"));
static_assert(fits<std::size_t>("%zu") && !fits<int>("%hd") && !fits<int>("%jd"));
static_assert(fits<double>("%.2f") && fits<float>("%g") && !fits<double>("%d") && !fits<double>("%Lf"));
static_assert(!fits<int, double>("%*f") && !fits<int, const char*>("%.*s"));
static_assert(fits<const char*>("%s") && fits<char[4]>("%s") && fits<std::string>("%20s") &&
              fits<ScreenPoint>("%s"));
static_assert(!fits<const char*>("%d") && !fits<const char*>("%p") && !fits<std::string>("%x"));
static_assert(fits<const void*>("%p") && fits<int*>("%p") && !fits<int*>("%s") && !fits<int*>("%x"));

// A text that is made at run time is no format: it might be gone before it is used.
static_assert(std::is_constructible_v<LogFormat<>, const char (&)[5]>);
static_assert(!std::is_constructible_v<LogFormat<>, const char*>);
static_assert(!std::is_constructible_v<LogFormat<>, std::string>);

} // namespace
} // namespace lightpen
