// SPDX-License-Identifier: MIT
#include "platform/Log.h"

#include <cstdio>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/CommaLocale.h"
#include "kit/RecordingLog.h"

namespace lightpen {
namespace {

using testing::ElementsAre;

std::string printed(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value);
    return text;
}

TEST(LogTest, NumbersAreWrittenInTheCLocaleWhateverTheUsersIs) {
    const CommaLocale comma;
    ASSERT_TRUE(comma.set()) << "localedef needs the sources of the package locales";
    ASSERT_EQ(printed(500.25), "500,25");
    const RecordingLog log;
    logLine("mappedPoint: (%.2f,%.2f)", 500.25, -0.5);
    printText("%.1f\n", 1.5);
    EXPECT_THAT(log.lines(), ElementsAre("mappedPoint: (500.25,-0.50)"));
    EXPECT_EQ(log.output(), "1.5\n");
    EXPECT_EQ(printed(500.25), "500,25") << "the program's own locale is back";
}

TEST(LogTest, LinesOfAnyLengthAreWhole) {
    const RecordingLog log;
    std::vector<std::string> written;
    for (const std::size_t length : {0u, 511u, 512u, 513u, 100'000u}) {
        written.emplace_back(length, 'x');
        logLine("%s", written.back().c_str());
    }
    EXPECT_EQ(log.lines(), written);
}

TEST(LogTest, TheLinesAndTheTextAreApart) {
    const RecordingLog log;
    printText("Event n:546 ");
    logLine("a line\nof two");
    printText("%d\n", 7);
    EXPECT_THAT(log.lines(), ElementsAre("a line\nof two"));
    EXPECT_EQ(log.output(), "Event n:546 7\n");
}

TEST(LogTest, WithoutASinkLinesGoToStandardError) {
    setLogSink(nullptr);
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    logLine("line %d", 1);
    printText("text %d\n", 2);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "line 1\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "text 2\n");
}

class DeafSink final : public LogSink {
public:
    DeafSink() { setLogSink(this); }
    ~DeafSink() override { setLogSink(nullptr); }
    DeafSink(const DeafSink&) = delete;
    DeafSink& operator=(const DeafSink&) = delete;
    bool listens() const override { return false; }
    void logLine(std::string_view) override { ++heard; }
    void standardOutput(std::string_view) override { ++heard; }
    void take(const LogEntry&) override { ++heard; }
    int heard = 0;
};

// A text that knows how often it was looked at.
struct WatchedText {
    int& looks;
    operator std::string_view() const { // NOLINT(google-explicit-constructor)
        ++looks;
        return "text";
    }
};

TEST(LogTest, WhatNobodyListensToIsNotEvenCopied) {
    int looks = 0;
    {
        const DeafSink sink;
        logLine("a line %s", WatchedText{looks});
        printText("a text %s", WatchedText{looks});
        EXPECT_EQ(sink.heard, 0);
        EXPECT_EQ(looks, 0);
    }
    const RecordingLog listening;
    logLine("a line %s", WatchedText{looks});
    EXPECT_GT(looks, 0);
    EXPECT_THAT(listening.lines(), ElementsAre("a line text"));
}

TEST(LogTest, LinesOfSeveralThreadsAreWholeAndInOrder) {
    const RecordingLog log;
    const auto write = [](int thread) {
        for (int i = 0; i < 300; ++i)
            logLine("%d %d", thread, i);
    };
    std::thread first(write, 0), second(write, 1);
    first.join();
    second.join();
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 600u);
    int next[] = {0, 0};
    for (const std::string& line : lines) {
        int thread = -1, number = -1;
        ASSERT_EQ(std::sscanf(line.c_str(), "%d %d", &thread, &number), 2) << line;
        ASSERT_EQ(number, next[thread]++);
    }
}

} // namespace
} // namespace lightpen
