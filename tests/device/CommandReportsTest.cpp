// SPDX-License-Identifier: MIT
// The commands to the unit and its answers, as bytes.
#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/Reports.h"

namespace lightpen {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::SizeIs;

using Bytes = std::vector<std::uint8_t>;

Bytes settingsCommand(const CameraSettings& settings) {
    Bytes command(7);
    writeSettingsCommand(command, settings);
    return command;
}

// Settings

TEST(CommandReportsTest, ControlBitsAddUp) {
    const CameraSettings all{.imageProcessMode = true,
                             .imageShrinkTrigger = true,
                             .IRFilterGrounded = false,
                             .maskCalibration = true,
                             .mask = true,
                             .brightness = true,
                             .unitJustAdded = true};
    EXPECT_EQ(settingsCommand(all)[1], 0xFF);
    CameraSettings some = all;
    some.IRFilterGrounded = true;
    some.mask = false;
    some.imageShrinkTrigger = false;
    EXPECT_EQ(settingsCommand(some)[1], 0xE9);
}

TEST(CommandReportsTest, SettingsOfAnOpenedUnit) {
    EXPECT_THAT(settingsCommand(
                    {.IRFilterGrounded = true, .brightness = true, .threshold = 512, .forcedExposure = 25}),
                ElementsAre(0x00, 0x60, 0x00, 0x02, 0x02, 0x19, 0x00));
    EXPECT_THAT(settingsCommand({.IRFilterGrounded = true,
                                 .brightness = true,
                                 .unitJustAdded = true,
                                 .threshold = 0x1234,
                                 .forcedExposure = 23}),
                ElementsAre(0x00, 0xE0, 0x34, 0x12, 0x02, 0x17, 0x00));
}

TEST(CommandReportsTest, ThresholdSendsItsLow16Bits) {
    EXPECT_THAT(settingsCommand({.threshold = 0x00ABCDEF}), ElementsAre(0, 0x44, 0xEF, 0xCD, 2, 0, 0));
    EXPECT_THAT(settingsCommand({.threshold = 65536}), ElementsAre(0, 0x44, 0, 0, 2, 0, 0));
    EXPECT_THAT(settingsCommand({.threshold = -2}), ElementsAre(0, 0x44, 0xFE, 0xFF, 2, 0, 0));
    EXPECT_THAT(settingsCommand({.threshold = std::numeric_limits<std::int32_t>::min()}),
                ElementsAre(0, 0x44, 0, 0, 2, 0, 0));
}

TEST(CommandReportsTest, ExposureSendsItsLowByte) {
    EXPECT_EQ(settingsCommand({.forcedExposure = 255})[5], 0xFF);
    EXPECT_EQ(settingsCommand({.forcedExposure = 0x0133})[5], 0x33);
    EXPECT_EQ(settingsCommand({.forcedExposure = -3})[5], 0xFD);
}

TEST(CommandReportsTest, SettingsOverwriteTheirSevenBytesAndNoOthers) {
    Bytes command(9, 0xAA);
    writeSettingsCommand(command, {.IRFilterGrounded = true});
    EXPECT_THAT(command, ElementsAre(0, 0x40, 0, 0, 2, 0, 0, 0xAA, 0xAA));
}

// Scratch buffers

TEST(CommandReportsTest, ScratchBuffersAreZeroAndHaveRoomForSizeCopyAndRecord) {
    EXPECT_THAT(scratchBuffer(32, 32), AllOf(SizeIs(64), Each(0)));
    EXPECT_THAT(scratchBuffer(8, 8), AllOf(SizeIs(64), Each(0)));
    EXPECT_THAT(scratchBuffer(0, 256), AllOf(SizeIs(256), Each(0)));
    EXPECT_THAT(scratchBuffer(44, 300), AllOf(SizeIs(300), Each(0)));
    EXPECT_THAT(scratchBuffer(255, 32), SizeIs(255));
    EXPECT_THAT(scratchBuffer(0, -1), SizeIs(64));
}

// Coordinates

TEST(CommandReportsTest, CoordinatesAreTruncatedTowardZero) {
    EXPECT_EQ(truncatedTo16Bits(0), 0);
    EXPECT_EQ(truncatedTo16Bits(1919.999), 1919);
    EXPECT_EQ(truncatedTo16Bits(0.999), 0);
    EXPECT_EQ(truncatedTo16Bits(-0.999), 0);
    EXPECT_EQ(truncatedTo16Bits(65535.9), 65535);
}

TEST(CommandReportsTest, CoordinatesBeyond16BitsWrap) {
    EXPECT_EQ(truncatedTo16Bits(-1), 0xFFFF);
    EXPECT_EQ(truncatedTo16Bits(-1.5), 0xFFFF);
    EXPECT_EQ(truncatedTo16Bits(-300.7), 65236);
    EXPECT_EQ(truncatedTo16Bits(65536.7), 0);
    EXPECT_EQ(truncatedTo16Bits(70000.2), 4464);
    EXPECT_EQ(truncatedTo16Bits(4294967295.0), 0xFFFF);
    EXPECT_EQ(truncatedTo16Bits(-4294967298.0), 0xFFFE);
    EXPECT_EQ(truncatedTo16Bits(1e300), static_cast<std::uint16_t>(std::fmod(1e300, 65536.0)));
}

TEST(CommandReportsTest, WhatIsNotANumberIsZero) {
    EXPECT_EQ(truncatedTo16Bits(std::nan("")), 0);
    EXPECT_EQ(truncatedTo16Bits(std::numeric_limits<double>::infinity()), 0);
    EXPECT_EQ(truncatedTo16Bits(-std::numeric_limits<double>::infinity()), 0);
}

// Calibration records

const PointList kFourPoints{{258.9, 3}, {4, 1029.5}, {2559, 1919}, {6, 1}};

Bytes recordCommand(int index, const PointList& points, std::size_t length = 10) {
    Bytes command(length);
    writeCalibrationRecord(command, index, points);
    return command;
}

TEST(CommandReportsTest, RecordsZeroAndOneCarryTwoPointsEach) {
    EXPECT_THAT(recordCommand(0, kFourPoints), ElementsAre('C', 0, 0x02, 0x01, 3, 0, 4, 0, 0x05, 0x04));
    EXPECT_THAT(recordCommand(1, kFourPoints), ElementsAre('C', 1, 0xFF, 0x09, 0x7F, 0x07, 6, 0, 1, 0));
}

TEST(CommandReportsTest, LaterRecordsCarryNoPoint) {
    const PointList points(80, {77, 88});
    EXPECT_THAT(recordCommand(2, points), ElementsAre('C', 2, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(recordCommand(78, points), ElementsAre('C', 78, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(recordCommand(0x0103, points), ElementsAre('C', 3, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(CommandReportsTest, RecordsTouchOnlyTheirTenBytes) {
    Bytes command(12, 0xAA);
    writeCalibrationRecord(command, 0, kFourPoints);
    EXPECT_EQ(command[10], 0xAA);
    EXPECT_EQ(command[11], 0xAA);
}

TEST(CommandReportsTest, MissingPointsAreZero) {
    EXPECT_THAT(recordCommand(0, {}), ElementsAre('C', 0, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(recordCommand(1, {{1, 2}, {3, 4}, {5, 6}}), ElementsAre('C', 1, 5, 0, 6, 0, 0, 0, 0, 0));
}

TEST(CommandReportsTest, RecordsReadBackAsTheyWereWritten) {
    EXPECT_THAT(readRecordPoints(recordCommand(0, {{-1, 65536.7}, {4294967295.0, 300}})),
                FieldsAre(65535, 0, 65535, 300));
}

// Replies

const Bytes kReply{'Y', 2, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1A};

TEST(CommandReportsTest, RepliesAreLittleEndian) {
    EXPECT_THAT(readRecordPoints(kReply), FieldsAre(0x1312, 0x1514, 0x1716, 0x1918));
}

TEST(CommandReportsTest, NoRecordCarriesTheInformationInBytes2To6) {
    // wireless, NX9Ver, cmosVer, GainValue, OPmode
    EXPECT_THAT(informationFromNoRecord(kReply), FieldsAre(0x12, 0x13, 0x14, 0x15, 0x16));
}

TEST(CommandReportsTest, TheLastRecordCarriesItInOtherPlaces) {
    // wireless, NX9Ver, cmosVer, GainValue, OPmode
    EXPECT_THAT(informationFromLastRecord(kReply), FieldsAre(0x17, 0x18, 0x19, 0x13, 0x14));
}

TEST(CommandReportsTest, InformationBytesAreUnsigned) {
    const Bytes high(10, 0xFF);
    EXPECT_EQ(informationFromNoRecord(high).wireless, 255);
    EXPECT_EQ(informationFromLastRecord(high).OPmode, 255);
}

} // namespace
} // namespace lightpen
