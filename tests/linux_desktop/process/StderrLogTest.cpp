// SPDX-License-Identifier: MIT
#include "linux_desktop/process/StderrLog.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <thread>
#include <vector>

#include "kit/Pipe.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;

StderrLog::Settings settings(const Pipe& diagnostics, const Pipe& output) {
    // Patient with a writer that a busy machine holds up.
    return {diagnostics.writeEnd(), output.writeEnd(), std::size_t{1} << 20, 1ms, 60s};
}

class StderrLogTest : public testing::Test {
protected:
    Pipe diagnostics;
    Pipe output;
};

TEST_F(StderrLogTest, WritesLinesToOneDescriptorAndOutputToTheOther) {
    StderrLog log(settings(diagnostics, output));
    log.logLine("Event n:1 a");
    log.standardOutput("bytes ");
    log.logLine("Event n:2 b");
    log.standardOutput("and more\n");
    EXPECT_TRUE(log.flush());
    EXPECT_EQ(diagnostics.readAvailable(), "Event n:1 a\nEvent n:2 b\n");
    EXPECT_EQ(output.readAvailable(), "bytes and more\n");
}

TEST_F(StderrLogTest, WritesWithoutBeingAskedTo) {
    StderrLog log(settings(diagnostics, output));
    log.logLine("one");
    EXPECT_EQ(diagnostics.readUntil("one\n"), "one\n");
    // The writer has gone to sleep or is about to; both must be woken from.
    std::this_thread::sleep_for(20ms);
    log.logLine("two");
    EXPECT_EQ(diagnostics.readUntil("two\n"), "two\n");
}

TEST_F(StderrLogTest, FlushOfNothingReturnsAtOnce) {
    StderrLog log(settings(diagnostics, output));
    EXPECT_TRUE(log.flush(0ms));
}

TEST_F(StderrLogTest, EndsWithEverythingWritten) {
    {
        auto lazy = settings(diagnostics, output);
        lazy.gathering = 10s; // only the end of the log makes it write in time
        StderrLog log(lazy);
        log.logLine("last words");
        log.standardOutput("last bytes");
    }
    EXPECT_EQ(diagnostics.readAvailable(), "last words\n");
    EXPECT_EQ(output.readAvailable(), "last bytes");
}

TEST_F(StderrLogTest, KeepsLinesWholeAndEachThreadsOrder) {
    constexpr int kThreads = 4;
    constexpr int kLines = 500;
    std::string text;
    {
        StderrLog log(settings(diagnostics, output));
        std::thread reader([&] { text = diagnostics.readUntil("end\n"); });
        std::vector<std::thread> writers;
        for (int thread = 0; thread < kThreads; ++thread)
            writers.emplace_back([&log, thread] {
                for (int line = 0; line < kLines; ++line)
                    log.logLine(std::to_string(thread) + " " + std::to_string(line));
            });
        for (std::thread& writer : writers)
            writer.join();
        log.logLine("end");
        reader.join();
    }
    std::istringstream lines(text);
    std::map<int, int> next;
    int thread = 0;
    int line = 0;
    while (lines >> thread >> line)
        ASSERT_EQ(line, next[thread]++) << "thread " << thread;
    for (int i = 0; i < kThreads; ++i)
        EXPECT_EQ(next[i], kLines);
}

TEST_F(StderrLogTest, APipeThatNobodyReadsStopsNoCaller) {
    auto small = settings(diagnostics, output);
    small.capacity = 1000;
    StderrLog log(small);
    const std::string filling(diagnostics.capacity(), '.');
    ASSERT_EQ(write(diagnostics.writeEnd(), filling.data(), filling.size()),
              static_cast<ssize_t>(filling.size()));
    const std::string line(99, 'x');
    constexpr std::size_t lines = 100;
    for (std::size_t i = 0; i < lines; ++i)
        log.logLine(line);
    EXPECT_FALSE(log.flush(20ms));

    // Once somebody reads, every line is there or accounted for.
    std::string text;
    while (!log.flush(0ms))
        text += diagnostics.readAvailable();
    text += diagnostics.readAvailable();
    ASSERT_TRUE(text.starts_with(filling));
    std::istringstream stream(text.substr(filling.size()));
    std::size_t whole = 0;
    std::size_t lost = 0;
    for (std::string read; std::getline(stream, read);) {
        std::size_t count = 0;
        if (read == line)
            ++whole;
        else if (std::sscanf(read.c_str(), "Log: %zu lines were lost here", &count) == 1)
            lost += count;
        else
            ADD_FAILURE() << "neither a line nor a note: " << read;
    }
    EXPECT_GT(lost, 0u);
    EXPECT_EQ(whole + lost, lines);
}

TEST_F(StderrLogTest, ABlockedOutputDoesNotHoldDiagnosticsUp) {
    StderrLog log(settings(diagnostics, output));
    log.standardOutput(std::string(output.capacity() + 10'000, 'x'));
    EXPECT_FALSE(log.flush(20ms));
    log.logLine("still here");
    EXPECT_EQ(diagnostics.readUntil("still here\n"), "still here\n");
    output.closeReadEnd(); // nothing to wait for at the end of the log
}

TEST_F(StderrLogTest, AReaderThatHasGoneEndsNeitherProcessNorLog) {
    StderrLog log(settings(diagnostics, output));
    diagnostics.closeReadEnd();
    log.logLine("to nobody");
    EXPECT_TRUE(log.flush());
    log.standardOutput("to somebody");
    EXPECT_TRUE(log.flush());
    EXPECT_EQ(output.readAvailable(), "to somebody");
}

TEST_F(StderrLogTest, AClosedDescriptorIsSurvived) {
    const int closed = dup(output.writeEnd());
    close(closed);
    StderrLog log({closed, output.writeEnd(), 1000, 1ms});
    log.logLine("into the void");
    log.standardOutput("out");
    EXPECT_EQ(output.readUntil("out"), "out");
}

TEST_F(StderrLogTest, ServesThePlatformLog) {
    StderrLog log(settings(diagnostics, output));
    setLogSink(&log);
    logLine("Event n:%d %.2f", 2411, 0.5);
    printText("%02x ", 0x48);
    setLogSink(nullptr);
    EXPECT_TRUE(log.flush());
    EXPECT_EQ(diagnostics.readAvailable(), "Event n:2411 0.50\n");
    EXPECT_EQ(output.readAvailable(), "48 ");
}

} // namespace
} // namespace lightpen
