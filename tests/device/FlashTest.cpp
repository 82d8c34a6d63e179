// SPDX-License-Identifier: MIT
// Erasing and writing the unit's flash.
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

PointListRef listOf(PointList points) {
    return std::make_shared<const PointList>(std::move(points));
}

class FlashTest : public UnitFixture {
protected:
    FlashTest() { openInterface(); }

    // The bytes of each report that was sent, cut behind the calibration record.
    std::vector<ReportBytes> recordsSent() {
        std::vector<ReportBytes> records;
        for (const SentReport& report : unit.takeSent()) {
            EXPECT_EQ(report.timeoutMs, 100U);
            EXPECT_THAT(report.bytes, SizeIs(32));
            EXPECT_THAT(ReportBytes(report.bytes.begin() + 10, report.bytes.end()), Each(0));
            records.emplace_back(report.bytes.begin(), report.bytes.begin() + 10);
        }
        return records;
    }
};

TEST_F(FlashTest, ErasingSendsZerosAndWaitsTwoSeconds) {
    *driver->outputReportBuffer() = ReportBytes(32, 0xEE);
    driver->eraseFlashAddress();
    failSends(1, kIOReturnTimeout);
    driver->eraseFlashAddress();
    driver->releaseHIDInterface();
    driver->eraseFlashAddress();
    EXPECT_TRUE(matchesTranscript("erase"));
}

// Writing

TEST_F(FlashTest, FourPointsAreThreeRecordsWithoutAnEraseBefore) {
    EXPECT_TRUE(
        driver->writeCalibrationToFlash(listOf({{210.9, 140}, {2330, 161.5}, {233, 1709}, {2291, 1688}})));
    EXPECT_TRUE(matchesTranscript("flash_write"));
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
    }
}

TEST_F(FlashTest, OtherCountsAreRefused) {
    for (const std::size_t count : {0U, 1U, 2U, 3U, 5U, 6U, 8U, 10U, 24U, 26U, 79U, 81U, 260U}) {
        EXPECT_FALSE(driver->writeCalibrationToFlash(listOf(PointList(count, {1, 2}))));
        EXPECT_THAT(log.takeLines(), SizeIs(1)) << count;
    }
    happened.clear();
    EXPECT_FALSE(driver->writeCalibrationToFlash(nullptr)) << "no list is an empty one";
    EXPECT_TRUE(matchesTranscript("flash_write_refused"));
    EXPECT_THAT(unit.takeSent(), IsEmpty());
    EXPECT_EQ(driver->calibrationPointsFromFlash(), nullptr);
}

TEST_F(FlashTest, CoordinatesAreTruncatedAndWrappedNeverRounded) {
    const double infinite = std::numeric_limits<double>::infinity();
    driver->writeCalibrationToFlash(
        listOf({{-1, -300.7}, {65536.7, 4294967295.0}, {std::nan(""), infinite}, {0.999, -0.999}}));
    const auto records = recordsSent();
    EXPECT_THAT(records.at(0), ElementsAre('C', 0, 0xFF, 0xFF, 0xD4, 0xFE, 0, 0, 0xFF, 0xFF));
    EXPECT_THAT(records.at(1), ElementsAre('C', 1, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(FlashTest, TheFirstRecordThatFailsEndsTheWriteAfterItsPause) {
    for (int failing = 1; failing <= 3; ++failing) {
        failSends(failing, kIOReturnTimeout);
        EXPECT_FALSE(driver->writeCalibrationToFlash(listOf(PointList(4, {5, 6}))));
        EXPECT_THAT(unit.takeSent(), SizeIs(failing));
        EXPECT_THAT(desk.clock.takeSleeps(), SizeIs(failing)) << "also after the failure";
        EXPECT_THAT(log.takeLines(), SizeIs(failing)) << "the failure itself is not logged";
    }
}

TEST_F(FlashTest, WritingWithoutAnInterfaceFails) {
    driver->releaseHIDInterface();
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

TEST_F(FlashTest, ShortReportsCutTheRecord) {
    unplug();
    reshape(8);
    openAndRead();
    EXPECT_TRUE(driver->writeCalibrationToFlash(listOf({{257, 2}, {3, 1025}, {5, 6}, {7, 8}})));
    EXPECT_TRUE(matchesTranscript("flash_write_short_reports"))
        << "the log shows the command as it was built";
}

// What the flash holds

TEST_F(FlashTest, AWriteThatWasSentWholeIsWhatTheFlashHolds) {
    const PointListRef before = listOf(PointList(4, {7, 7}));
    for (const PointListRef& written : {before, listOf(PointList(9, {10, 20})), before}) {
        EXPECT_TRUE(driver->writeCalibrationToFlash(written));
        EXPECT_EQ(driver->calibrationPointsFromFlash(), written);
    }
    driver->writeCalibrationToFlash(listOf(PointList(5)));
    driver->writeCalibrationToFlash(nullptr);
    EXPECT_EQ(driver->calibrationPointsFromFlash(), before) << "a refused one changes nothing";
    failSends(3, kIOReturnNoDevice);
    driver->writeCalibrationToFlash(listOf(PointList(4)));
    EXPECT_EQ(driver->calibrationPointsFromFlash(), before) << "only its last record was missing";
}

TEST_F(FlashTest, TheNextUpdateWritesTheNewCalibrationNotTheOneReadAtStart) {
    unitAnswers.records = calibratedRecords();
    startNoThreads();
    driver->startHIDMode();
    driver->writeCalibrationToFlash(listOf({{51, 61}, {52, 62}, {53, 63}, {54, 64}}));
    unit.takeSent();
    driver->updateTwoValueToDevice();
    EXPECT_THAT(unit.takeSent().at(1).bytes[2], 51);
}

// Device information and what does nothing

TEST_F(FlashTest, InformationBeforeAnyRead) {
    EXPECT_EQ(EventGeneratorNX7::wirelessPointsFromFlash(), -1);
    EXPECT_EQ(driver->cmosVerFromFlash(), 0);
    EXPECT_EQ(driver->venerPointsFromFlash(), 0);
}

TEST_F(FlashTest, OperationsThatDoNothing) {
    driver->getAddressIndex(1, 2, 3);
    driver->stopUSBStorageMode();
    EXPECT_THAT(happened.takeAll(), IsEmpty());
}

} // namespace
} // namespace lightpen
