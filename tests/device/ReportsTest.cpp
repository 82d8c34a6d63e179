// SPDX-License-Identifier: MIT
#include "device/Reports.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

CameraPoint pointOf(ReportBuffer report) {
    return pointInCameraRange(readPenReport(report));
}

// Pen reports: five bytes are all that is read

TEST(ReportsTest, CoordinatesAreLittleEndianBehindTheFirstByte) {
    const ReportBuffer bytes{0xAA, 0x34, 0x02, 0x56, 0x07};
    const PenReport report = readPenReport(bytes);
    EXPECT_TRUE(report.lightSpot);
    EXPECT_EQ(report.x, 0x0234);
    EXPECT_EQ(report.y, 0x0756);
}

TEST(ReportsTest, OnlyTheLowByteOfXSaysWhetherThereIsASpot) {
    EXPECT_EQ(pointOf({0, 0x00, 0x05, 0x00, 0x03}), kPenUpPoint);
    EXPECT_EQ(pointOf({0, 0x00, 0x00, 0xFF, 0x06}), kPenUpPoint);
    EXPECT_EQ(pointOf({1, 0x00, 0xFF, 0xFF, 0xFF}), kPenUpPoint);
    EXPECT_EQ(pointOf({0, 0x01, 0x05, 0x00, 0x03}), (CameraPoint{1281, 768}));
    // Neither the first byte nor a Y of zero makes a spot go away.
    EXPECT_EQ(pointOf({0, 0x01, 0x00, 0x00, 0x00}), (CameraPoint{1, 0}));
}

TEST(ReportsTest, BoundsOfTheRangeBelongToIt) {
    EXPECT_EQ(pointOf({0, 0xFF, 0x09, 0x80, 0x07}), (CameraPoint{2559, 1920}));
    EXPECT_EQ(pointInCameraRange({true, 2560, 1920}), (CameraPoint{2560, 1920}));
    EXPECT_EQ(pointOf({0, 0x01, 0x0A, 0x80, 0x07}), kFarAwayPoint);
    EXPECT_EQ(pointOf({0, 0x01, 0x00, 0x81, 0x07}), kFarAwayPoint);
    EXPECT_EQ(pointOf({0, 0xFF, 0x7F, 0xFF, 0x7F}), kFarAwayPoint);
}

TEST(ReportsTest, FarAwayIsTheLargest32BitWordInBothCoordinates) {
    EXPECT_EQ(kFarAwayPoint, (CameraPoint{4294967295.0, 4294967295.0}));
}

TEST(ReportsTest, HighBitMakesACoordinateNegativeAndKeepsItInRange) {
    EXPECT_EQ(pointOf({0, 0xFF, 0xFF, 0x10, 0x00}), (CameraPoint{-1, 16}));
    EXPECT_EQ(pointOf({0, 0x01, 0x80, 0x00, 0x80}), (CameraPoint{-32767, -32768}));
    EXPECT_EQ(pointOf({0, 0x05, 0x00, 0xFE, 0xFF}), (CameraPoint{5, -2}));
    // Both of them -1 read as pen up further on.
    EXPECT_EQ(pointOf({0, 0xFF, 0xFF, 0xFF, 0xFF}), kPenUpPoint);
    // A Y out of range is one whatever the X.
    EXPECT_EQ(pointOf({0, 0xFF, 0xFF, 0xFF, 0x7F}), kFarAwayPoint);
}

// Made-up pen-up

TEST(ReportsTest, PenUpReportIsAOneAndZerosUpToTheLength) {
    for (const std::size_t length : {std::size_t{8}, std::size_t{32}, std::size_t{804}}) {
        ReportBuffer report(900, 0x5A);
        writePenUpReport(report, length);
        ASSERT_THAT(report, SizeIs(900));
        EXPECT_EQ(report[0], 1);
        EXPECT_THAT(std::span(report).subspan(1, length - 1), Each(0));
        EXPECT_THAT(std::span(report).subspan(length), Each(0x5A));
        EXPECT_EQ(pointOf(report), kPenUpPoint);
    }
}

TEST(ReportsTest, PenUpReportFindsRoomInASmallBuffer) {
    for (const std::size_t length : {std::size_t{0}, std::size_t{1}, std::size_t{64}, std::size_t{65}}) {
        ReportBuffer report;
        writePenUpReport(report, length);
        EXPECT_THAT(report, SizeIs(std::max<std::size_t>(length, 64)));
        EXPECT_EQ(report[0], 1);
        EXPECT_EQ(pointOf(report), kPenUpPoint);
    }
}

TEST(ReportsTest, PenUpReportCoversThePositionHoweverShortItIs) {
    for (const std::size_t length : {std::size_t{0}, std::size_t{1}, std::size_t{4}}) {
        ReportBuffer report{9, 8, 7, 6, 5, 4};
        writePenUpReport(report, length);
        EXPECT_THAT(std::span(report).first(6), ElementsAre(1, 0, 0, 0, 0, 4)) << length;
    }
}

// Integers out of doubles

TEST(ReportsTest, DoublesAreTruncatedTowardZeroAndThenTo16Bits) {
    const std::pair<double, int> cases[] = {{0, 0},
                                            {100.9, 100},
                                            {-0.9, 0},
                                            {-1.5, 0xFFFF},
                                            {32767.99, 32767},
                                            {40000, 40000},
                                            {65535.5, 0xFFFF},
                                            {65536, 0},
                                            {65537.5, 1},
                                            {-40000, 65536 - 40000},
                                            {-65537, 0xFFFF},
                                            {4294967295.0, 0xFFFF},
                                            {1e15 + 3, (1'000'000'000'000'003LL) & 0xFFFF},
                                            {-1e300, 0},
                                            {std::numeric_limits<double>::denorm_min(), 0}};
    for (const auto& [value, word] : cases)
        EXPECT_EQ(truncatedTo16Bits(value), word) << value;
}

TEST(ReportsTest, WhatIsNoNumberBecomesZero) {
    using Limits = std::numeric_limits<double>;
    for (const double value : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity()})
        EXPECT_EQ(truncatedTo16Bits(value), 0);
}

} // namespace
} // namespace lightpen
