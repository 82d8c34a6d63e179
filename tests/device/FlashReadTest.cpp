// SPDX-License-Identifier: MIT
// Reading the unit's flash: the whole exchange, its answers and report lengths, and what ends it.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// A unit that gives one answer after the other, whatever it is asked; then it is silent.
class FlashReadTest : public UnitFixture {
protected:
    FlashReadTest() {
        openInterface();
        unit.onSetReport = [this](const SentReport& report) {
            happened.deed(sentText(report));
            const IOReturn result = unitAnswers.then ? unitAnswers.then(report) : kIOReturnSuccess;
            if (result == kIOReturnSuccess && !report.bytes.empty() && report.bytes[0] == 'H' &&
                !replies.empty()) {
                unit.sendReport(replies.front());
                replies.erase(replies.begin());
            }
            return result;
        };
        // A test that lets the driver wait for a silent unit says how the wait ends.
        unit.script().onPoll = [this] {
            if (++polls == 1000)
                desk.runLoop.terminate(0);
        };
    }
    ~FlashReadTest() override {
        EXPECT_LT(polls, 1000) << "the driver waited for a unit with nothing more to say";
    }

    static std::vector<ReportBytes> calibrated() {
        auto answers = calibratedRecords();
        answers.insert(answers.begin(), {0x01});
        return answers;
    }
    // Of a unit that wants both acknowledges: six commands in all.
    static std::vector<ReportBytes> longAnswers() {
        return {{0x01},
                storedRecord(0, 1, 2, 3, 4),
                storedRecord(1, 5, 6, 7, 8),
                {'Y', 2, 0, 0x0A, 0x0B, 0, 0, 0x0C, 0x0D, 0x0E}};
    }
    void replug() {
        unplug();
        driver->deviceDidRemove(0);
        openInterface();
    }

    std::vector<ReportBytes> replies;
    int polls = 0;
};

// The exchange

TEST_F(FlashReadTest, ACalibratedUnitAnswersThreeRecords) {
    replies = calibrated();
    const PointListRef points = readFlash();
    EXPECT_TRUE(matchesTranscript("flash_read"));
    EXPECT_THAT(*points, ElementsAre(CameraPoint{210, 140}, CameraPoint{2330, 161}, CameraPoint{233, 1709},
                                     CameraPoint{2291, 1688}, CameraPoint{1792, 0}, CameraPoint{256, 4661}));
    EXPECT_EQ(unit.heldQueues(), 0);
    EXPECT_EQ(driver->calibrationPointsFromFlash(), nullptr) << "it is the start that keeps the points";
}

TEST_F(FlashReadTest, AnEmptyUnitAnswersNoAtOnce) {
    driver->setForcedExposure(40);
    driver->setThreshold(900);
    happened.clear();
    replies = {{0x01}, {'N', 0x51, 0, 0x53, 0x54, 0x55, 0, 0x57}};
    EXPECT_THAT(*readFlash(), IsEmpty());
    EXPECT_TRUE(matchesTranscript("flash_read_empty"));
    EXPECT_EQ(EventGeneratorNX7::wirelessPointsFromFlash(), 0);
    EXPECT_EQ(driver->venerPointsFromFlash(), 0x53);
    EXPECT_EQ(driver->cmosVerFromFlash(), 0x54);
    EXPECT_EQ(driver->forcedExposure(), 23);
    EXPECT_EQ(driver->threshold(), 512);
    EXPECT_EQ(unit.heldQueues(), 0);
}

TEST_F(FlashReadTest, BothAcknowledgesStandAroundTheSummary) {
    replies = longAnswers();
    readFlash();
    EXPECT_TRUE(matchesTranscript("flash_read_acknowledged"));
    replies = {{0x01}, {'N', 0, 0xFF, 0, 0, 0, 0xFE}};
    readFlash();
    EXPECT_THAT(lettersSent(), ElementsAre("H0", "H0", "H1", "H2", "W87", "T0", "H0", "H0", "W87", "T0"));
    EXPECT_EQ(EventGeneratorNX7::wirelessPointsFromFlash(), 255);
}

TEST_F(FlashReadTest, NoEndsTheRecords) {
    replies = {{0x01}, storedRecord(0, 65535, 32768, 0x0100, 0x00FF), {'N', 0, 1, 2, 3, 4, 0}};
    EXPECT_THAT(*readFlash(), ElementsAre(CameraPoint{65535, 32768}, CameraPoint{256, 255}));
    EXPECT_THAT(lettersSent(), ElementsAre("H0", "H0", "H1", "T0"));
    EXPECT_EQ(driver->venerPointsFromFlash(), 2);
    replies = {{0x01}, storedRecord(0, 1, 2, 3, 4), storedRecord(1, 5, 6, 7, 8), {'N', 0, 1, 2, 3, 4, 0}};
    EXPECT_THAT(*readFlash(),
                ElementsAre(CameraPoint{1, 2}, CameraPoint{3, 4}, CameraPoint{5, 6}, CameraPoint{7, 8}));
    EXPECT_THAT(lettersSent(), ElementsAre("H0", "H0", "H1", "H2", "T0"));
    EXPECT_EQ(driver->cmosVerFromFlash(), 3);
}

TEST_F(FlashReadTest, OtherAnswersRepeatTheSameRequest) {
    replies = {{0x01},      penReport(1300, 700),
               {0},         storedRecord(0, 1, 2, 3, 4),
               {'y'},       {'n'},
               {'H', 1},    storedRecord(1, 5, 6, 7, 8),
               {0x00, 'Y'}, {'N', 0, 0, 0x66}};
    EXPECT_THAT(*readFlash(), SizeIs(4));
    EXPECT_THAT(lettersSent(), ElementsAre("H0", "H0", "H0", "H0", "H1", "H1", "H1", "H1", "H2", "H2"));
    EXPECT_THAT(desk.clock.takeSleeps(), SizeIs(11)) << "each with its pause";
    EXPECT_EQ(driver->venerPointsFromFlash(), 0x66);
    EXPECT_THAT(log.lines(), SizeIs(10)) << "they are not logged";
}

TEST_F(FlashReadTest, TheFirstAnswerCountsOnlyByItsLength) {
    replies = {{'Y', 0, 1, 2, 3, 4, 5, 6, 7, 8}, {'N', 0, 1}};
    EXPECT_THAT(*readFlash(), IsEmpty());
    replies = calibrated();
    replies.front() = {'N', 0, 99, 99, 99, 99, 99};
    EXPECT_THAT(*readFlash(), SizeIs(6));
}

// In each pause a light is seen, behind the answer that is already there; its reports could pass for one.
TEST_F(FlashReadTest, ReportsFromBeforeARequestAreNoAnswers) {
    atPauses([this](int, Microseconds) {
        for (int i = 0; i < 20; ++i)
            unit.sendReport({'N', 9, 9, 9, 9, 9, 9});
    });
    replies = calibrated();
    EXPECT_THAT(*readFlash(), SizeIs(6));
    EXPECT_THAT(lettersSent(), ElementsAre("H0", "H0", "H1", "H2", "T0"));
    EXPECT_EQ(EventGeneratorNX7::wirelessPointsFromFlash(), 1);
}

TEST_F(FlashReadTest, ALateAnswerIsWaitedFor) {
    unit.script().onPoll = [this] {
        ++polls;
        if (polls == 300)
            unit.sendReport({0x01});
        if (polls == 600)
            unit.sendReport({'N', 0, 0, 0x33});
    };
    EXPECT_THAT(*readFlash(), IsEmpty());
    EXPECT_EQ(driver->venerPointsFromFlash(), 0x33);
    EXPECT_THAT(unit.takeSent(), SizeIs(2)) << "silence asks nothing again";
}

// Report lengths

struct LengthCase {
    std::size_t length;
    std::size_t sent;               // by every command after the first
    std::vector<CameraPoint> first; // of the points
};

class FlashReadLengthTest : public UnitFixture, public testing::WithParamInterface<LengthCase> {};

TEST_P(FlashReadLengthTest, AllLaterCommandsHaveTheUnitsReportLength) {
    const auto [length, sent, first] = GetParam();
    unitAnswers.records = calibratedRecords();
    reshape(length);
    openInterface();
    const PointListRef points = readFlash();
    ASSERT_THAT(*points, SizeIs(6));
    EXPECT_EQ(PointList(points->begin(), points->begin() + 2), first);
    EXPECT_THAT(*driver->outputReportBuffer(), SizeIs(std::max<std::size_t>(length, 32)));
    EXPECT_EQ(lengthsSent(), (std::vector<std::size_t>{32, sent, sent, sent, sent}));
    EXPECT_EQ(driver->venerPointsFromFlash(), length == 8 ? 0 : 0x35) << "eight bytes cut the version";
    driver->putIRFilter();
    driver->writeCalibrationToFlash(std::make_shared<PointList>(4, CameraPoint{300, 400}));
    driver->eraseFlashAddress();
    driver->StrayLightDetecting();
    EXPECT_THAT(lengthsSent(), AllOf(SizeIs(6), Each(sent)));
}

const std::vector<CameraPoint> kWhole{{210, 140}, {2330, 161}};
INSTANTIATE_TEST_SUITE_P(, FlashReadLengthTest,
                         testing::Values(LengthCase{8, 8, {{210, 140}, {2330, 0}}},
                                         LengthCase{32, 32, kWhole}, LengthCase{64, 64, kWhole},
                                         LengthCase{300, 44, kWhole}, LengthCase{804, 36, kWhole}),
                         [](const auto& parameter) { return std::to_string(parameter.param.length); });

TEST_F(FlashReadTest, ALengthWithoutLowBitsMakesEmptyCommands) {
    unplug();
    reshape(256);
    openInterface();
    // Nothing that the unit could answer to; the answer comes by itself.
    unitAnswers.then = [this](const SentReport& report) {
        if (report.bytes.empty())
            unit.sendReport({'N', 0, 0, 0x44});
        return kIOReturnSuccess;
    };
    replies = {{0x01}};
    ASSERT_NE(readFlash(), nullptr);
    EXPECT_THAT(lengthsSent(), ElementsAre(32, 0));
    EXPECT_EQ(driver->venerPointsFromFlash(), 0x44);
    EXPECT_THAT(*driver->outputReportBuffer(), SizeIs(256));
    EXPECT_THAT(driver->commandFromCurrentSetting(), SizeIs(256)) << "there is room for it all the same";
    unitAnswers.then = nullptr;
    EXPECT_TRUE(driver->writeCalibrationToFlash(std::make_shared<PointList>(4)));
    EXPECT_THAT(lengthsSent(), ElementsAre(0, 0, 0)) << "nothing is sent, and it succeeds";
}

TEST_F(FlashReadTest, AnotherUnitsLengthReplacesThePreviousOne) {
    for (const std::size_t length : {804U, 8U}) {
        unplug();
        reshape(length);
        openInterface();
        replies = {{0x01}, {'N', 0, 0}};
        readFlash();
    }
    EXPECT_THAT(lengthsSent(), ElementsAre(36, 8)) << "its first request still has the other's";
    EXPECT_THAT(*driver->outputReportBuffer(), SizeIs(804)) << "the buffer never shrinks";
}

// Sends that fail, and units that leave

TEST_F(FlashReadTest, AFailedSendEndsTheReadAtOnceAndLeavesTheQueueOpen) {
    for (int failing = 1; failing <= 6; ++failing) {
        replies = longAnswers();
        failSends(failing, failing % 2 ? kIOReturnTimeout : kIOReturnNoDevice, 1);
        EXPECT_EQ(readFlash(), nullptr);
        EXPECT_THAT(unit.takeSent(), SizeIs(failing)) << "nothing is retried";
        EXPECT_EQ(unit.heldQueues(), 1);
    }
    EXPECT_TRUE(matchesTranscript("flash_read_failures"));
    unitAnswers.then = nullptr;
    replies = calibrated();
    EXPECT_THAT(*readFlash(), SizeIs(6)) << "the queue that was left open is used again";
    EXPECT_EQ(unit.queue(2), nullptr);
    EXPECT_EQ(unit.heldQueues(), 0);
}

TEST_F(FlashReadTest, AFailedAcknowledgeKeepsTheInformationThatWasRead) {
    replies = calibrated();
    readFlash();
    for (const int failing : {4, 5}) {
        replies = longAnswers();
        failSends(failing, kIOReturnTimeout);
        EXPECT_EQ(readFlash(), nullptr);
        EXPECT_EQ(EventGeneratorNX7::wirelessPointsFromFlash(), failing == 5 ? 0x0C : 1)
            << "a failed request that of before";
        EXPECT_EQ(driver->venerPointsFromFlash(), failing == 5 ? 0x0D : 0x35);
        EXPECT_EQ(driver->cmosVerFromFlash(), failing == 5 ? 0x0E : 0x12);
    }
}

TEST_F(FlashReadTest, AUnitThatLeavesInsteadOfAnsweringEndsTheRead) {
    for (int command = 1; command <= 6; ++command) {
        replug();
        replies = longAnswers();
        unitAnswers.then = [this, command, sends = 0](const SentReport&) mutable {
            if (++sends == command) {
                unit.unplug();
                replies.clear();
            }
            return kIOReturnSuccess;
        };
        EXPECT_EQ(readFlash() == nullptr, command < 6)
            << "after the last command there is nothing to wait for";
        EXPECT_THAT(unit.takeSent(), SizeIs(command)) << "no later one reaches it";
    }
}

// Units that are silent, and queues that fail

class SilenceTest : public FlashReadTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(SilenceTest, EndsWhenTheProgramDoes) {
    const std::size_t answers = GetParam();
    replies = longAnswers();
    replies.resize(answers);
    unit.script().onPoll = [this] {
        if (replies.empty() && ++polls == 500)
            desk.runLoop.terminate(0);
    };
    EXPECT_EQ(readFlash(), nullptr);
    EXPECT_EQ(polls, 500);
    EXPECT_THAT(unit.takeSent(), SizeIs(answers + 1)) << "silence asks nothing again";
    auto sleeps = desk.clock.takeSleeps();
    EXPECT_EQ(std::erase(sleeps, std::chrono::milliseconds(1)), answers ? 499 : 500)
        << "one for each look in vain";
    EXPECT_THAT(sleeps, SizeIs(answers + 2));
    EXPECT_THAT(log.lines(), SizeIs(5 + 2 * (answers > 1 ? answers - 1 : 0))) << "polls are not logged";
}

INSTANTIATE_TEST_SUITE_P(, SilenceTest, testing::Values(0, 1, 2, 3),
                         [](const auto& parameter) { return "after" + std::to_string(parameter.param); });

TEST_F(FlashReadTest, SenselessAnswersAreAskedAgainUntilTheProgramEnds) {
    unitAnswers.then = [this, sends = 0](const SentReport&) mutable {
        unit.sendReport({'X'});
        if (++sends == 400)
            desk.runLoop.terminate(0);
        return kIOReturnSuccess;
    };
    EXPECT_EQ(readFlash(), nullptr);
    EXPECT_THAT(unit.takeSent(), SizeIs(400));
    EXPECT_THAT(desk.clock.takeSleeps(), SizeIs(401));
}

TEST_F(FlashReadTest, QueueErrorsAreLoggedAndPollingGoesOn) {
    replies = {{0x01}, {'N', 0, 1, 0x35}};
    unit.script().answer("queue1.getNextEvent", kIOReturnNotOpen);
    unit.script().onPoll = [this] {
        if (++polls == 3)
            unit.script().answer("queue1.getNextEvent", ioReturn(0x0000001A));
        if (polls == 4)
            unit.script().carryOut("queue1.getNextEvent");
    };
    EXPECT_NE(readFlash(), nullptr);
    EXPECT_TRUE(matchesTranscript("flash_read_queue_errors"));
}

TEST_F(FlashReadTest, WithoutAnInterfaceOrAQueueThereIsNothingToRead) {
    unit.withoutQueues = true;
    replies = calibrated();
    EXPECT_EQ(readFlash(), nullptr);
    EXPECT_THAT(unit.takeSent(), SizeIs(1));
    unit.withoutQueues = false;
    driver->releaseHIDInterface();
    happened.clear();
    EXPECT_EQ(readFlash(), nullptr);
    EXPECT_TRUE(matchesTranscript("flash_read_without_interface"));
    EXPECT_THAT(driver->commandFromCurrentSetting(), SizeIs(64)) << "the report length is what it was";
}

// One reply

TEST_F(FlashReadTest, OneReplyIsCopiedWholeWithItsDeclaredLength) {
    driver->StrayLightDetecting(); // opens the queue
    unit.sendReport({'Q', 1, 2});
    unit.sendReport({'R'});
    ReportBuffer buffer{9, 9};
    EXPECT_EQ(driver->getSingleReportFromFlash(buffer), 32);
    ASSERT_GE(buffer.size(), 32U);
    EXPECT_THAT(ReportBytes(buffer.begin(), buffer.begin() + 4), ElementsAre('Q', 1, 2, 0));
    EXPECT_EQ(driver->getSingleReportFromFlash(buffer), 32);
    EXPECT_EQ(buffer[0], 'R') << "oldest first";
}

TEST_F(FlashReadTest, WithoutAQueueThereIsNoReply) {
    ReportBuffer buffer{9, 9};
    EXPECT_EQ(driver->getSingleReportFromFlash(buffer), 0);
    EXPECT_THAT(buffer, ElementsAre(9, 9));
}

} // namespace
} // namespace lightpen
