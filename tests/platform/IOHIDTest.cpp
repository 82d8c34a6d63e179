// SPDX-License-Identifier: MIT
#include "platform/IOHID.h"

#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/VirtualTime.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr IOHIDElementCookie kCookie = 11;

std::vector<std::uint8_t> counted(std::size_t length) {
    std::vector<std::uint8_t> bytes(length);
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<std::uint8_t>(i + 1);
    return bytes;
}

TEST(IOHIDTest, AnEventHoldsTheReportAtItsDeclaredLength) {
    const auto report = counted(100);
    const IOHIDEventStruct event = inputReportEvent(3, report, 100, 42);
    EXPECT_EQ(event.elementCookie, 3u);
    EXPECT_EQ(event.timestamp, 42u);
    EXPECT_EQ(event.longValueSize, 100u);
    EXPECT_EQ(event.longValue, report);
}

TEST(IOHIDTest, ShortReportsArePaddedAndLongOnesCut) {
    for (const std::size_t sent : {0u, 1u, 8u, 9u, 64u, 804u})
        for (const std::size_t declared : {0u, 8u, 32u, 64u, 300u}) {
            const IOHIDEventStruct event = inputReportEvent(1, counted(sent), declared, 0);
            EXPECT_EQ(event.longValueSize, declared);
            ASSERT_EQ(event.longValue.size(), std::max<std::size_t>(declared, 64));
            for (std::size_t i = 0; i < event.longValue.size(); ++i)
                ASSERT_EQ(event.longValue[i], i < std::min(sent, declared) ? (i + 1) % 256 : 0);
        }
}

// The queue

class IOHIDQueueTest : public testing::Test {
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
    IOHIDQueueRef queue = std::make_shared<IOHIDQueueInterface>();
    int callouts = 0;
};

TEST_F(IOHIDQueueTest, TakesReportsOnlyWhenCreatedStartedAndAskedForTheElement) {
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

TEST_F(IOHIDQueueTest, AnEmptyQueueAnswersUnderrunAndLeavesTheEventAlone) {
    open(2);
    IOHIDEventStruct event = report(77);
    EXPECT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnUnderrun);
    EXPECT_EQ(event.longValue.at(0), 77);
}

TEST_F(IOHIDQueueTest, AFullQueueLosesItsOldestReportAndASmallerOneKeepsTheNewest) {
    open(3);
    for (std::uint8_t mark = 1; mark <= 5; ++mark)
        EXPECT_TRUE(queue->push(report(mark)));
    queue->create(0, 2);
    EXPECT_THAT(takeAll(), ElementsAre(4, 5));
    for (std::uint8_t mark = 6; mark <= 8; ++mark)
        queue->push(report(mark));
    EXPECT_THAT(takeAll(), ElementsAre(7, 8));
}

TEST_F(IOHIDQueueTest, StartEmptiesARunningQueueTooAndStopKeepsWhatWasTaken) {
    open(4);
    queue->push(report(1));
    queue->start();
    EXPECT_THAT(takeAll(), IsEmpty());
    queue->push(report(2));
    queue->stop();
    EXPECT_FALSE(queue->push(report(3)));
    EXPECT_THAT(takeAll(), ElementsAre(2));
}

TEST_F(IOHIDQueueTest, DisposeEndsTheQueue) {
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

TEST_F(IOHIDQueueTest, EachReportIsOneCalloutOnTheLoop) {
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

TEST_F(IOHIDQueueTest, NoMoreCalloutsAreOwedThanReportsFit) {
    open(2);
    listen();
    for (std::uint8_t mark = 0; mark < 100; ++mark)
        queue->push(report(mark));
    loop.runPending();
    EXPECT_EQ(callouts, 2);
}

TEST_F(IOHIDQueueTest, StartForgetsOwedCalloutsAndLaterOnesStillCome) {
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

TEST_F(IOHIDQueueTest, ReportsFromBeforeTheCalloutAreNotCalledOut) {
    open(4);
    queue->push(report(1));
    listen();
    loop.runPending();
    EXPECT_EQ(callouts, 0);
    queue->push(report(2));
    loop.runPending();
    EXPECT_EQ(callouts, 1);
}

TEST_F(IOHIDQueueTest, ASecondSourceIsTheFirst) {
    RunLoopSourceRef first, second;
    queue->createAsyncEventSource(first);
    queue->createAsyncEventSource(second);
    EXPECT_EQ(first, second);
}

TEST_F(IOHIDQueueTest, ALateCalloutFindsItsQueueGone) {
    open(4);
    listen();
    queue->push(report(1));
    queue.reset();
    loop.runPending();
    EXPECT_EQ(callouts, 0);
}

TEST_F(IOHIDQueueTest, TheDrainRunsBeforeEachAnswer) {
    std::uint8_t fetched = 0;
    queue = std::make_shared<IOHIDQueueInterface>([&] { queue->push(report(++fetched)); });
    open(4);
    IOHIDEventStruct event;
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
        EXPECT_EQ(event.longValue.at(0), i);
    }
}

// Whoever polls again and again hands in the memory of the report before.
TEST_F(IOHIDQueueTest, ReportsAreExchangedForThoseBeforeThem) {
    open(1);
    IOHIDEventStruct event;
    queue->push(report(1));
    ASSERT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
    queue->push(report(2));
    const std::uint8_t* const before = event.longValue.data();
    ASSERT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
    EXPECT_EQ(event.longValue.at(0), 2);
    queue->push(report(3));
    ASSERT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
    EXPECT_EQ(event.longValue.at(0), 3);
    EXPECT_EQ(event.longValue.data(), before);
}

// Others take copies, so that the queue's memory stays with the queue.
TEST_F(IOHIDQueueTest, ReportsOfAnotherLengthAreCopied) {
    open(2);
    for (std::uint8_t mark = 1; mark <= 5; ++mark) {
        IOHIDEventStruct event;
        event.longValue.assign(mark, 99);
        queue->push(report(mark));
        ASSERT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
        EXPECT_EQ(event.longValue.size(), 64u);
        EXPECT_EQ(event.longValue.at(0), mark);
    }
}

TEST_F(IOHIDQueueTest, ReaderThreadAndTakersShareIt) {
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

} // namespace
} // namespace lightpen
