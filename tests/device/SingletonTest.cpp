// SPDX-License-Identifier: MIT
// The one driver of the process. Each test has a process of its own, since the instance is never freed.
#include <cstdlib>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/EventGeneratorNX7.h"
#include "kit/RecordingLog.h"
#include "kit/ScriptedUnit.h"
#include "kit/TestPlatform.h"

namespace lightpen {
namespace {

// What the child process says on its standard error when all is well; anything else fails the test.
constexpr const char* kGood = "^good\n$";

[[noreturn]] void end(const std::string& verdict) {
    std::fprintf(stderr, "%s\n", verdict.c_str());
    std::_Exit(0);
}

// Answers each request of a flash read with "no record" of a wireless unit.
void answerRequests(ScriptedUnit& unit) {
    unit.onSetReport = [&unit](const SentReport& report) {
        if (report.bytes.at(0) == 'H')
            unit.sendReport({'N', 0, 1, 0x35});
        return kIOReturnSuccess;
    };
}

long countIn(const std::string& text, const std::string& part) {
    long count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

[[noreturn]] void asksTwice() {
    TestPlatform desk;
    RecordingLog log;
    EventGeneratorNX7* const first = EventGeneratorNX7::sharedEventGeneratorNX7();
    if (log.output() != "Event n:546 \n")
        end("first: " + log.output());
    if (!EventGeneratorNX7::isUnitOpen())
        end("not started");
    EventGeneratorNX7* const second = EventGeneratorNX7::sharedEventGeneratorNX7();
    if (log.output() != "Event n:546 \nEvent n:546 \n")
        end("second: " + log.output());
    if (first != second || first->retain() != second || first->copyWithZone() != first)
        end("two of them");
    first->release();
    if (EventGeneratorNX7::sharedEventGeneratorNX7() != first || log.lines().size() != 4)
        end("started again");
    end("good");
}

TEST(SingletonTest, TheInstanceIsMadeOnceAndPrintsEachTime) {
    EXPECT_EXIT(asksTwice(), testing::ExitedWithCode(0), kGood);
}

// The start runs the main loop, and something there asks for the driver.
[[noreturn]] void asksDuringTheStart() {
    TestPlatform desk;
    RecordingLog log;
    ScriptedUnit unit(desk);
    answerRequests(unit);
    unit.plugIn();
    EventGeneratorNX7* inside = nullptr;
    bool asked = false;
    desk.threads.onDetach = [&] {
        desk.runLoop.performOnMainThread({&desk, "ask", {}, [&] {
                                              inside = EventGeneratorNX7::sharedEventGeneratorNX7();
                                              asked = !inside->hearsPen() && !inside->isUnitOpen();
                                              inside->beginPointThread();
                                          }});
    };
    EventGeneratorNX7* const outside = EventGeneratorNX7::sharedEventGeneratorNX7();
    if (!inside)
        end("never asked");
    if (!asked)
        end("asked too late");
    if (inside != outside)
        end("two of them");
    if (desk.threads.entries.size() != 1 || countIn(log.output(), "Event n:546 \n") != 2)
        end("started twice");
    end("good");
}

TEST(SingletonTest, WhoAsksDuringTheStartGetsTheSameInstance) {
    EXPECT_EXIT(asksDuringTheStart(), testing::ExitedWithCode(0), kGood);
}

// A unit that arrives in the loop of another's start finds the instance through the matching server.
[[noreturn]] void replugsDuringTheStart() {
    TestPlatform desk;
    RecordingLog log;
    ScriptedUnit unit(desk);
    answerRequests(unit);
    unit.script().answer("device.open", kIOReturnNotPrivileged);
    // The matching server's port may be that of an earlier test's platform; this one delivers for all.
    const auto port = desk.registry.IONotificationPortCreate(0);
    desk.runLoop.addSource(port->IONotificationPortGetRunLoopSource(), kCFRunLoopCommonModes);
    unit.plugIn();
    desk.threads.onDetach = [&] {
        desk.runLoop.performOnMainThread(
            {&desk, "begin", {}, [] { EventGeneratorNX7::sharedEventGeneratorNX7()->beginPointThread(); }});
    };
    desk.runLoop.performAfterDelay({&desk,
                                    "replug",
                                    {},
                                    [&] {
                                        unit.unplug();
                                        unit.script().carryOut("device.open");
                                        unit.plugIn();
                                    }},
                                   std::chrono::seconds(5));
    EventGeneratorNX7* const driver = EventGeneratorNX7::sharedEventGeneratorNX7();
    desk.runLoop.runFor(std::chrono::seconds(1));
    if (desk.threads.entries.size() != 1 || !driver->isUnitOpen())
        end("not open");
    end("good");
}

TEST(SingletonTest, AReplugDuringTheStartOpensTheUnit) {
    EXPECT_EXIT(replugsDuringTheStart(), testing::ExitedWithCode(0), kGood);
}

// Other threads that ask first get the one instance too.
[[noreturn]] void asksFromManyThreads() {
    TestPlatform desk;
    RecordingLog log;
    std::atomic<EventGeneratorNX7*> found[4]{};
    std::vector<std::thread> threads;
    for (auto& place : found)
        threads.emplace_back([&place] { place = EventGeneratorNX7::sharedEventGeneratorNX7(); });
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& place : found)
        if (!place.load() || place.load() != found[0].load())
            end("two of them");
    if (countIn(log.output(), "Event n:546 \n") != 4 || log.lines().size() != 4)
        end("started twice");
    end("good");
}

TEST(SingletonTest, ThreadsThatAskAtOnceGetTheSameInstance) {
    EXPECT_EXIT(asksFromManyThreads(), testing::ExitedWithCode(0), kGood);
}

} // namespace
} // namespace lightpen
