// SPDX-License-Identifier: MIT
// What ends the read of a unit's flash: sends that fail, units that leave or are silent, queues that fail.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

class FlashReadFailureTest : public UnitFixture {
protected:
    FlashReadFailureTest() { openUnit(); }

    // Answers with both acknowledges: seven commands in all.
    static std::deque<ReportBytes> longReplies() {
        return {{0x01},
                storedRecord(0, 1, 2, 3, 4),
                storedRecord(1, 5, 6, 7, 8),
                {'Y', 2, 0, 0x0A, 0x0B, 0, 0, 0x0C, 0x0D, 0x0E}};
    }
    PointListRef read() { return driver->_calibrationPointsFromFlash(); }
    void failSend(int failing, IOReturn result) {
        onSend = [=](const SentReport&, int number) { return number == failing ? result : kIOReturnSuccess; };
    }
    std::vector<std::string> callsOfTheQueue() {
        std::vector<std::string> calls;
        for (const std::string& operation : unit.takeOperations())
            if (operation.starts_with("queue1."))
                calls.push_back(operation.substr(7));
        return calls;
    }
};

// Sends that fail

struct FailingSend {
    int number;
    const char* line;
    std::vector<Microseconds> sleeps; // up to the end of the read
};

class FailingSendTest : public FlashReadFailureTest, public testing::WithParamInterface<FailingSend> {};

TEST_P(FailingSendTest, EndsTheReadAtOnceAndLeavesTheQueueOpen) {
    const FailingSend& failing = GetParam();
    for (const IOReturn result : {kIOReturnTimeout, kIOReturnNoDevice}) {
        driver->_calibrationQueue = nullptr;
        sharedState.reportSize = 32;
        replies = longReplies();
        unit.takeOperations();
        unit.takeSent();
        desk.clock.takeSleeps();
        log.clear();
        int sends = 0;
        onSend = [&](const SentReport&, int) {
            return ++sends == failing.number ? result : kIOReturnSuccess;
        };
        EXPECT_EQ(read(), nullptr);
        EXPECT_EQ(log.lines().back(), failing.line);
        EXPECT_THAT(unit.takeSent(), SizeIs(failing.number)) << "nothing is retried";
        EXPECT_EQ(desk.clock.takeSleeps(), failing.sleeps);
        ASSERT_NE(driver->_calibrationQueue, nullptr);
        EXPECT_THAT(unit.takeOperations(), Not(Contains(testing::EndsWith(".stop()"))));
    }
}

INSTANTIATE_TEST_SUITE_P(
    , FailingSendTest,
    testing::Values(FailingSend{1, "Event n:827 read flash with address:0x0 failed", {milliseconds(100)}},
                    FailingSend{2,
                                "Event n:1071 read flash with address:0x0 failed",
                                {milliseconds(100), milliseconds(200)}},
                    FailingSend{3,
                                "Event n:1071 read flash with address:0x0 failed",
                                {milliseconds(100), milliseconds(200), milliseconds(100)}},
                    FailingSend{4,
                                "Event n:1071 read flash with address:0x0 failed",
                                {milliseconds(100), milliseconds(200), milliseconds(100), milliseconds(100)}},
                    FailingSend{5,
                                "Event n:1196 read flash with address:0x0 failed",
                                {milliseconds(100), milliseconds(200), milliseconds(100), milliseconds(100),
                                 milliseconds(100)}},
                    FailingSend{6,
                                "Event n:1110 read flash with address:0x0 failed",
                                {milliseconds(100), milliseconds(200), milliseconds(100), milliseconds(100),
                                 milliseconds(100)}}),
    [](const auto& parameter) { return "send" + std::to_string(parameter.param.number); });

TEST_F(FlashReadFailureTest, AFailedAcknowledgeKeepsTheInformationThatWasRead) {
    replies = longReplies();
    failSend(5, kIOReturnTimeout);
    read();
    EXPECT_EQ(sharedState.wireless, 0x0C);
    EXPECT_EQ(sharedState.NX9Ver, 0x0D);
    EXPECT_EQ(sharedState.cmosVer, 0x0E);
    EXPECT_THAT(log.lines(), Not(Contains(StartsWith("Event n:1187"))));
    replies = longReplies();
    failSend(12, kIOReturnTimeout);
    read();
    EXPECT_THAT(log.lines(),
                Contains("Event n:1187 NX9Ver:0xd,wireless:0xc,cmosVer:0xe,GainValue:0xa,OPmode:0xb"));
}

TEST_F(FlashReadFailureTest, AFailedRequestKeepsTheInformationOfTheReadBefore) {
    sharedState.wireless = 1;
    sharedState.NX9Ver = 0x77;
    replies = longReplies();
    failSend(4, kIOReturnTimeout);
    read();
    EXPECT_EQ(sharedState.wireless, 1);
    EXPECT_EQ(sharedState.NX9Ver, 0x77);
}

TEST_F(FlashReadFailureTest, AQueueThatWasLeftOpenIsUsedAgain) {
    replies = longReplies();
    failSend(2, kIOReturnTimeout);
    read();
    const IOHIDQueueRef left = driver->_calibrationQueue;
    onSend = nullptr;
    callsOfTheQueue();
    replies = calibratedReplies();
    EXPECT_THAT(*read(), SizeIs(6));
    EXPECT_THAT(callsOfTheQueue(),
                ElementsAre("start()", "start()", "start()", "start()", "stop()", "dispose()"))
        << "not made anew";
    EXPECT_EQ(unit.queue(2), nullptr);
    EXPECT_EQ(driver->_calibrationQueue, nullptr);
}

// Units that leave

TEST_F(FlashReadFailureTest, AUnitThatLeavesInAnyPauseEndsTheRead) {
    for (int pause = 1; pause <= 5; ++pause) {
        unit.plugIn();
        openUnit();
        driver->_calibrationQueue = nullptr;
        replies = longReplies();
        int pauses = 0;
        desk.clock.onSleep = [&](Microseconds) {
            if (++pauses == pause)
                unit.unplug();
        };
        unit.takeSent();
        log.clear();
        EXPECT_EQ(read(), nullptr) << pause;
        // Its last answer may still be taken; then a send fails.
        EXPECT_LE(unit.takeSent().size(), static_cast<std::size_t>(pause)) << pause;
        const char* line = pause == 1   ? "Event n:827 read flash with address:0x0 failed"
                           : pause == 5 ? "Event n:1196 read flash with address:0x0 failed"
                                        : "Event n:1071 read flash with address:0x0 failed";
        EXPECT_EQ(log.lines().back(), line) << pause;
    }
}

TEST_F(FlashReadFailureTest, AUnitThatLeavesInsteadOfAnsweringEndsTheRead) {
    for (int command = 1; command <= 6; ++command) {
        unit.plugIn();
        openUnit();
        driver->_calibrationQueue = nullptr;
        replies = longReplies();
        int sends = 0;
        onSend = [&](const SentReport&, int) {
            if (++sends == command) {
                unit.unplug();
                replies.clear();
            }
            return kIOReturnSuccess;
        };
        unit.takeSent();
        const PointListRef points = read();
        EXPECT_EQ(points == nullptr, command < 6) << "after the last command there is nothing to wait for";
        EXPECT_THAT(unit.takeSent(), SizeIs(command)) << "no later one reaches it";
    }
}

// Units that are silent

class SilenceTest : public FlashReadFailureTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(SilenceTest, EndsWhenTheProgramDoes) {
    const std::size_t answers = GetParam();
    replies = longReplies();
    replies.resize(answers);
    int polls = 0;
    onSilence = [&] {
        if (replies.empty() && ++polls == 500)
            desk.runLoop.terminate(0);
    };
    EXPECT_EQ(read(), nullptr);
    EXPECT_EQ(polls, 500);
    EXPECT_THAT(unit.takeSent(), SizeIs(answers + 1)) << "silence asks nothing again";
    EXPECT_THAT(desk.clock.takeSleeps(), SizeIs(answers + 2)) << "polls do not sleep";
    EXPECT_THAT(log.lines(), SizeIs(5 + 2 * (answers > 1 ? answers - 1 : 0))) << "polls are not logged";
}

INSTANTIATE_TEST_SUITE_P(, SilenceTest, testing::Values(0, 1, 2, 3),
                         [](const auto& parameter) { return "after" + std::to_string(parameter.param); });

TEST_F(FlashReadFailureTest, SenselessAnswersAreAskedAgainUntilTheProgramEnds) {
    onSend = [this](const SentReport&, int number) {
        unit.sendReport({'X'});
        if (number == 400)
            desk.runLoop.terminate(0);
        return kIOReturnSuccess;
    };
    EXPECT_EQ(read(), nullptr);
    EXPECT_THAT(unit.takeSent(), SizeIs(400));
    EXPECT_THAT(desk.clock.takeSleeps(), SizeIs(401));
}

TEST_F(FlashReadFailureTest, ALateAnswerIsWaitedFor) {
    int polls = 0;
    onSilence = [&] {
        if (++polls == 300)
            unit.sendReport({0x01});
        if (polls == 600)
            unit.sendReport({'N', 0, 0, 0x33});
    };
    EXPECT_THAT(*read(), IsEmpty());
    EXPECT_EQ(sharedState.NX9Ver, 0x33);
    EXPECT_THAT(unit.takeSent(), SizeIs(2)) << "silence asks nothing again";
}

// Queues that fail

TEST_F(FlashReadFailureTest, QueueErrorsAreLoggedAndPollingGoesOn) {
    replies = emptyReplies();
    unit.script().answer("queue1.getNextEvent", kIOReturnNotOpen);
    int polls = 0;
    onSilence = [&] {
        if (++polls == 3)
            unit.script().answer("queue1.getNextEvent", ioReturn(0x0000001A));
        if (polls == 4)
            unit.script().carryOut("queue1.getNextEvent");
    };
    EXPECT_NE(read(), nullptr);
    const auto lines = log.lines();
    EXPECT_THAT(std::vector(lines.begin() + 5, lines.begin() + 8),
                ElementsAre("Event n:940 error when get calibration points from flash, e00002cd",
                            "Event n:940 error when get calibration points from flash, e00002cd",
                            "Event n:940 error when get calibration points from flash, 1a"));
    EXPECT_THAT(lines, SizeIs(9));
}

TEST_F(FlashReadFailureTest, WithoutAnInterfaceThereIsNothingToRead) {
    driver->_pphidDeviceInterface = nullptr;
    EXPECT_EQ(read(), nullptr);
    EXPECT_THAT(
        takeTimeline(),
        ElementsAre("Event n:903", "Event n:914", "Event n:1291 set forcedExposure: 23", "sleep 100000",
                    "Event n:1367 doCommandFromOutputBuffer error. command size is ZERO.", "sleep 200000"));
    EXPECT_EQ(driver->_calibrationQueue, nullptr);
    EXPECT_EQ(sharedState.reportCopyLength, 32);
}

TEST_F(FlashReadFailureTest, WithoutAQueueThereIsNoAnswer) {
    unit.withoutQueues = true;
    replies = calibratedReplies();
    EXPECT_EQ(read(), nullptr);
    EXPECT_THAT(unit.takeSent(), SizeIs(1));
    EXPECT_EQ(sharedState.reportCopyLength, 32);
}

// One reply

TEST_F(FlashReadFailureTest, OneReplyIsCopiedWholeWithItsDeclaredLength) {
    const auto queue = unit.makeQueue();
    queue->create(0, 4);
    queue->addElement(unit.shape().cookie, 0);
    queue->start();
    driver->_calibrationQueue = queue;
    unit.sendReport({'Q', 1, 2});
    unit.sendReport({'R'});
    ReportBuffer buffer{9, 9};
    EXPECT_EQ(driver->getSingleReportFromFlash(buffer), 32);
    ASSERT_GE(buffer.size(), 32u);
    EXPECT_THAT(ReportBytes(buffer.begin(), buffer.begin() + 4), ElementsAre('Q', 1, 2, 0));
    EXPECT_EQ(driver->getSingleReportFromFlash(buffer), 32);
    EXPECT_EQ(buffer[0], 'R') << "oldest first";
}

TEST_F(FlashReadFailureTest, WithoutAQueueThereIsNoReply) {
    ReportBuffer buffer{9, 9};
    EXPECT_EQ(driver->getSingleReportFromFlash(buffer), 0);
    EXPECT_THAT(buffer, ElementsAre(9, 9));
}

} // namespace
} // namespace lightpen
