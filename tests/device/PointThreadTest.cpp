// SPDX-License-Identifier: MIT
// The point thread's start, polls and end; what it does with points has tests of its own.
#include "kit/device/PassFixture.h"

namespace lightpen {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class PointThreadTest : public PassFixture {};

// Start

TEST_F(PointThreadTest, StartMakesAQueueOfOneReport) {
    driver->_lightPenState = 2;
    driver->_isStaring = true;
    thread = driver->beginPointThread();
    EXPECT_THAT(unit.takeOperations(),
                ElementsAre("device.allocQueue()", "queue1.create(0, 1)", "queue1.hasElement(17)",
                            "queue1.addElement(17, 0)", "queue1.start()"));
    EXPECT_THAT(log.lines(), ElementsAre("Event n:2323 Input report element for 0", "Event n:2349 ",
                                         "Event n:1572 result:0"));
    EXPECT_THAT(desk.threads.priorities, ElementsAre(1.0));
    EXPECT_EQ(driver->_lightPenState, 0);
    EXPECT_FALSE(driver->_isStaring);
    EXPECT_EQ(thread.pollResult, kIOReturnSuccess);
    EXPECT_EQ(thread.cookie, 17U);
    EXPECT_EQ(driver->_pointsQueue.load(), unit.queue(1));
}

TEST_F(PointThreadTest, StartKeepsAQueueThatIsThere) {
    const auto queue = unit.makeQueue();
    queue->addElement(17, 0);
    driver->_pointsQueue = queue;
    unit.takeOperations();
    thread = driver->beginPointThread();
    EXPECT_THAT(unit.takeOperations(),
                ElementsAre("queue1.create(0, 1)", "queue1.hasElement(17)", "queue1.start()"));
    EXPECT_THAT(log.lines(), ElementsAre("Event n:1565 alloc points queue failed",
                                         "Event n:2323 Input report element for 0", "Event n:2349 ",
                                         "Event n:1572 result:0"));
}

TEST_F(PointThreadTest, StartKeepsTheResultOfTheLastStepThatRan) {
    unit.script().answer("queue.create", kIOReturnError);
    EXPECT_EQ(driver->beginPointThread().pollResult, kIOReturnSuccess); // addElement's
    driver->_pointsQueue = nullptr;
    unit.script().answer("queue.addElement", 5);
    log.clear();
    EXPECT_EQ(driver->beginPointThread().pollResult, 5);
    EXPECT_EQ(log.lines().back(), "Event n:1572 result:5");
    unit.script().carryOut("queue.addElement");
    // The queue of the second start holds no element yet; one that does has create's result.
    unit.queue(2)->addElement(17, 0);
    EXPECT_EQ(driver->beginPointThread().pollResult, kIOReturnError);
    EXPECT_EQ(log.lines().back(), "Event n:1572 result:-536870212");
}

TEST_F(PointThreadTest, StartWithoutADeviceGoesOnWithoutAQueue) {
    driver->_pphidDeviceInterface = nullptr;
    driver->_isStaring = true;
    EXPECT_EQ(driver->beginPointThread().pollResult, kIOReturnNoDevice);
    EXPECT_FALSE(driver->_isStaring);
    unit.withoutQueues = true;
    driver->_pphidDeviceInterface = unit.openDevice();
    thread = driver->beginPointThread();
    EXPECT_EQ(thread.pollResult, kIOReturnNoDevice);
    beginArmedThread();
    EXPECT_EQ(pass(), idle()); // an absent queue is an empty one
}

TEST_F(PointThreadTest, EntryWithTheStopFlagSetMakesNoPass) {
    driver->_stopThread = true;
    driver->_isStaring = true;
    sharedState.delegateCallbackCount = 2;
    driver->receivingPointsQueueThreadEntry(nullptr);
    EXPECT_FALSE(driver->_isStaring);
    EXPECT_THAT(desk.clock.takeSleeps(), IsEmpty());
    EXPECT_EQ(log.lines().back(), "Event n:1829 456");
    EXPECT_EQ(sharedState.delegateCallbackCount, 0);
}

// Polls

TEST_F(PointThreadTest, AnEmptyPollSleepsAndSaysNothing) {
    beginArmedThread();
    EXPECT_EQ(pass(), idle());
}

TEST_F(PointThreadTest, PollsWithoutWaiting) {
    beginArmedThread();
    unit.queue(1)->notesPolls = true;
    pass();
    EXPECT_THAT(unit.takeOperations(), ElementsAre("queue1.getNextEvent(0, 0)"));
}

TEST_F(PointThreadTest, EachConditionOfPollingHoldsItBack) {
    SharedWord* const words[] = {&sharedState.unitOpen, &sharedState.deviceDelegateQueried,
                                 &sharedState.strayLightLevel};
    for (SharedWord* word : words) {
        beginArmedThread();
        unit.queue(1)->notesPolls = true;
        thread.pollResult = kIOReturnUnderrun;
        const int before = *word;
        for (const int value : {-1, 2}) {
            *word = value;
            pass();
            EXPECT_THAT(unit.takeOperations(), IsEmpty()) << value;
        }
        *word = before;
        pass();
        EXPECT_THAT(unit.takeOperations(), SizeIs(1));
    }
}

TEST_F(PointThreadTest, ASkippedPollKeepsTheResultBeforeIt) {
    beginArmedThread();
    emptyPasses(1);
    sharedState.deviceDelegateQueried = 0;
    EXPECT_EQ(pass(), idle()); // still the empty poll
    thread.pollResult = kIOReturnSuccess;
    const Pass again = pass(); // still a success: the last report once more
    EXPECT_THAT(again.lines, ElementsAre("Event n:1537 ( 0, 0)"));
    EXPECT_EQ(thread.pollResult, kIOReturnSuccess);
}

TEST_F(PointThreadTest, OnlyTheNewestReportIsSeen) {
    beginArmedThread();
    unit.sendReport(penReport(101, 201));
    unit.sendReport(penReport(103, 205));
    EXPECT_EQ(pass().lines.front(), "Event n:1505 ( 103, 205)");
    EXPECT_EQ(pass().posted, (std::vector{up(54, 109)})); // and then none is left
}

TEST_F(PointThreadTest, AnErrorIsLoggedOncePerPassAndTheThreadGoesOn) {
    beginArmedThread();
    unit.script().answer("queue1.getNextEvent", kIOReturnNotOpen);
    const Pass expected{.lines = {"Event n:1688 Queue getNextEvent unhandled error: e00002cd\n"},
                        .sleeps = {kPassSleep}};
    EXPECT_EQ(pass(), expected);
    EXPECT_EQ(pass(), expected);
    unit.script().carryOut("queue1.getNextEvent");
    EXPECT_EQ(pass(), idle());
}

TEST_F(PointThreadTest, AThreadThatHasSeenNoReportOwnsAZeroedOne) {
    // Polling is held back and the result of the start is a success: the thread decodes what it has.
    beginArmedThread();
    sharedState.deviceDelegateQueried = 0;
    EXPECT_THAT(pass().lines, ElementsAre("Event n:1537 ( 0, 0)"));
}

// The made-up pen-up

TEST_F(PointThreadTest, SilenceWithThePenDownIsAPenUp) {
    for (const int length : {8, 32, 804, 0}) {
        sharedState.reportCopyLength = length;
        driver->_pointsQueue = nullptr;
        beginArmedThread();
        passOn(1001, 601);
        EXPECT_EQ(driver->_lightPenState, 1);
        const Pass silent = pass();
        EXPECT_EQ(silent.posted, (std::vector{up(503, 307)})) << length;
        EXPECT_THAT(silent.lines, ElementsAre("Event n:1537 ( 0, 0)", "Event n:2456 Mouse Up 0",
                                              "Event n:1737 state down to up 0"));
        EXPECT_EQ(thread.event.type, 1U);
        EXPECT_EQ(thread.event.elementCookie, 17U);
        EXPECT_EQ(thread.event.value, 0);
        EXPECT_EQ(thread.event.longValueSize, static_cast<std::uint32_t>(length));
        EXPECT_GE(thread.event.longValue.size(), static_cast<std::size_t>(length));
        EXPECT_EQ(thread.event.longValue[0], 1);
        EXPECT_EQ(thread.pollResult, kIOReturnSuccess);
        EXPECT_EQ(pass(), idle()); // once
    }
}

TEST_F(PointThreadTest, AnErrorWithThePenDownIsAPenUpToo) {
    beginArmedThread();
    passOn(1001, 601);
    unit.script().answer("queue1.getNextEvent", kIOReturnError);
    EXPECT_EQ(pass().posted, (std::vector{up(503, 307)}));
    EXPECT_THAT(pass().lines, ElementsAre("Event n:1688 Queue getNextEvent unhandled error: e00002bc\n"));
}

TEST_F(PointThreadTest, AQueueThatIsGoneWithThePenDownIsAPenUp) {
    beginArmedThread();
    passOn(1001, 601);
    driver->_pointsQueue = nullptr;
    EXPECT_EQ(pass().posted, (std::vector{up(503, 307)}));
}

TEST_F(PointThreadTest, TheUnitsLastWordReleasesTheStroke) {
    beginArmedThread();
    passOn(1001, 601);
    unit.plugIn();
    unit.unplug();
    EXPECT_EQ(pass().posted, (std::vector{up(503, 307)}));
}

// Pictures and pairing records come as reports, and are no touches

TEST_F(PointThreadTest, PollsAreEmptyWhileAPictureIsFetched) {
    beginArmedThread();
    driver->setImageProcessMode(true);
    EXPECT_EQ(passOn(1001, 601), idle());
    driver->setImageProcessMode(false);
    EXPECT_EQ(pass(), idle()); // the report was taken, not left for later
    EXPECT_EQ(passOn(1001, 601).posted, (std::vector{down(503, 307)}));
}

TEST_F(PointThreadTest, PollsAreEmptyWhileThePairingTableIsRead) {
    beginArmedThread();
    driver->_RetPairingData = unit.makeQueue();
    EXPECT_EQ(passOn(1001, 601), idle());
    driver->_RetPairingData = nullptr;
    EXPECT_EQ(pass(), idle());
}

TEST_F(PointThreadTest, APictureThatBeginsWithThePenDownReleasesIt) {
    beginArmedThread();
    passOn(1001, 601);
    driver->setImageProcessMode(true);
    EXPECT_EQ(passOn(1201, 601).posted, (std::vector{up(503, 307)}));
    EXPECT_EQ(passOn(1201, 601), idle());
}

// End

TEST_F(PointThreadTest, TheStopFlagEndsTheThreadAfterThePassAndItsSleep) {
    beginArmedThread();
    driver->_stopThread = true;
    sharedState.delegateCallbackCount = 2;
    const Pass last = passOnScreen(-1, 5);
    EXPECT_FALSE(last.goesOn);
    EXPECT_THAT(last.regions, ElementsAre("LightPenNX7RegionLeft")); // an ordinary pass
    EXPECT_EQ(last.sleeps, (std::vector{kPassSleep}));
    EXPECT_EQ(last.lines.back(), "Event n:1829 456");
    EXPECT_EQ(sharedState.delegateCallbackCount, 0);
    EXPECT_THAT(unit.takeOperations(), IsEmpty()); // the queue is neither stopped nor disposed
    EXPECT_NE(driver->_pointsQueue.load(), nullptr);
}

TEST_F(PointThreadTest, EndingWithThePenDownReleasesAndCancels) {
    beginArmedThread();
    passOn(1001, 601);
    driver->_stopThread = true;
    const Pass last = passOn(1003, 601);
    EXPECT_FALSE(last.goesOn);
    EXPECT_EQ(last.posted, (std::vector{drag(504, 307), up(504, 307)}));
    EXPECT_EQ(last.lines.back(), "Event n:1829 456");
    EXPECT_EQ(last.lines.end()[-2], "Event n:1737 state down to up 0");
    desk.runLoop.runFor(seconds(5));
    EXPECT_THAT(desk.pointer.takePosted(), IsEmpty()); // no long press
    EXPECT_EQ(driver->_lightPenState, 0);
}

TEST_F(PointThreadTest, EndingWithThePenUpPostsNothing) {
    beginArmedThread();
    passOn(1001, 601);
    passOn(penUpReport());
    driver->_stopThread = true;
    const Pass last = pass();
    EXPECT_FALSE(last.goesOn);
    EXPECT_THAT(last.posted, IsEmpty());
    EXPECT_THAT(last.lines, ElementsAre("Event n:1829 456"));
}

TEST_F(PointThreadTest, AReplacedThreadEndsAlthoughTheStopFlagIsClear) {
    beginArmedThread();
    EXPECT_TRUE(pass().goesOn);
    driver->setUpPointQueue(); // a successor is on its way
    const Pass last = pass();
    EXPECT_FALSE(last.goesOn);
    EXPECT_THAT(last.lines, ElementsAre("Event n:1829 456"));
    EXPECT_FALSE(driver->_stopThread);
    // The successor stays.
    thread = driver->beginPointThread();
    EXPECT_TRUE(pass().goesOn);
}

TEST_F(PointThreadTest, TerminationEndsTheThreadAndReleasesTheButton) {
    beginArmedThread();
    passOn(1001, 601);
    desk.runLoop.terminate(0);
    const Pass last = passOn(1001, 601);
    EXPECT_FALSE(last.goesOn);
    EXPECT_EQ(last.posted.back(), up(503, 307));
}

TEST_F(PointThreadTest, TheEntryMakesPassesUntilItIsToEnd) {
    const auto queue = unit.makeQueue();
    driver->_pointsQueue = queue;
    sharedState.unitOpen = sharedState.mouseArmed = sharedState.deviceDelegateQueried = 1;
    sharedState.strayLightLevel = 0;
    int polls = 0;
    queue->beforePoll = [&] {
        unit.sendReport(++polls == 1 ? penReport(1001, 601) : penReport(1003, 601));
        driver->_stopThread = polls == 3;
    };
    driver->receivingPointsQueueThreadEntry(nullptr);
    EXPECT_EQ(polls, 3);
    EXPECT_EQ(desk.pointer.takePosted(),
              (std::vector{down(503, 307), drag(504, 307), drag(504, 307), up(504, 307)}));
    EXPECT_EQ(desk.clock.takeSleeps(), (std::vector(3, kPassSleep)));
}

} // namespace
} // namespace lightpen
