// SPDX-License-Identifier: MIT
// Erasing and writing the unit's flash.
#include <cmath>
#include <limits>

#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kRefused = "Event n:809 error when writeCalibrationToFlash: points count is not 4,9,25";

PointListRef listOf(PointList points) {
    return std::make_shared<const PointList>(std::move(points));
}

class FlashTest : public UnitFixture {
protected:
    FlashTest() { openUnit(); }

    // The bytes of each report that was sent, cut behind the calibration record.
    std::vector<ReportBytes> recordsSent() {
        std::vector<ReportBytes> records;
        for (const SentReport& report : unit.takeSent()) {
            EXPECT_EQ(report.timeoutMs, 100u);
            EXPECT_THAT(report.bytes, SizeIs(32));
            EXPECT_THAT(ReportBytes(report.bytes.begin() + 10, report.bytes.end()), Each(0));
            records.emplace_back(report.bytes.begin(), report.bytes.begin() + 10);
        }
        return records;
    }
};

// Erasing

TEST_F(FlashTest, ErasingSendsZerosAndWaitsTwoSeconds) {
    *driver->outputReportBuffer() = ReportBytes(32, 0xEE);
    driver->eraseFlashAddress();
    EXPECT_THAT(takeTimeline(),
                ElementsAre("send (32 bytes, no limit)",
                            "Event n:794 erasing flash, please wait for 2sec....", "sleep 2000000"));
}

TEST_F(FlashTest, AFailedEraseIsLoggedAfterTheWait) {
    onSend = [](const SentReport&, int) { return kIOReturnTimeout; };
    driver->eraseFlashAddress();
    EXPECT_THAT(takeTimeline(),
                ElementsAre("send (32 bytes, no limit)",
                            "Event n:794 erasing flash, please wait for 2sec....", "sleep 2000000",
                            "Event n:798 erase flash with address:0x0 failed"));
}

TEST_F(FlashTest, ErasingWithoutAnInterfaceSendsNothingAndWaits) {
    driver->_pphidDeviceInterface = nullptr;
    driver->eraseFlashAddress();
    EXPECT_THAT(takeTimeline(),
                ElementsAre("Event n:1367 doCommandFromOutputBuffer error. command size is ZERO.",
                            "Event n:794 erasing flash, please wait for 2sec....", "sleep 2000000"));
}

TEST_F(FlashTest, ErasingHasTheReportSize) {
    sharedState.reportSize = 44;
    sharedState.reportCopyLength = 300;
    driver->eraseFlashAddress();
    EXPECT_THAT(unit.takeSent().at(0).bytes, AllOf(SizeIs(44), Each(0)));
}

// Writing

TEST_F(FlashTest, FourPointsAreThreeRecords) {
    const PointListRef points = listOf({{210.9, 140}, {2330, 161.5}, {233, 1709}, {2291, 1688}});
    EXPECT_TRUE(driver->writeCalibrationToFlash(points));
    const std::string text = "Event n:874 ({210.9, 140}, {2330, 161.5}, {233, 1709}, {2291, 1688}), ";
    EXPECT_THAT(takeTimeline(), ElementsAre(text + "0(210,140)(2330,161), point left: 4",
                                            "send 43 00 D2 00 8C 00 1A 09 A1 (32 bytes, 100 ms)",
                                            "sleep 10000", text + "1(233,1709)(2291,1688), point left: 4",
                                            "send 43 01 E9 00 AD 06 F3 08 98 06 (32 bytes, 100 ms)",
                                            "sleep 10000", text + "2(0,0)(0,0), point left: 4",
                                            "send 43 02 (32 bytes, 100 ms)", "sleep 10000"))
        << "no erase before";
}

TEST_F(FlashTest, OnlyTheFirstFourPointsOfAnyListReachTheUnit) {
    for (const int count : {9, 25, 80}) {
        PointList points;
        for (int i = 0; i < count; ++i)
            points.push_back({300.0 + i, 1000.0 + 3 * i});
        EXPECT_TRUE(driver->writeCalibrationToFlash(listOf(points)));
        const auto records = recordsSent();
        ASSERT_THAT(records, SizeIs(count - 1));
        EXPECT_THAT(records[0], ElementsAre('C', 0, 0x2C, 0x01, 0xE8, 0x03, 0x2D, 0x01, 0xEB, 0x03));
        EXPECT_THAT(records[1], ElementsAre('C', 1, 0x2E, 0x01, 0xEE, 0x03, 0x2F, 0x01, 0xF1, 0x03));
        for (int i = 2; i < count - 1; ++i)
            EXPECT_THAT(records[static_cast<std::size_t>(i)], ElementsAre('C', i, 0, 0, 0, 0, 0, 0, 0, 0));
        EXPECT_THAT(desk.clock.takeSleeps(), AllOf(SizeIs(count - 1), Each(std::chrono::milliseconds(10))));
        EXPECT_THAT(log.takeLines().back(), EndsWith(", " + std::to_string(count - 2) +
                                                     "(0,0)(0,0), point left: " + std::to_string(count)));
    }
}

TEST_F(FlashTest, OtherCountsAreRefused) {
    for (const std::size_t count : {0u, 1u, 2u, 3u, 5u, 6u, 8u, 10u, 24u, 26u, 79u, 81u, 260u}) {
        EXPECT_FALSE(driver->writeCalibrationToFlash(listOf(PointList(count, {1, 2}))));
        EXPECT_THAT(takeTimeline(), ElementsAre(kRefused)) << count;
    }
    EXPECT_FALSE(driver->writeCalibrationToFlash(nullptr));
    EXPECT_THAT(takeTimeline(), ElementsAre(kRefused)) << "no list is an empty one";
    EXPECT_EQ(driver->calibrationPointsFromFlash(), nullptr);
}

TEST_F(FlashTest, CoordinatesAreTruncatedAndWrappedNeverRounded) {
    const double nan = std::nan("");
    const double infinite = std::numeric_limits<double>::infinity();
    driver->writeCalibrationToFlash(
        listOf({{-1, -300.7}, {65536.7, 4294967295.0}, {nan, infinite}, {0.999, -0.999}}));
    const auto records = recordsSent();
    EXPECT_THAT(records.at(0), ElementsAre('C', 0, 0xFF, 0xFF, 0xD4, 0xFE, 0, 0, 0xFF, 0xFF));
    EXPECT_THAT(records.at(1), ElementsAre('C', 1, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(log.lines().at(0), EndsWith(", 0(65535,65236)(0,65535), point left: 4"));
}

TEST_F(FlashTest, TheFirstRecordThatFailsEndsTheWriteAfterItsPause) {
    for (int failing = 1; failing <= 3; ++failing) {
        int sends = 0;
        onSend = [&](const SentReport&, int) {
            return ++sends == failing ? kIOReturnTimeout : kIOReturnSuccess;
        };
        EXPECT_FALSE(driver->writeCalibrationToFlash(listOf(PointList(4, {5, 6}))));
        EXPECT_THAT(unit.takeSent(), SizeIs(failing));
        EXPECT_THAT(desk.clock.takeSleeps(), SizeIs(failing)) << "also after the failure";
        EXPECT_THAT(log.takeLines(), SizeIs(failing)) << "the failure itself is not logged";
    }
}

TEST_F(FlashTest, WritingWithoutAnInterfaceFails) {
    driver->_pphidDeviceInterface = nullptr;
    EXPECT_FALSE(driver->writeCalibrationToFlash(listOf(PointList(9))));
    EXPECT_THAT(log.lines(), SizeIs(1));
    EXPECT_THAT(desk.clock.takeSleeps(), SizeIs(1));
}

TEST_F(FlashTest, ALongListIsLoggedWhole) {
    driver->writeCalibrationToFlash(listOf(PointList(80, {1234.5678901234, 0.1})));
    const std::string line = log.lines().at(0);
    EXPECT_GT(line.size(), 80 * std::string("{1234.5678901234, 0.1}").size());
    EXPECT_THAT(line, EndsWith("{1234.5678901234, 0.1}), 0(1234,0)(1234,0), point left: 80"));
}

// Report lengths

TEST_F(FlashTest, ShortReportsCutTheRecord) {
    sharedState.reportSize = 8;
    sharedState.reportCopyLength = 8;
    EXPECT_TRUE(driver->writeCalibrationToFlash(listOf({{257, 2}, {3, 1025}, {5, 6}, {7, 8}})));
    const auto sent = unit.takeSent();
    ASSERT_THAT(sent, SizeIs(3));
    EXPECT_THAT(sent[0].bytes, ElementsAre('C', 0, 1, 1, 2, 0, 3, 0));
    EXPECT_THAT(sent[2].bytes, ElementsAre('C', 2, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(log.lines().at(0), EndsWith("0(257,2)(3,1025), point left: 4"))
        << "the log shows the command as it was built";
}

TEST_F(FlashTest, AReportSizeOfZeroSendsNothingButSucceeds) {
    sharedState.reportSize = 0;
    sharedState.reportCopyLength = 256;
    EXPECT_TRUE(driver->writeCalibrationToFlash(listOf(PointList(4, {257, 2}))));
    const auto sent = unit.takeSent();
    ASSERT_THAT(sent, SizeIs(3));
    EXPECT_THAT(sent[0].bytes, IsEmpty());
    EXPECT_THAT(*driver->outputReportBuffer(), SizeIs(256));
}

// What the flash holds

TEST_F(FlashTest, AWriteThatWasSentWholeIsWhatTheFlashHolds) {
    driver->_calibrationPoints = listOf(PointList(6));
    const PointListRef written = listOf(PointList(9, {10, 20}));
    EXPECT_TRUE(driver->writeCalibrationToFlash(written));
    EXPECT_EQ(driver->calibrationPointsFromFlash(), written);
}

TEST_F(FlashTest, ARefusedOrFailedWriteChangesNothing) {
    const PointListRef before = listOf(PointList(6, {7, 7}));
    driver->_calibrationPoints = before;
    driver->writeCalibrationToFlash(listOf(PointList(5)));
    driver->writeCalibrationToFlash(nullptr);
    EXPECT_EQ(driver->calibrationPointsFromFlash(), before);
    onSend = [](const SentReport& report, int) {
        return report.bytes[1] == 2 ? kIOReturnNoDevice : kIOReturnSuccess;
    };
    driver->writeCalibrationToFlash(listOf(PointList(4)));
    EXPECT_EQ(driver->calibrationPointsFromFlash(), before) << "only its last record was missing";
}

TEST_F(FlashTest, TheNextUpdateWritesTheNewCalibrationNotTheOneReadAtStart) {
    plugIn();
    driver->_calibrationPoints = listOf({{1, 1}, {2, 2}, {3, 3}, {4, 4}});
    driver->writeCalibrationToFlash(listOf({{51, 61}, {52, 62}, {53, 63}, {54, 64}}));
    unit.takeSent();
    driver->updateTwoValueToDevice();
    EXPECT_THAT(unit.takeSent().at(1).bytes[2], 51);
}

// Device information and what does nothing

TEST_F(FlashTest, InformationBeforeAnyRead) {
    EXPECT_EQ(driver->wirelessPointsFromFlash(), -1);
    EXPECT_EQ(driver->cmosVerFromFlash(), 0);
    EXPECT_EQ(driver->venerPointsFromFlash(), 0);
}

TEST_F(FlashTest, InformationIsTheProcessWideOne) {
    sharedState.wireless = 3;
    sharedState.cmosVer = 4;
    sharedState.NX9Ver = 5;
    EXPECT_EQ(driver->wirelessPointsFromFlash(), 3);
    EXPECT_EQ(driver->cmosVerFromFlash(), 4);
    EXPECT_EQ(driver->venerPointsFromFlash(), 5);
}

TEST_F(FlashTest, OperationsThatDoNothing) {
    driver->getAddressIndex(1, 2, 3);
    driver->stopUSBStorageMode();
    EXPECT_THAT(takeTimeline(), IsEmpty());
}

} // namespace
} // namespace lightpen
