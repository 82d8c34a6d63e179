// SPDX-License-Identifier: MIT
// The set-up of the image queue step by step, and the start and stop of the points queue.
#include <cstdio>

#include "kit/device/DriverFixture.h"

namespace lightpen {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class QueuesTest : public DriverFixture {
protected:
    QueuesTest() {
        desk.threads.onDetach = nullptr; // the thread is asked for, and not started
        openUnit();
        unit.takeOperations();
    }
    // A queue, without a word about its making.
    IOHIDQueueRef quietQueue() {
        const IOHIDQueueRef queue = unit.makeQueue();
        unit.takeOperations();
        return queue;
    }
    // Whether the point thread was asked for once, after its second of waiting.
    void expectThread() {
        EXPECT_THAT(desk.threads.entries, SizeIs(1));
        EXPECT_THAT(desk.clock.takeSleeps(), ElementsAre(Microseconds{1'000'000}));
    }
    std::string attachedLine() const {
        char line[128];
        std::snprintf(line, sizeof line, "Event n:1895 ##attach source(%p) to runloop(%p) now",
                      static_cast<const void*>(driver->_CFRunLoopSourceRef.get()),
                      static_cast<const void*>(static_cast<const RunLoop*>(&desk.runLoop)));
        return line;
    }
    static constexpr const char* kElement = "Event n:2323 Input report element for 0";
};

TEST_F(QueuesTest, SetUpMakesAQueueOfAHundredReports) {
    EXPECT_EQ(driver->setUpHIDQueueAndCallback(), 0);
    EXPECT_THAT(unit.takeOperations(),
                ElementsAre("device.allocQueue()", "queue1.create(0, 100)", "queue1.hasElement(17)",
                            "queue1.addElement(17, 0)", "queue1.createAsyncEventSource()",
                            "queue1.setEventCallout()", "queue1.start()"));
    EXPECT_THAT(log.lines(), ElementsAre("Event n:2010", kElement, "Event n:2349 ", attachedLine()));
    EXPECT_EQ(driver->_queue.load(), unit.queue(1));
    EXPECT_TRUE(desk.runLoop.containsSource(driver->_CFRunLoopSourceRef, kCFRunLoopDefaultMode));
    expectThread();
}

TEST_F(QueuesTest, ASecondSetUpIsRefusedAndStartsNoThread) {
    driver->setUpHIDQueueAndCallback();
    expectThread();
    unit.takeOperations();
    log.clear();
    EXPECT_EQ(driver->setUpHIDQueueAndCallback(), -1);
    EXPECT_THAT(log.lines(), ElementsAre("Event n:1872 alloc queue failed"));
    EXPECT_THAT(unit.takeOperations(), IsEmpty());
    EXPECT_THAT(desk.threads.entries, SizeIs(1));
    EXPECT_THAT(desk.clock.takeSleeps(), IsEmpty());
}

TEST_F(QueuesTest, AQueueThatCannotBeCreatedShowsAtItsStart) {
    unit.script().answer("queue1.create", kIOReturnError);
    EXPECT_EQ(driver->setUpHIDQueueAndCallback(), kIOReturnNotOpen);
    EXPECT_THAT(log.lines(), ElementsAre("Event n:2010", kElement, "Event n:2349 ", attachedLine(),
                                         "Event n:1906 Failed to start queue, error : e00002cd"));
    expectThread();
}

TEST_F(QueuesTest, WhatAddElementAnswersIsNotLookedAt) {
    unit.script().answer("queue1.addElement", kIOReturnError);
    EXPECT_EQ(driver->setUpHIDQueueAndCallback(), 0);
    EXPECT_THAT(log.lines(), ElementsAre("Event n:2010", kElement, "Event n:2349 ", attachedLine()));
    expectThread();
}

TEST_F(QueuesTest, WithoutASourceTheCodeComesBackAndTheThreadStarts) {
    unit.script().answer("queue1.createAsyncEventSource", kIOReturnNoDevice);
    EXPECT_EQ(driver->setUpHIDQueueAndCallback(), kIOReturnNoDevice);
    EXPECT_THAT(log.lines(),
                ElementsAre("Event n:2010", kElement, "Event n:2349 ",
                            "Event n:1886 Failed to createAsyncEventSource, error:-536870208\n"));
    EXPECT_THAT(desk.runLoop.sources(), SizeIs(1)) << "that of the hot-plug notifications";
    EXPECT_EQ(unit.takeOperations().back(), "queue1.createAsyncEventSource()");
    EXPECT_EQ(driver->_queue.load(), unit.queue(1));
    expectThread();
}

TEST_F(QueuesTest, ASourceThatIsNullIsLoggedAndTheThreadStarts) {
    const auto hollow = unit.makeQueue();
    hollow->withoutSource = true;
    class Device final : public IOHIDDeviceInterface122 {
    public:
        explicit Device(IOHIDQueueRef queue) : queue_(std::move(queue)) {}
        IOReturn open(std::uint32_t) override { return kIOReturnSuccess; }
        IOReturn close() override { return kIOReturnSuccess; }
        IOHIDQueueRef allocQueue() override { return queue_; }
        IOReturn setReport(IOHIDReportType, std::uint32_t, std::span<const std::uint8_t>,
                           std::uint32_t) override {
            return kIOReturnSuccess;
        }

    private:
        IOHIDQueueRef queue_;
    };
    driver->_pphidDeviceInterface = std::make_shared<Device>(hollow);
    driver->_CFRunLoopSourceRef = std::make_shared<RunLoopSource>([] {}); // of a time before
    EXPECT_EQ(driver->setUpHIDQueueAndCallback(), 0);
    EXPECT_EQ(driver->_CFRunLoopSourceRef, nullptr);
    EXPECT_THAT(log.lines(),
                ElementsAre("Event n:2010", kElement, "Event n:2349 ", "Event n:1910 event source null"));
    EXPECT_EQ(unit.takeOperations().back(), "queue1.createAsyncEventSource()");
    expectThread();
}

TEST_F(QueuesTest, ACalloutThatFailsIsLoggedAndTheQueueStarts) {
    unit.script().answer("queue1.setEventCallout", kIOReturnError);
    EXPECT_EQ(driver->setUpHIDQueueAndCallback(), 0);
    EXPECT_EQ(log.lines().back(), "Event n:1900 Failed to setEventCallout, error : e00002bc");
    EXPECT_EQ(unit.takeOperations().back(), "queue1.start()");
    expectThread();
}

TEST_F(QueuesTest, AStartThatFailsIsTheResult) {
    unit.script().answer("queue1.start", kIOReturnNotOpen);
    EXPECT_EQ(driver->setUpHIDQueueAndCallback(), kIOReturnNotOpen);
    EXPECT_EQ(log.lines().back(), "Event n:1906 Failed to start queue, error : e00002cd");
    expectThread();
}

TEST_F(QueuesTest, WithoutADeviceOrAQueueTheThreadStartsAllTheSame) {
    for (const bool device : {true, false}) {
        unit.withoutQueues = true;
        if (!device)
            driver->_pphidDeviceInterface = nullptr;
        desk.threads.entries.clear();
        log.clear();
        EXPECT_EQ(driver->setUpHIDQueueAndCallback(), kIOReturnNoDevice);
        EXPECT_THAT(log.lines(),
                    ElementsAre("Event n:2010", kElement, "Event n:2349 ",
                                "Event n:1886 Failed to createAsyncEventSource, error:-536870208\n"));
        EXPECT_EQ(driver->_queue.load(), nullptr);
        expectThread();
    }
}

// The points queue

TEST_F(QueuesTest, TheThreadRunsThePointLoopOfTheDriver) {
    driver->setUpPointQueue();
    expectThread();
    driver->_stopThread = true;
    desk.threads.entries[0]();
    EXPECT_EQ(driver->_pointsQueue.load(), unit.queue(1));
    EXPECT_EQ(log.lines().back(), "Event n:1829 456");
}

TEST_F(QueuesTest, AThreadThatIsLeftHasTheWaitForItsSuccessorToEndIn) {
    PointThreadState left = driver->beginPointThread();
    EXPECT_TRUE(driver->pointThreadPass(left));
    bool goesOn = true;
    desk.clock.onSleep = [&](Microseconds duration) {
        if (duration == seconds(1))
            goesOn = driver->pointThreadPass(left);
    };
    driver->setUpPointQueue();
    desk.clock.onSleep = nullptr;
    EXPECT_FALSE(goesOn);
}

TEST_F(QueuesTest, StoppingWithoutAPointsQueueDoesNothing) {
    driver->_queue = quietQueue();
    driver->stopPointQueue();
    EXPECT_THAT(unit.takeOperations(), IsEmpty());
}

TEST_F(QueuesTest, StoppingStopsThePointsQueueAndNothingElse) {
    driver->_queue = quietQueue();
    driver->_pointsQueue = quietQueue();
    driver->stopPointQueue();
    EXPECT_THAT(unit.takeOperations(), ElementsAre("queue2.stop()"));
    EXPECT_FALSE(driver->_stopThread);
    EXPECT_NE(driver->_pointsQueue.load(), nullptr);
}

TEST_F(QueuesTest, StartingStartsWhatThereIs) {
    driver->_hasNoise = true;
    driver->startPointQueue();
    EXPECT_THAT(unit.takeOperations(), IsEmpty());
    EXPECT_TRUE(driver->_hasNoise); // nothing was started
    driver->_PairingData = quietQueue();
    driver->_RetPairingData = quietQueue();
    driver->startPointQueue();
    EXPECT_THAT(unit.takeOperations(), ElementsAre("queue2.start()", "queue1.start()"));
    EXPECT_TRUE(driver->_hasNoise);
    driver->_pointsQueue = quietQueue();
    driver->startPointQueue();
    EXPECT_THAT(unit.takeOperations(), ElementsAre("queue3.start()", "queue2.start()", "queue1.start()"));
    EXPECT_FALSE(driver->_hasNoise);
    EXPECT_THAT(desk.clock.takeSleeps(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(QueuesTest, OtherCheckViewStatesRestartNothing) {
    for (const int state : {0, 1, 3}) {
        sharedState.checkViewState = state;
        driver->startPointQueue();
        EXPECT_EQ(sharedState.checkViewState, state);
        EXPECT_FALSE(driver->_stopThread);
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

} // namespace
} // namespace lightpen
