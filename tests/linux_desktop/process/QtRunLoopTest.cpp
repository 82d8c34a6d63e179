// SPDX-License-Identifier: MIT
#include "linux_desktop/process/QtRunLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <thread>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include "kit/linux/TestMain.h"
#include "linux_desktop/process/SystemClock.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

// The machine's clock, which can be held: however long a test takes over its requests, it makes them all at
// one time.
class HoldableClock : public Clock {
public:
    void hold() { held_ = machine_.now(); }
    void release() { held_.reset(); }
    Microseconds now() override { return held_ ? *held_ : machine_.now(); }
    void sleep(Microseconds duration) override { machine_.sleep(duration); }

private:
    SystemClock machine_;
    std::optional<Microseconds> held_;
};

class QtRunLoopTest : public testing::Test {
protected:
    PerformRequest note(const std::string& text) {
        return {this, "note", text, [this, text] { notes.push_back(text); }};
    }
    // Runs the loop until there are that many notes; gives up after ten seconds.
    void runUntilNotes(std::size_t count) {
        const auto end = clock.now() + 10s;
        while (notes.size() < count && clock.now() < end)
            loop.runFor(1ms);
    }

    HoldableClock clock;
    QtRunLoop loop{clock};
    std::vector<std::string> notes;
};

TEST_F(QtRunLoopTest, PerformsDelayedRequestsWhenDueAndInOrderOfTime) {
    clock.hold();
    const auto start = clock.now();
    loop.performAfterDelay(note("30"), 30ms);
    loop.performAfterDelay(note("10"), 10ms);
    loop.performAfterDelay(note("10 again"), 10ms);
    clock.release();
    runUntilNotes(3);
    EXPECT_GE(clock.now() - start, 30ms);
    EXPECT_THAT(notes, ElementsAre("10", "10 again", "30"));
}

TEST_F(QtRunLoopTest, PostedRequestsRunBeforeDelayedOnesThatAreDue) {
    loop.performAfterDelay(note("delayed"), 1ms);
    clock.sleep(5ms); // due by now
    loop.performOnMainThread(note("posted"));
    loop.performOnMainThread(note("posted too"));
    runUntilNotes(3);
    EXPECT_THAT(notes, ElementsAre("posted", "posted too", "delayed"));
}

TEST_F(QtRunLoopTest, ACancellationThatWasAskedForInTimeComesInTime) {
    loop.performAfterDelay(note("{500, 400}"), 1ms);
    clock.sleep(5ms);
    loop.performOnMainThread({this, "cancel", {}, [this] {
                                  loop.cancelPreviousPerformRequests(this, "note", "{500, 400}");
                                  notes.push_back("cancelled");
                              }});
    loop.performAfterDelay(note("end"), 10ms);
    runUntilNotes(2);
    EXPECT_THAT(notes, ElementsAre("cancelled", "end"));
}

TEST_F(QtRunLoopTest, TakesRequestsFromAnyThread) {
    std::thread other([&] {
        for (int i = 0; i < 100; ++i)
            loop.performOnMainThread(note(std::to_string(i)));
    });
    runUntilNotes(100);
    other.join();
    ASSERT_EQ(notes.size(), 100u);
    for (std::size_t i = 0; i < 100; ++i)
        EXPECT_EQ(notes[i], std::to_string(i));
}

TEST_F(QtRunLoopTest, ARequestThatRunsTheLoopDoesNotHoldTheOthersUp) {
    loop.performOnMainThread({this, "wait", {}, [this] {
                                  notes.push_back("outer");
                                  runUntilNotes(3);
                                  notes.push_back("outer ends");
                              }});
    loop.performOnMainThread(note("posted"));
    loop.performAfterDelay(note("delayed"), 1ms);
    runUntilNotes(4);
    EXPECT_THAT(notes, ElementsAre("outer", "posted", "delayed", "outer ends"));
}

TEST_F(QtRunLoopTest, NestedLoopsOfQtServeRequestsToo) {
    QEventLoop dialog;
    loop.performOnMainThread({this, "dialog", {}, [&] { dialog.exec(); }});
    loop.performOnMainThread(note("posted"));
    loop.performOnMainThread({this, "close", {}, [&] { dialog.quit(); }});
    runUntilNotes(1);
    EXPECT_THAT(notes, ElementsAre("posted"));
    EXPECT_FALSE(loop.terminating());
}

TEST_F(QtRunLoopTest, ARequestThatRenewsItselfLeavesRoomForQt) {
    bool qtWasServed = false;
    QTimer::singleShot(0, [&] { qtWasServed = true; });
    std::function<void()> again = [&] {
        if (!qtWasServed)
            loop.performOnMainThread({this, "again", {}, again});
        else
            notes.push_back("served");
    };
    again();
    runUntilNotes(1);
    EXPECT_TRUE(qtWasServed);
}

TEST_F(QtRunLoopTest, RunsForTheDurationAtLeast) {
    const auto start = clock.now();
    loop.runFor(20ms);
    EXPECT_GE(clock.now() - start, 20ms);
}

TEST_F(QtRunLoopTest, RemembersSourcesAndModesAndPerformsSignals) {
    const auto source = std::make_shared<RunLoopSource>([this] { notes.push_back("signalled"); });
    source->signal(); // not attached: lost
    EXPECT_FALSE(loop.containsSource(source, kCFRunLoopDefaultMode));
    loop.addSource(source, kCFRunLoopDefaultMode);
    EXPECT_TRUE(loop.containsSource(source, kCFRunLoopDefaultMode));
    EXPECT_FALSE(loop.containsSource(source, kCFRunLoopCommonModes));
    std::thread other([&] {
        source->signal();
        source->signal();
    });
    other.join();
    runUntilNotes(2);
    EXPECT_THAT(notes, ElementsAre("signalled", "signalled"));
}

TEST_F(QtRunLoopTest, KeepsNoSourcesThatNobodyElseHas) {
    auto forgotten = std::make_shared<RunLoopSource>([] {});
    const std::weak_ptr<RunLoopSource> trace = forgotten;
    const auto kept = std::make_shared<RunLoopSource>([] {});
    loop.addSource(std::exchange(forgotten, nullptr), kCFRunLoopDefaultMode);
    loop.addSource(kept, kCFRunLoopDefaultMode);
    loop.addSource(std::make_shared<RunLoopSource>([] {}), kCFRunLoopDefaultMode);
    EXPECT_TRUE(trace.expired());
    EXPECT_TRUE(loop.containsSource(kept, kCFRunLoopDefaultMode));
}

// Each of these needs an application that has not ended yet, so each gets a loop of its own above; Qt starts
// anew with every exec.

TEST_F(QtRunLoopTest, TerminateEndsTheLoopWithItsFirstStatus) {
    loop.performOnMainThread({this, "end", {}, [this] {
                                  loop.terminate(7);
                                  loop.terminate(8);
                              }});
    EXPECT_FALSE(loop.terminating());
    EXPECT_EQ(loop.run(), 7);
    EXPECT_TRUE(loop.terminating());
}

TEST_F(QtRunLoopTest, TerminateFromAnotherThreadEndsNestedWaitsInnermostFirst) {
    std::thread other;
    loop.performOnMainThread({this, "outer", {}, [&] {
                                  loop.runFor(1h);
                                  notes.push_back("outer");
                              }});
    loop.performOnMainThread({this, "inner", {}, [&] {
                                  other = std::thread([&] { loop.terminate(3); });
                                  loop.runFor(1h);
                                  notes.push_back("inner");
                              }});
    EXPECT_EQ(loop.run(), 3);
    other.join();
    EXPECT_THAT(notes, ElementsAre("inner", "outer"));
}

TEST_F(QtRunLoopTest, TerminateBeforeTheLoopRunsCountsToo) {
    loop.terminate(4);
    loop.runFor(1h);
    EXPECT_EQ(loop.run(), 4);
}

TEST_F(QtRunLoopTest, QuittingTheApplicationTerminates) {
    loop.performOnMainThread({this, "outer", {}, [&] {
                                  QCoreApplication::quit();
                                  loop.runFor(1h);
                              }});
    EXPECT_EQ(loop.run(), 0);
    EXPECT_TRUE(loop.terminating());
}

TEST_F(QtRunLoopTest, QtsOwnExitTerminatesFromANestedWait) {
    loop.performOnMainThread({this, "outer", {}, [&] {
                                  QTimer::singleShot(0, [] { QCoreApplication::exit(5); });
                                  loop.runFor(1h);
                                  EXPECT_TRUE(loop.terminating());
                              }});
    EXPECT_EQ(loop.run(), 5);
}

struct SpeaksWhenDestroyed {
    ~SpeaksWhenDestroyed() { std::fputs("destroyed", stderr); }
};

TEST(QtRunLoopDeathTest, ExitProcessDoesItsLastActOnceAndRunsNoDestructors) {
    EXPECT_EXIT(
        {
            static SpeaksWhenDestroyed speaker;
            SystemClock clock;
            QtRunLoop loop(clock, [] { std::fputs("last act", stderr); });
            std::thread([&] { loop.exitProcess(9); }).join();
        },
        testing::ExitedWithCode(9), "^last act$");
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runTests<QCoreApplication>(argc, argv);
}
