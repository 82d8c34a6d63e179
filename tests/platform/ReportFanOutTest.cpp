// SPDX-License-Identifier: MIT
#include "platform/ReportFanOut.h"

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
constexpr std::size_t kDeclared = 6;

class ReportFanOutTest : public testing::Test {
protected:
    IOHIDQueueRef startedQueue() {
        auto queue = fanOut.add(std::make_shared<IOHIDQueueInterface>());
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
    const auto idle = fanOut.add(std::make_shared<IOHIDQueueInterface>());
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

TEST_F(ReportFanOutTest, AShortReportBehindALongOneLeavesNothingOfIt) {
    const auto queue = startedQueue();
    for (int i = 0; i < 6; ++i) { // once round the queue's memory, and more
        deliver({1, 2, 3, 4, 5, 6});
        deliver({7});
        while (queue->getNextEvent(event, 0, 0) == kIOReturnSuccess) {
        }
        EXPECT_EQ(event.longValue.at(0), 7);
        EXPECT_THAT(std::span(event.longValue).subspan(1), Each(0));
    }
}

TEST_F(ReportFanOutTest, QueuesThatNobodyHoldsAreForgotten) {
    std::weak_ptr<IOHIDQueueInterface> watched = startedQueue();
    EXPECT_TRUE(watched.expired());
    deliver({1});
    const auto queue = startedQueue();
    deliver({2});
    ASSERT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
    EXPECT_EQ(event.longValue.at(0), 2);
}

} // namespace
} // namespace lightpen
