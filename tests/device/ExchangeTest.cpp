// SPDX-License-Identifier: MIT
#include "device/Exchange.h"

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/RecordingLog.h"
#include "kit/ScriptedUnit.h"
#include "kit/TestPlatform.h"
#include "platform/IOHID.h"
#include "platform/Log.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr IOHIDElementCookie kCookie = 17;

class ExchangeTest : public testing::Test {
protected:
    ExchangeTest() {
        queue->create(0, 4);
        queue->addElement(kCookie, 0);
        queue->start();
    }

    // What the unit sends as its report with this first byte.
    void send(std::uint8_t first) {
        const std::vector<std::uint8_t> report{first, 5};
        queue->push(inputReportEvent(kCookie, report, 32, 0));
    }
    static void logFailure(unsigned code) { logLine("Queue: %x", code); }
    ReplyQueue replies(int looks) const { return {queue, logFailure, looks}; }
    // Before each look; the argument counts them from 1.
    std::function<void(int)> onLook;

    TestPlatform desk;
    RecordingLog log;
    int looked = 0;
    IOHIDQueueRef queue = std::make_shared<IOHIDQueueInterface>([this] {
        ++looked;
        if (onLook)
            onLook(looked);
    });
};

TEST_F(ExchangeTest, TheOldestReplyIsTaken) {
    send('Y');
    send('N');
    EXPECT_EQ(replies(1).next()->longValue[0], 'Y');
    EXPECT_EQ(replies(ReplyQueue::kUntilItComes).next()->longValue[0], 'N');
    EXPECT_EQ(looked, 2);
}

TEST_F(ExchangeTest, AnEmptyQueueIsLookedAtAsOftenAsSaid) {
    EXPECT_EQ(replies(10).next(), std::nullopt);
    EXPECT_EQ(looked, 10);
    onLook = [this](int look) {
        if (look == 13)
            send('s');
    };
    EXPECT_EQ(replies(10).next()->longValue[0], 's');
    EXPECT_EQ(looked, 13);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ExchangeTest, WithoutLimitTheReplyOrTheEndOfTheProgramEndsTheLooking) {
    onLook = [this](int look) {
        if (look == 1000)
            send('Y');
        if (look == 1500)
            desk.runLoop.terminate(0);
    };
    const Microseconds begin = desk.clock.now();
    EXPECT_TRUE(replies(ReplyQueue::kUntilItComes).next());
    EXPECT_EQ(looked, 1000);
    EXPECT_EQ(desk.clock.now() - begin, std::chrono::milliseconds(999)) << "the processor is left to others";
    EXPECT_FALSE(replies(ReplyQueue::kUntilItComes).next());
    EXPECT_EQ(looked, 1500);
    EXPECT_FALSE(replies(ReplyQueue::kUntilItComes).next());
    EXPECT_EQ(looked, 1500) << "not even once";
}

TEST_F(ExchangeTest, AQueueThatFailsIsReportedAndLookedAtAgain) {
    const auto script = std::make_shared<UnitScript>();
    script->answer("queue1.getNextEvent", kIOReturnNotOpen);
    const auto scripted = std::make_shared<ScriptedQueue>(script, 1);
    scripted->notesPolls = true;
    const ReplyQueue failing{scripted, logFailure, 3};
    EXPECT_FALSE(failing.next());
    EXPECT_THAT(script->takeOperations(), testing::Each("queue1.getNextEvent(0, 0)")) << "none waits";
    EXPECT_THAT(log.lines(), ElementsAre("Queue: e00002cd", "Queue: e00002cd", "Queue: e00002cd"));
}

TEST_F(ExchangeTest, WithoutAQueueNothingComes) {
    EXPECT_FALSE((ReplyQueue{nullptr, logFailure, ReplyQueue::kUntilItComes}).next());
}

TEST_F(ExchangeTest, AsksPausesAndLooksUntilTheAnswer) {
    std::vector<std::string> diary;
    const Microseconds begin = desk.clock.now();
    const auto ask = [&] {
        diary.push_back("ask");
        if (diary.size() > 1)
            send(diary.size() == 3 ? 'x' : 'Y');
        return Turn::goOn;
    };
    const auto take = [&](const std::optional<IOHIDEventStruct>& reply) {
        diary.push_back(reply ? std::string(1, static_cast<char>(reply->longValue[0])) : "none");
        return diary.back() == "Y" ? Turn::goOn : Turn::askAgain;
    };
    EXPECT_TRUE(exchange(replies(1), std::chrono::milliseconds(100), ask, take));
    EXPECT_THAT(diary, ElementsAre("ask", "none", "ask", "x", "ask", "Y"));
    EXPECT_EQ(desk.clock.now() - begin, std::chrono::milliseconds(300));
}

TEST_F(ExchangeTest, AQuestionThatCouldNotBeSentIsAskedAgainAfterAMillisecondOrEndsIt) {
    std::deque<Turn> turns{Turn::askAgain, Turn::askAgain, Turn::over};
    const Microseconds begin = desk.clock.now();
    const auto ask = [&] {
        const Turn turn = turns.front();
        turns.pop_front();
        return turn;
    };
    const auto take = [](const std::optional<IOHIDEventStruct>&) { return Turn::goOn; };
    EXPECT_FALSE(exchange(replies(1), std::chrono::seconds(1), ask, take));
    EXPECT_THAT(turns, IsEmpty());
    EXPECT_EQ(desk.clock.now() - begin, std::chrono::milliseconds(2));
    EXPECT_EQ(looked, 0);
}

TEST_F(ExchangeTest, AReplyMayEndIt) {
    const auto ask = [] { return Turn::goOn; };
    const auto take = [](const std::optional<IOHIDEventStruct>&) { return Turn::over; };
    EXPECT_FALSE(exchange(replies(1), {}, ask, take));
    EXPECT_EQ(looked, 1);
}

} // namespace
} // namespace lightpen
