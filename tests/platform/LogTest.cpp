// SPDX-License-Identifier: MIT
#include "platform/Log.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

using testing::ElementsAre;

// A locale of our own in which numbers have a comma, made for this test since a machine may have none.
class CommaLocale {
public:
    CommaLocale() {
        writeFile(folder_.file("source"), "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\ngrouping -1\n"
                                          "END LC_NUMERIC\n");
        // It complains about the categories that are missing, and writes the others all the same.
        const std::string command = "localedef -c --no-archive -i '" + folder_.file("source") + "' '" +
                                    folder_.file("comma") + "' >/dev/null 2>&1";
        [[maybe_unused]] const int status = std::system(command.c_str());
        setenv("LOCPATH", folder_.path().c_str(), 1);
        set_ = std::setlocale(LC_NUMERIC, "comma") != nullptr;
    }
    ~CommaLocale() {
        std::setlocale(LC_NUMERIC, "C");
        unsetenv("LOCPATH");
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;
    bool set() const { return set_; }

private:
    const TemporaryDirectory folder_;
    bool set_ = false;
};

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

TEST(LogTest, WhatNobodyListensToIsNotFormatted) {
    class Deaf final : public LogSink {
    public:
        Deaf() { setLogSink(this); }
        ~Deaf() override { setLogSink(nullptr); }
        bool listens() const override { return false; }
        void logLine(std::string_view) override { ++heard; }
        void standardOutput(std::string_view) override { ++heard; }
        int heard = 0;
    } sink;
    int length = -1; // is set by whoever formats
    logLine("a line%n", &length);
    printText("a text%n", &length);
    EXPECT_EQ(length, -1);
    EXPECT_EQ(sink.heard, 0);
    const RecordingLog listening;
    logLine("a line%n", &length);
    EXPECT_EQ(length, 6);
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
