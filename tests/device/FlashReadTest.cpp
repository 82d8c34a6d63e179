// SPDX-License-Identifier: MIT
// Reading the unit's flash: the whole exchange, its answers and its report lengths.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::SizeIs;

class FlashReadTest : public UnitFixture {
protected:
    FlashReadTest() { openUnit(); }

    void giveReportLength(std::size_t length) {
        ScriptedUnit::Shape shape;
        shape.inputLength = length;
        unit.reshape(shape);
        openUnit();
    }
    PointListRef read() { return driver->_calibrationPointsFromFlash(); }
    // The first two bytes of each report that was sent: letter and index.
    std::vector<std::string> lettersSent() {
        std::vector<std::string> letters;
        for (const SentReport& report : unit.takeSent())
            letters.push_back(static_cast<char>(report.bytes.at(0)) + std::to_string(report.bytes.at(1)));
        return letters;
    }
    std::vector<std::size_t> lengthsSent() {
        std::vector<std::size_t> lengths;
        for (const SentReport& report : unit.takeSent())
            lengths.push_back(report.bytes.size());
        return lengths;
    }
    // A last record of a unit that needs both acknowledges.
    static ReportBytes lastRecord(std::uint8_t wireless, std::uint8_t mode) {
        return {'Y', 2, 0, 7, mode, 0, 0, wireless, 0x35, 0x12};
    }
};

// The exchange

TEST_F(FlashReadTest, ACalibratedUnitAnswersThreeRecords) {
    replies = calibratedReplies();
    const PointListRef points = read();
    EXPECT_THAT(takeTimeline(),
                ElementsAre("Event n:903", "device.allocQueue()", "queue1.create(0, 100)",
                            "Event n:2323 Input report element for 0", "Event n:2349 ",
                            "queue1.hasElement(17)", "queue1.addElement(17, 0)", "queue1.start()",
                            "Event n:914", "Event n:1291 set forcedExposure: 23", "sleep 100000",
                            "queue1.start()", "send 48 (32 bytes, no limit)", "sleep 200000",
                            //
                            "queue1.start()", "send 48 (32 bytes, no limit)", "sleep 100000",
                            "Event n:1084 helloColl :0 (210 , 140) , (2330 , 161)", "Event n:977 helloColl:1",
                            //
                            "queue1.start()", "send 48 01 (32 bytes, no limit)", "sleep 100000",
                            "Event n:1084 helloColl :1 (233 , 1709) , (2291 , 1688)",
                            "Event n:977 helloColl:2",
                            //
                            "queue1.start()", "send 48 02 (32 bytes, no limit)", "sleep 100000",
                            "Event n:1084 helloColl :2 (1792 , 0) , (256 , 4661)", "Event n:977 helloColl:3",
                            //
                            "Event n:1187 NX9Ver:0x35,wireless:0x1,cmosVer:0x12,GainValue:0x7,OPmode:0x0",
                            "send 54 (32 bytes, no limit)", "queue1.stop()", "queue1.dispose()"));
    ASSERT_NE(points, nullptr);
    EXPECT_THAT(*points, ElementsAre(CameraPoint{210, 140}, CameraPoint{2330, 161}, CameraPoint{233, 1709},
                                     CameraPoint{2291, 1688}, CameraPoint{1792, 0}, CameraPoint{256, 4661}));
    EXPECT_EQ(driver->_calibrationQueue, nullptr);
    EXPECT_EQ(unit.queue(1), nullptr) << "nobody keeps the queue";
    EXPECT_EQ(driver->calibrationPointsFromFlash(), nullptr) << "it is the start that keeps the points";
}

TEST_F(FlashReadTest, AnEmptyUnitAnswersNoAtOnce) {
    replies = {{0x01}, {'N', 0x51, 0, 0x53, 0x54, 0x55, 0, 0x57}};
    const PointListRef points = read();
    ASSERT_NE(points, nullptr);
    EXPECT_THAT(*points, IsEmpty());
    EXPECT_THAT(lettersSent(), ElementsAre("H0", "H0"));
    EXPECT_THAT(desk.clock.takeSleeps(),
                ElementsAre(milliseconds(100), milliseconds(200), milliseconds(100)));
    EXPECT_EQ(log.lines().back(),
              "Event n:1187 NX9Ver:0x53,wireless:0x0,cmosVer:0x54,GainValue:0x55,OPmode:0x0");
    EXPECT_EQ(driver->wirelessPointsFromFlash(), 0);
    EXPECT_EQ(driver->venerPointsFromFlash(), 0x53);
    EXPECT_EQ(driver->cmosVerFromFlash(), 0x54);
    EXPECT_EQ(driver->_calibrationQueue, nullptr);
}

TEST_F(FlashReadTest, YesAndNoGiveTwoEntries) {
    replies = {{0x01}, storedRecord(0, 1, 2, 3, 4), {'N', 0, 1, 2, 3, 4, 0}};
    EXPECT_THAT(*read(), ElementsAre(CameraPoint{1, 2}, CameraPoint{3, 4}));
    EXPECT_THAT(lettersSent(), ElementsAre("H0", "H0", "H1", "T0"));
    EXPECT_EQ(sharedState.NX9Ver, 2);
}

TEST_F(FlashReadTest, YesYesAndNoGiveFourEntries) {
    replies = {{0x01}, storedRecord(0, 1, 2, 3, 4), storedRecord(1, 5, 6, 7, 8), {'N', 0, 1, 2, 3, 4, 0}};
    EXPECT_THAT(*read(),
                ElementsAre(CameraPoint{1, 2}, CameraPoint{3, 4}, CameraPoint{5, 6}, CameraPoint{7, 8}));
    EXPECT_THAT(lettersSent(), ElementsAre("H0", "H0", "H1", "H2", "T0"));
    EXPECT_EQ(sharedState.cmosVer, 3);
}

TEST_F(FlashReadTest, OtherAnswersRepeatTheSameRequest) {
    replies = {{0x01},      {'X'},
               {0},         storedRecord(0, 1, 2, 3, 4),
               {'y'},       {'n'},
               {'H', 1},    storedRecord(1, 5, 6, 7, 8),
               {0x00, 'Y'}, {'N', 0, 0, 0x66}};
    EXPECT_THAT(*read(), SizeIs(4));
    EXPECT_THAT(lettersSent(), ElementsAre("H0", "H0", "H0", "H0", "H1", "H1", "H1", "H1", "H2", "H2"));
    EXPECT_THAT(desk.clock.takeSleeps(), SizeIs(11)) << "each with its pause";
    EXPECT_EQ(sharedState.NX9Ver, 0x66);
    EXPECT_THAT(log.lines(), SizeIs(10)) << "they are not logged";
}

TEST_F(FlashReadTest, TheFirstAnswerCountsOnlyByItsLength) {
    replies = emptyReplies();
    replies.front() = {'Y', 0, 1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_THAT(*read(), IsEmpty());
    replies = calibratedReplies();
    replies.front() = {'N', 0, 99, 99, 99, 99, 99};
    EXPECT_THAT(*read(), SizeIs(6));
}

TEST_F(FlashReadTest, CoordinatesAreUnsignedWords) {
    replies = {{0x01}, storedRecord(0, 65535, 32768, 0x0100, 0x00FF), {'N'}};
    EXPECT_THAT(*read(), ElementsAre(CameraPoint{65535, 32768}, CameraPoint{256, 255}));
    EXPECT_THAT(log.lines(), Contains("Event n:1084 helloColl :0 (65535 , 32768) , (256 , 255)"));
}

TEST_F(FlashReadTest, TheCheckViewsPointPairsAreThoseOfRecordsZeroAndOne) {
    replies = calibratedReplies();
    read();
    EXPECT_EQ(sharedState.firstRecordPoints.load(), (PointPair{{210, 140}, {2330, 161}}));
    EXPECT_EQ(sharedState.secondRecordPoints.load(), (PointPair{{233, 1709}, {2291, 1688}}));
}

TEST_F(FlashReadTest, SettingsForTheReadAreSetButNotSent) {
    driver->setForcedExposure(40);
    driver->setThreshold(900);
    log.clear();
    replies = emptyReplies();
    read();
    EXPECT_EQ(driver->forcedExposure(), 23);
    EXPECT_EQ(driver->threshold(), 512);
    EXPECT_THAT(log.lines(),
                IsSupersetOf({"Event n:1291 set forcedExposure: 23", "Event n:758 set threshold: 512"}));
    EXPECT_THAT(lettersSent(), ElementsAre("H0", "H0", "T0"));
}

// Acknowledges

TEST_F(FlashReadTest, TheOperatingModeIsAcknowledgedBeforeTheSummary) {
    replies = {{0x01}, storedRecord(0, 1, 2, 3, 4), storedRecord(1, 5, 6, 7, 8), lastRecord(0, 0xA1)};
    read();
    const auto timeline = takeTimeline();
    ASSERT_GE(timeline.size(), 4u);
    EXPECT_THAT(std::vector(timeline.end() - 4, timeline.end()),
                ElementsAre("send 57 57 (32 bytes, no limit)",
                            "Event n:1187 NX9Ver:0x35,wireless:0x0,cmosVer:0x12,GainValue:0x7,OPmode:0xa1",
                            "queue1.stop()", "queue1.dispose()"));
    EXPECT_EQ(sharedState.OPmode, 0xA1);
    EXPECT_EQ(sharedState.GainValue, 7);
}

TEST_F(FlashReadTest, AWirelessUnitIsAcknowledgedAfterTheSummary) {
    replies = {{0x01}, {'N', 0, 0xFF, 0, 0, 0, 0xFE}};
    read();
    EXPECT_THAT(lettersSent(), ElementsAre("H0", "H0", "W87", "T0"));
    EXPECT_EQ(driver->wirelessPointsFromFlash(), 255);
    EXPECT_EQ(log.lines().back(),
              "Event n:1187 NX9Ver:0x0,wireless:0xff,cmosVer:0x0,GainValue:0x0,OPmode:0xfe");
}

// Report lengths

struct LengthCase {
    std::size_t length;
    std::size_t sent; // by every command after the first
};

class FlashReadLengthTest : public FlashReadTest, public testing::WithParamInterface<LengthCase> {};

TEST_P(FlashReadLengthTest, AllLaterCommandsHaveTheUnitsReportLength) {
    const auto [length, sent] = GetParam();
    giveReportLength(length);
    plugIn();
    replies = calibratedReplies();
    const PointListRef points = read();
    ASSERT_NE(points, nullptr);
    EXPECT_THAT(*points, SizeIs(6));
    EXPECT_EQ(sharedState.reportCopyLength, static_cast<int>(length));
    EXPECT_EQ(sharedState.reportSize, sent);
    EXPECT_THAT(*driver->outputReportBuffer(), SizeIs(std::max<std::size_t>(length, 32)));
    std::vector<std::size_t> expected{32, sent, sent, sent};
    if (sharedState.wireless != 0)
        expected.push_back(sent);
    EXPECT_EQ(lengthsSent(), expected);
    driver->putIRFilter();
    driver->writeCalibrationToFlash(std::make_shared<PointList>(4, CameraPoint{300, 400}));
    driver->eraseFlashAddress();
    EXPECT_THAT(lengthsSent(), AllOf(SizeIs(5), Each(sent)));
}

INSTANTIATE_TEST_SUITE_P(, FlashReadLengthTest,
                         testing::Values(LengthCase{8, 8}, LengthCase{32, 32}, LengthCase{64, 64},
                                         LengthCase{300, 44}, LengthCase{804, 36}),
                         [](const auto& parameter) { return std::to_string(parameter.param.length); });

TEST_F(FlashReadTest, EightBytesCutTheSecondYAndTheVersion) {
    giveReportLength(8);
    replies = calibratedReplies();
    EXPECT_THAT(*read(), ElementsAre(CameraPoint{210, 140}, CameraPoint{2330, 0}, CameraPoint{233, 1709},
                                     CameraPoint{2291, 0}, CameraPoint{1792, 0}, CameraPoint{256, 0}));
    EXPECT_EQ(sharedState.wireless, 1);
    EXPECT_EQ(sharedState.NX9Ver, 0);
    EXPECT_EQ(sharedState.cmosVer, 0);
}

TEST_F(FlashReadTest, ALengthWithoutLowBitsMakesEmptyCommands) {
    giveReportLength(256);
    replies = {{0x01}};
    // Nothing that the unit could answer to; the answer comes by itself.
    onSend = [this](const SentReport& report, int) {
        if (report.bytes.empty())
            unit.sendReport({'N', 0, 0, 0x44});
        return kIOReturnSuccess;
    };
    ASSERT_NE(read(), nullptr);
    EXPECT_THAT(lengthsSent(), ElementsAre(32, 0));
    EXPECT_EQ(sharedState.reportCopyLength, 256);
    EXPECT_EQ(sharedState.reportSize, 0);
    EXPECT_EQ(sharedState.NX9Ver, 0x44);
    EXPECT_THAT(*driver->outputReportBuffer(), SizeIs(256));
}

TEST_F(FlashReadTest, AnotherUnitsLengthReplacesThePreviousOne) {
    giveReportLength(804);
    replies = emptyReplies();
    read();
    giveReportLength(8);
    unit.takeSent();
    replies = emptyReplies();
    read();
    EXPECT_THAT(lengthsSent(), ElementsAre(36, 8, 8)) << "its first request still has the other's";
    EXPECT_THAT(*driver->outputReportBuffer(), SizeIs(804)) << "the buffer never shrinks";
}

// A lit pen

TEST_F(FlashReadTest, ReportsFromBeforeARequestAreNoAnswers) {
    // In each pause a light is seen, behind the answer that is already there; its reports could pass for one.
    desk.clock.onSleep = [this](Microseconds) {
        for (int i = 0; i < 20; ++i)
            unit.sendReport({'N', 9, 9, 9, 9, 9, 9});
    };
    replies = calibratedReplies();
    const PointListRef points = read();
    ASSERT_NE(points, nullptr);
    EXPECT_THAT(*points, SizeIs(6));
    EXPECT_THAT(lettersSent(), ElementsAre("H0", "H0", "H1", "H2", "T0"));
    EXPECT_EQ(sharedState.wireless, 1);
}

TEST_F(FlashReadTest, PenReportsInsteadOfAnswersAskAgain) {
    replies = {{0x01}, penReport(1300, 700), penUpReport(), penReport(1301, 700), {'N', 0, 1, 0x35}};
    EXPECT_THAT(*read(), IsEmpty());
    EXPECT_THAT(lettersSent(), ElementsAre("H0", "H0", "H0", "H0", "H0", "T0"));
    EXPECT_EQ(sharedState.NX9Ver, 0x35);
}

} // namespace
} // namespace lightpen
