// SPDX-License-Identifier: MIT
#include "platform/ReportQueue.h"

#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/RecordingLog.h"
#include "kit/VirtualTime.h"

namespace lightpen {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr IOHIDElementCookie kCookie = 11;

class ReportQueueTest : public testing::Test {
protected:
    static IOHIDEventStruct report(std::uint8_t mark, IOHIDElementCookie cookie = kCookie) {
        const std::uint8_t bytes[] = {mark};
        return inputReportEvent(cookie, bytes, 8, 0);
    }
    void open(std::uint32_t depth) {
        ASSERT_EQ(queue->create(0, depth), kIOReturnSuccess);
        ASSERT_EQ(queue->addElement(kCookie, 0), kIOReturnSuccess);
        ASSERT_EQ(queue->start(), kIOReturnSuccess);
    }
    void listen() {
        RunLoopSourceRef source;
        ASSERT_EQ(queue->createAsyncEventSource(source), kIOReturnSuccess);
        loop.addSource(source, kCFRunLoopDefaultMode);
        queue->setEventCallout([this](IOReturn result, IOHIDQueueInterface& sender) {
            EXPECT_EQ(result, kIOReturnSuccess);
            EXPECT_EQ(&sender, queue.get());
            ++callouts;
        });
    }
    // The first bytes of all reports in the queue.
    std::vector<int> takeAll() {
        std::vector<int> marks;
        IOHIDEventStruct event;
        while (queue->getNextEvent(event, 0, 0) == kIOReturnSuccess)
            marks.push_back(event.longValue.at(0));
        return marks;
    }
    VirtualClock clock;
    VirtualRunLoop loop{clock};
    std::shared_ptr<ReportQueue> queue = std::make_shared<ReportQueue>();
    int callouts = 0;
};

TEST_F(ReportQueueTest, TakesReportsOnlyWhenCreatedStartedAndAskedForTheElement) {
    EXPECT_FALSE(queue->push(report(1)));
    EXPECT_EQ(queue->start(), kIOReturnNotOpen);
    EXPECT_EQ(queue->create(0, 0), kIOReturnBadArgument);
    EXPECT_EQ(queue->create(0, 4), kIOReturnSuccess);
    EXPECT_FALSE(queue->push(report(2)));
    EXPECT_EQ(queue->start(), kIOReturnSuccess);
    EXPECT_FALSE(queue->push(report(3)));
    EXPECT_FALSE(queue->hasElement(kCookie));
    queue->addElement(kCookie, 0);
    EXPECT_TRUE(queue->hasElement(kCookie));
    EXPECT_TRUE(queue->push(report(4)));
    EXPECT_FALSE(queue->push(report(5, kCookie + 1)));
    EXPECT_THAT(takeAll(), ElementsAre(4));
}

TEST_F(ReportQueueTest, AnEmptyQueueAnswersUnderrunAndLeavesTheEventAlone) {
    open(2);
    IOHIDEventStruct event = report(77);
    EXPECT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnUnderrun);
    EXPECT_EQ(event.longValue.at(0), 77);
}

TEST_F(ReportQueueTest, AFullQueueLosesItsOldestReportAndASmallerOneKeepsTheNewest) {
    open(3);
    for (std::uint8_t mark = 1; mark <= 5; ++mark)
        EXPECT_TRUE(queue->push(report(mark)));
    queue->create(0, 2);
    EXPECT_THAT(takeAll(), ElementsAre(4, 5));
    for (std::uint8_t mark = 6; mark <= 8; ++mark)
        queue->push(report(mark));
    EXPECT_THAT(takeAll(), ElementsAre(7, 8));
}

TEST_F(ReportQueueTest, StartEmptiesARunningQueueTooAndStopKeepsWhatWasTaken) {
    open(4);
    queue->push(report(1));
    queue->start();
    EXPECT_THAT(takeAll(), IsEmpty());
    queue->push(report(2));
    queue->stop();
    EXPECT_FALSE(queue->push(report(3)));
    EXPECT_THAT(takeAll(), ElementsAre(2));
}

TEST_F(ReportQueueTest, DisposeEndsTheQueue) {
    open(4);
    listen();
    queue->push(report(1));
    EXPECT_EQ(queue->dispose(), kIOReturnSuccess);
    loop.runPending();
    EXPECT_EQ(callouts, 0);
    EXPECT_THAT(takeAll(), IsEmpty());
    EXPECT_FALSE(queue->push(report(2)));
    EXPECT_FALSE(queue->hasElement(kCookie));
    EXPECT_EQ(queue->start(), kIOReturnNotOpen);
}

TEST_F(ReportQueueTest, EachReportIsOneCalloutOnTheLoop) {
    open(8);
    listen();
    for (std::uint8_t mark = 1; mark <= 3; ++mark)
        queue->push(report(mark));
    EXPECT_EQ(callouts, 0);
    loop.runPending();
    EXPECT_EQ(callouts, 3);
    loop.runPending();
    EXPECT_EQ(callouts, 3);
    queue->push(report(4));
    loop.runPending();
    EXPECT_EQ(callouts, 4);
}

TEST_F(ReportQueueTest, NoMoreCalloutsAreOwedThanReportsFit) {
    open(2);
    listen();
    for (std::uint8_t mark = 0; mark < 100; ++mark)
        queue->push(report(mark));
    loop.runPending();
    EXPECT_EQ(callouts, 2);
}

TEST_F(ReportQueueTest, StartForgetsOwedCalloutsAndLaterOnesStillCome) {
    open(4);
    listen();
    queue->push(report(1));
    queue->push(report(2));
    queue->start();
    queue->push(report(3));
    loop.runPending();
    EXPECT_EQ(callouts, 1);
    EXPECT_THAT(takeAll(), ElementsAre(3));
}

TEST_F(ReportQueueTest, ReportsFromBeforeTheCalloutAreNotCalledOut) {
    open(4);
    queue->push(report(1));
    listen();
    loop.runPending();
    EXPECT_EQ(callouts, 0);
    queue->push(report(2));
    loop.runPending();
    EXPECT_EQ(callouts, 1);
}

TEST_F(ReportQueueTest, ASecondSourceIsTheFirst) {
    RunLoopSourceRef first, second;
    queue->createAsyncEventSource(first);
    queue->createAsyncEventSource(second);
    EXPECT_EQ(first, second);
}

TEST_F(ReportQueueTest, ALateCalloutFindsItsQueueGone) {
    open(4);
    listen();
    queue->push(report(1));
    queue.reset();
    loop.runPending();
    EXPECT_EQ(callouts, 0);
}

TEST_F(ReportQueueTest, TheDrainRunsBeforeEachAnswer) {
    std::uint8_t fetched = 0;
    queue = std::make_shared<ReportQueue>([&] { queue->push(report(++fetched)); });
    open(4);
    IOHIDEventStruct event;
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
        EXPECT_EQ(event.longValue.at(0), i);
    }
}

TEST_F(ReportQueueTest, ReaderThreadAndTakersShareIt) {
    open(16);
    std::thread reader([&] {
        for (int i = 0; i < 2000; ++i)
            queue->push(report(static_cast<std::uint8_t>(i % 200)));
        queue->push(report(255));
    });
    int last = 0;
    while (last != 255) {
        IOHIDEventStruct event;
        if (queue->getNextEvent(event, 0, 0) == kIOReturnSuccess)
            last = event.longValue.at(0);
    }
    reader.join();
    EXPECT_THAT(takeAll(), IsEmpty());
}

// All queues of an interface

constexpr std::size_t kDeclared = 6;

class ReportFanOutTest : public testing::Test {
protected:
    std::shared_ptr<ReportQueue> startedQueue() {
        auto queue = fanOut.addQueue();
        queue->create(0, 4);
        queue->addElement(kCookie, 0);
        queue->start();
        return queue;
    }
    void deliver(std::vector<std::uint8_t> report) { fanOut.deliver(report); }

    VirtualClock clock;
    RecordingLog log;
    ReportFanOut fanOut{clock, kCookie, kDeclared};
    IOHIDEventStruct event;
};

TEST_F(ReportFanOutTest, EveryStartedQueueGetsEachReport) {
    const auto first = startedQueue(), second = startedQueue();
    const auto idle = fanOut.addQueue();
    deliver({1, 2, 3, 4, 5, 6});
    for (const auto& queue : {first, second}) {
        ASSERT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
        EXPECT_EQ(event.elementCookie, kCookie);
        EXPECT_EQ(event.longValueSize, kDeclared);
        EXPECT_EQ(event.timestamp, static_cast<std::uint64_t>(clock.now().count()));
        EXPECT_THAT(std::vector(event.longValue.begin(), event.longValue.begin() + 7),
                    ElementsAre(1, 2, 3, 4, 5, 6, 0));
        EXPECT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnUnderrun);
    }
    EXPECT_EQ(idle->getNextEvent(event, 0, 0), kIOReturnUnderrun);
}

TEST_F(ReportFanOutTest, LongReportsAreCutWithOneLine) {
    const auto queue = startedQueue();
    for (int i = 0; i < 3; ++i)
        deliver(std::vector<std::uint8_t>(100, 7));
    ASSERT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
    EXPECT_EQ(event.longValueSize, kDeclared);
    EXPECT_EQ(std::count(event.longValue.begin(), event.longValue.end(), 7), 6);
    EXPECT_THAT(log.lines(), ElementsAre("HID: an input report of 100 bytes is longer than the declared 6; "
                                         "such reports are cut"));
}

TEST_F(ReportFanOutTest, TheLastWordIsOneReportOfZeros) {
    const auto queue = startedQueue();
    EXPECT_FALSE(fanOut.vanished());
    fanOut.vanish();
    fanOut.vanish();
    deliver({1, 2});
    EXPECT_TRUE(fanOut.vanished());
    ASSERT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
    EXPECT_EQ(event.longValueSize, kDeclared);
    EXPECT_THAT(event.longValue, Each(0));
    EXPECT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnUnderrun);
    EXPECT_EQ(startedQueue()->getNextEvent(event, 0, 0), kIOReturnUnderrun);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ReportFanOutTest, QueuesThatNobodyHoldsAreForgotten) {
    std::weak_ptr<ReportQueue> watched = startedQueue();
    EXPECT_TRUE(watched.expired());
    deliver({1});
    const auto queue = startedQueue();
    deliver({2});
    ASSERT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
    EXPECT_EQ(event.longValue.at(0), 2);
}

} // namespace
} // namespace lightpen
