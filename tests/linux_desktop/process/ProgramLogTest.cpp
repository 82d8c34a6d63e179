// SPDX-License-Identifier: MIT
#include "linux_desktop/process/ProgramLog.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/resource.h>

#include <atomic>
#include <map>
#include <sstream>
#include <thread>
#include <vector>

#include "kit/CommaLocale.h"
#include "kit/Eventually.h"
#include "kit/OrdinaryUser.h"
#include "kit/Pipe.h"
#include "kit/TemporaryDirectory.h"
#include "kit/ThreadCount.h"
#include "platform/FileDescriptor.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;

ProgramLog::Settings settings(const Pipe& diagnostics, const Pipe& output) {
    // Patient with a writer that a busy machine holds up.
    return {diagnostics.writeEnd(),   output.writeEnd(), std::size_t{1} << 20, 1ms, 60s,
            LogChoice::standardError, "/nowhere"};
}

class ProgramLogTest : public testing::Test {
protected:
    Pipe diagnostics;
    Pipe output;
};

TEST_F(ProgramLogTest, WritesLinesToOneDescriptorAndOutputToTheOther) {
    ProgramLog log(settings(diagnostics, output));
    log.logLine("Event n:1 a");
    log.standardOutput("bytes ");
    log.logLine("Event n:2 b");
    log.standardOutput("and more\n");
    EXPECT_TRUE(log.flush());
    EXPECT_EQ(diagnostics.readAvailable(), "Event n:1 a\nEvent n:2 b\n");
    EXPECT_EQ(output.readAvailable(), "bytes and more\n");
}

TEST_F(ProgramLogTest, WritesWithoutBeingAskedTo) {
    ProgramLog log(settings(diagnostics, output));
    log.logLine("one");
    EXPECT_EQ(diagnostics.readUntil("one\n"), "one\n");
    // The writer has gone to sleep or is about to; both must be woken from.
    std::this_thread::sleep_for(20ms);
    log.logLine("two");
    EXPECT_EQ(diagnostics.readUntil("two\n"), "two\n");
}

TEST_F(ProgramLogTest, FlushOfNothingReturnsAtOnce) {
    ProgramLog log(settings(diagnostics, output));
    EXPECT_TRUE(log.flush(0ms));
}

TEST_F(ProgramLogTest, EndsWithEverythingWritten) {
    {
        auto lazy = settings(diagnostics, output);
        lazy.gathering = 10s; // only the end of the log makes it write in time
        ProgramLog log(lazy);
        log.logLine("last words");
        log.standardOutput("last bytes");
    }
    EXPECT_EQ(diagnostics.readAvailable(), "last words\n");
    EXPECT_EQ(output.readAvailable(), "last bytes");
}

TEST_F(ProgramLogTest, KeepsLinesWholeAndEachThreadsOrder) {
    constexpr int kThreads = 4;
    constexpr int kLines = 500;
    std::string text;
    {
        ProgramLog log(settings(diagnostics, output));
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

TEST_F(ProgramLogTest, AFlushGivesUpThoughLinesGoOnComing) {
    ProgramLog log(settings(diagnostics, output));
    const std::string filling(diagnostics.capacity(), '.');
    ASSERT_EQ(write(diagnostics.writeEnd(), filling.data(), filling.size()),
              static_cast<ssize_t>(filling.size()));
    std::atomic<bool> over{false};
    std::thread caller([&] {
        while (!over) {
            log.logLine("another one");
            std::this_thread::sleep_for(1ms);
        }
    });
    log.logLine("one at least");
    EXPECT_FALSE(log.flush(50ms));
    over = true;
    caller.join();
    diagnostics.closeReadEnd(); // nothing to wait for at the end of the log
}

TEST_F(ProgramLogTest, APipeThatNobodyReadsStopsNoCaller) {
    auto small = settings(diagnostics, output);
    small.capacity = 1000;
    ProgramLog log(small);
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

TEST_F(ProgramLogTest, ABlockedOutputDoesNotHoldDiagnosticsUp) {
    ProgramLog log(settings(diagnostics, output));
    log.standardOutput(std::string(output.capacity() + 10'000, 'x'));
    EXPECT_FALSE(log.flush(20ms));
    log.logLine("still here");
    EXPECT_EQ(diagnostics.readUntil("still here\n"), "still here\n");
    output.closeReadEnd(); // nothing to wait for at the end of the log
}

TEST_F(ProgramLogTest, AReaderThatHasGoneEndsNeitherProcessNorLog) {
    ProgramLog log(settings(diagnostics, output));
    diagnostics.closeReadEnd();
    log.logLine("to nobody");
    EXPECT_TRUE(log.flush());
    log.standardOutput("to somebody");
    EXPECT_TRUE(log.flush());
    EXPECT_EQ(output.readAvailable(), "to somebody");
}

TEST_F(ProgramLogTest, AClosedDescriptorIsSurvived) {
    const int closed = dup(output.writeEnd());
    close(closed);
    ProgramLog log({.diagnostics = closed, .output = output.writeEnd(), .capacity = 1000, .gathering = 1ms});
    log.logLine("into the void");
    log.standardOutput("out");
    EXPECT_EQ(output.readUntil("out"), "out");
}

TEST_F(ProgramLogTest, ServesThePlatformLog) {
    ProgramLog log(settings(diagnostics, output));
    setLogSink(&log);
    logLine("Event n:%d %.2f", 2411, 0.5);
    printText("%02x ", 0x48);
    setLogSink(nullptr);
    EXPECT_TRUE(log.flush());
    EXPECT_EQ(diagnostics.readAvailable(), "Event n:2411 0.50\n");
    EXPECT_EQ(output.readAvailable(), "48 ");
}

// The arguments are formatted later, on another thread; what they were made from is gone by then.
TEST_F(ProgramLogTest, FormatsByItselfWhatItsCallersHaveLogged) {
    auto lazy = settings(diagnostics, output);
    lazy.gathering = 10s; // until the flush nothing is formatted
    ProgramLog log(lazy);
    setLogSink(&log);
    std::string expected;
    for (int i = 0; i < 200; ++i) {
        const std::string text(static_cast<std::size_t>(i) * 7, 'x');
        logLine("line %d: %s, %.1f, %s", i, text, i / 2.0, ScreenPoint{0.5, double(i)});
        expected += "line " + std::to_string(i) + ": " + text + ", " + std::to_string(i / 2) +
                    (i % 2 == 0 ? ".0" : ".5") + ", {0.5, " + std::to_string(i) + "}\n";
    }
    setLogSink(nullptr);
    std::string written;
    std::thread reader([&] { written = diagnostics.readUntil("{0.5, 199}\n"); });
    EXPECT_TRUE(log.flush());
    reader.join();
    EXPECT_EQ(written, expected);
}

TEST_F(ProgramLogTest, WritesNumbersInTheCLocaleWhateverTheUsersIs) {
    const CommaLocale comma;
    ASSERT_TRUE(comma.set()) << "localedef needs the sources of the package locales";
    ProgramLog log(settings(diagnostics, output));
    setLogSink(&log);
    logLine("mappedPoint: (%.2f,%.2f)", 500.25, -0.5);
    setLogSink(nullptr);
    EXPECT_TRUE(log.flush());
    EXPECT_EQ(diagnostics.readAvailable(), "mappedPoint: (500.25,-0.50)\n");
}

TEST_F(ProgramLogTest, LinesOfSeveralThreadsAreWholeAndInOrder) {
    constexpr int kThreads = 4;
    constexpr int kLines = 500;
    std::string text;
    {
        ProgramLog log(settings(diagnostics, output));
        setLogSink(&log);
        std::thread reader([&] { text = diagnostics.readUntil("end\n"); });
        std::vector<std::thread> writers;
        for (int thread = 0; thread < kThreads; ++thread)
            writers.emplace_back([thread] {
                for (int number = 0; number < kLines; ++number)
                    logLine("%d %d %s", thread, number, "and a text");
            });
        for (std::thread& writer : writers)
            writer.join();
        logLine("end");
        setLogSink(nullptr);
        reader.join();
    }
    std::istringstream lines(text);
    std::map<int, int> next;
    int thread = -1;
    int number = -1;
    std::string rest;
    while (lines >> thread >> number && std::getline(lines, rest)) {
        ASSERT_EQ(rest, " and a text");
        ASSERT_EQ(number, next[thread]++) << "thread " << thread;
    }
    for (int i = 0; i < kThreads; ++i)
        EXPECT_EQ(next[i], kLines);
}

class LogToFileTest : public ProgramLogTest {
protected:
    ProgramLog::Settings toFile() const {
        auto result = settings(diagnostics, output);
        result.choice = LogChoice::file;
        result.folder = home.file("log");
        return result;
    }
    std::string inFile() const { return readFile(home.file("log/log")); }

    const TemporaryDirectory home;
};

TEST_F(LogToFileTest, EverythingIsInTheFileInItsOrder) {
    ProgramLog log(toFile());
    EXPECT_TRUE(log.listens());
    log.standardOutput("Event n:546 ");
    log.logLine("Event n:1 a");
    log.logLine("Pointer: events go through XTest");
    log.standardOutput("48 49\n");
    log.logLine("KVR n:2 b\nof two lines");
    EXPECT_TRUE(log.flush());
    EXPECT_EQ(inFile(),
              "Event n:546 Event n:1 a\nPointer: events go through XTest\n48 49\nKVR n:2 b\nof two lines\n");
    EXPECT_EQ(output.readAvailable(), "");
}

// The others tell where the pen was, and what a pairing table holds.
TEST_F(LogToFileTest, OnlyLinesWithoutANumberAreDiagnosticsToo) {
    ProgramLog log(toFile());
    const std::vector<std::string> acted{
        "KVR: too few points", "Pointer: n:3", "Eventual n:3", "Event n:", "Event n:x",    "event n:3",
        " Event n:3",          " n:3",         "Event",        "",         "Qt: Event n:3"};
    for (const char* tag : {"Light", "Event", "KVR", "KVRC", "Calibr", "RBIOS"})
        log.logLine(std::string(tag) + " n:3 (10.50, 20.50)");
    log.logLine("RBIOS n:9");
    log.standardOutput("48 49\n");
    for (const std::string& line : acted)
        log.logLine(line);
    EXPECT_TRUE(log.flush());
    std::string text;
    for (const std::string& line : acted)
        text += line + "\n";
    EXPECT_EQ(diagnostics.readAvailable(), text);
    EXPECT_EQ(inFile().find("Light n:3 (10.50, 20.50)\nEvent n:3"), 0U);
    EXPECT_TRUE(inFile().ends_with("\nRBIOS n:9\n48 49\n" + text));
}

TEST_F(LogToFileTest, EndsWithEverythingWritten) {
    {
        auto lazy = toFile();
        lazy.gathering = 10s; // only the end of the log makes it write in time
        ProgramLog log(lazy);
        log.logLine("Event n:1 last words");
    }
    EXPECT_EQ(inFile(), "Event n:1 last words\n");
}

TEST_F(LogToFileTest, MoreThanFitsIsLostWithANoteThatSaysSo) {
    auto small = toFile();
    small.capacity = 20;
    small.gathering = 10s; // until the flush nothing is written
    ProgramLog log(small);
    for (int i = 0; i < 3; ++i)
        log.logLine("Event n:1 a line");
    EXPECT_TRUE(log.flush());
    EXPECT_EQ(inFile(),
              "Event n:1 a line\nLog: 2 lines were lost here, they came faster than they were read\n");
}

// More than comes between two looks of the writer: beyond its room everything is lost, and told once.
TEST_F(LogToFileTest, WhatComesTooFastIsLostWithANoteInItsPlace) {
    auto lazy = toFile();
    lazy.gathering = 10s; // until the flush nothing is taken
    ProgramLog log(lazy);
    constexpr std::size_t kLines = 20'000;
    log.logLine("Event n:1 0");
    EXPECT_TRUE(log.flush()); // the writer runs, and gathers
    for (std::size_t i = 1; i < kLines; ++i)
        log.logLine("Event n:1 " + std::to_string(i));
    log.logLine("Pointer: lost too");
    EXPECT_TRUE(log.flush());
    log.logLine("Pointer: behind it");
    EXPECT_TRUE(log.flush());
    std::istringstream lines(inFile());
    std::size_t whole = 0;
    std::string line;
    while (std::getline(lines, line) && line == "Event n:1 " + std::to_string(whole))
        ++whole;
    EXPECT_GT(whole, 1000U);
    EXPECT_EQ(line, "Log: " + std::to_string(kLines + 1 - whole) +
                        " lines were lost here, they came faster than they were read");
    EXPECT_TRUE(std::getline(lines, line) && line == "Pointer: behind it") << line;
    EXPECT_FALSE(std::getline(lines, line)) << line;
    EXPECT_EQ(diagnostics.readAvailable(),
              "Log: 1 line was lost here, they came faster than they were read\nPointer: behind it\n");
}

TEST_F(LogToFileTest, AReaderWhoTakesNothingDoesNotHoldTheFileUp) {
    ProgramLog log(toFile());
    log.logLine(std::string(diagnostics.capacity() + 10'000, 'x'));
    log.logLine("Event n:1 still here");
    EXPECT_TRUE(eventually([&] { return inFile().ends_with("x\nEvent n:1 still here\n"); }));
    EXPECT_FALSE(log.flush(20ms));
    diagnostics.closeReadEnd(); // nothing to wait for at the end of the log
}

TEST_F(LogToFileTest, WithoutAFolderItSaysSoOnceAndGoesOn) {
    writeFile(home.file("log"), "no folder");
    ProgramLog log(toFile());
    for (int i = 0; i < 3; ++i) {
        log.logLine("Event n:1 lost");
        EXPECT_TRUE(log.flush());
    }
    log.logLine("Pointer: not lost");
    EXPECT_TRUE(log.flush());
    EXPECT_EQ(diagnostics.readAvailable(), "Log: " + home.file("log/log") +
                                               " cannot be written: Not a directory; the program goes on "
                                               "without it\nPointer: not lost\n");
}

TEST_F(LogToFileTest, IsChosenByItselfUnlessATerminalReads) {
    auto automatic = toFile();
    automatic.choice = LogChoice::automatic;
    {
        ProgramLog log(automatic);
        log.logLine("Event n:1 a pipe");
    }
    EXPECT_EQ(inFile(), "Event n:1 a pipe\n");
    EXPECT_EQ(diagnostics.readAvailable(), "");

    const FileDescriptor screen(posix_openpt(O_RDWR | O_NOCTTY));
    ASSERT_TRUE(screen && grantpt(screen.get()) == 0 && unlockpt(screen.get()) == 0);
    const FileDescriptor terminal(open(ptsname(screen.get()), O_RDWR | O_NOCTTY));
    automatic.diagnostics = terminal.get();
    {
        ProgramLog log(automatic);
        log.logLine("Event n:1 a terminal");
        log.standardOutput("48 ");
    }
    char text[100] = {};
    EXPECT_GT(read(screen.get(), text, sizeof text - 1), 0);
    EXPECT_STREQ(text, "Event n:1 a terminal\r\n");
    EXPECT_EQ(output.readAvailable(), "48 ");
    EXPECT_EQ(inFile(), "Event n:1 a pipe\n") << "nothing more";
}

TEST_F(LogToFileTest, NoLogIsNone) {
    auto none = toFile();
    none.choice = LogChoice::none;
    const auto threads = threadCount();
    ProgramLog log(none);
    EXPECT_LE(threadCount(), threads) << "nobody is needed to write";
    EXPECT_FALSE(log.listens());
    setLogSink(&log);
    logLine("Pointer: nobody hears");
    printText("48 ");
    setLogSink(nullptr);
    EXPECT_TRUE(log.flush());
    EXPECT_EQ(diagnostics.readAvailable() + output.readAvailable(), "");
    EXPECT_FALSE(std::filesystem::exists(home.file("log")));
}

[[noreturn]] void logWithoutThreads() {
    const rlimit none{};
    if (!becomeOrdinaryUser() || setrlimit(RLIMIT_NPROC, &none) != 0)
        std::_Exit(2);
    {
        ProgramLog log({.patience = 60s});
        log.logLine("to nobody");
        if (log.flush())
            std::_Exit(3);
    }
    std::_Exit(0);
}

TEST(ProgramLogDeathTest, WithoutAThreadItSaysSoAndTheProgramGoesOn) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    if (!ordinaryUserMayEnter("/"))
        GTEST_SKIP() << "there is no ordinary user to become";
    EXPECT_EXIT(logWithoutThreads(), testing::ExitedWithCode(0),
                "^Log: no thread for writing: Resource temporarily unavailable; nothing is logged\n$");
}

} // namespace
} // namespace lightpen
