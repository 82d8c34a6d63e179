// SPDX-License-Identifier: MIT
#include "unit/wire/PenReports.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen {
namespace {

using testing::ElementsAre;

TEST(PenReportsTest, ASpotIsLittleEndianBehindAPlainByte) {
    EXPECT_THAT(spotReport({1284, 771}, true), ElementsAre(1, 0x04, 0x05, 0x03, 0x03));
    EXPECT_THAT(spotReport({255, 256}, true), ElementsAre(1, 0xFF, 0x00, 0x00, 0x01));
    EXPECT_THAT(spotReport({2559, 1920}, true), ElementsAre(1, 0xFF, 0x09, 0x80, 0x07));
}

TEST(PenReportsTest, NoSpotIsAllZero) {
    EXPECT_THAT(noSpotReport(), ElementsAre(0, 0, 0, 0, 0));
}

TEST(PenReportsTest, CoordinatesAreRounded) {
    EXPECT_EQ(1283, reportedX(1283.49, true));
    EXPECT_EQ(1284, reportedX(1283.5, true));
    EXPECT_EQ(771, reportedY(770.5));
}

TEST(PenReportsTest, AnXWithoutLowByteGivesItsNeighbour) {
    EXPECT_EQ(1, reportedX(0, true));
    EXPECT_EQ(1, reportedX(-0.4, true));
    EXPECT_EQ(257, reportedX(256, true));
    EXPECT_EQ(255, reportedX(255.6, true));
    EXPECT_EQ(513, reportedX(512.3, true));
    EXPECT_EQ(2559, reportedX(2560, true));
    EXPECT_EQ(2559, reportedX(2560.4, true));
    EXPECT_EQ(2817, reportedX(2816, true));
}

TEST(PenReportsTest, EveryXOfTheRangeStaysInIt) {
    for (int x = 0; x <= kCameraWidth; ++x) {
        const int reported = reportedX(x, true);
        EXPECT_NE(0, reported & 0xFF) << x;
        EXPECT_GE(reported, 1) << x;
        EXPECT_LE(reported, 2559) << x;
        EXPECT_LE(std::abs(reported - x), 1) << x;
    }
}

TEST(PenReportsTest, WithoutTheMannerTheXIsSentAsItIs) {
    EXPECT_EQ(512, reportedX(512, false));
    EXPECT_EQ(0, reportedX(0, false));
    EXPECT_EQ(2560, reportedX(2560, false));
}

TEST(PenReportsTest, YHasNoForbiddenValues) {
    EXPECT_EQ(0, reportedY(0));
    EXPECT_EQ(512, reportedY(512));
    EXPECT_EQ(1920, reportedY(1920.2));
}

TEST(PenReportsTest, SpotsBesideTheRangeAreReportedAboveIt) {
    EXPECT_EQ(2561, reportedX(2561, true));
    EXPECT_EQ(2561, reportedX(-1, true));
    EXPECT_EQ(2650, reportedX(-90, true));
    EXPECT_EQ(1921, reportedY(1920.5));
    EXPECT_EQ(1980, reportedY(-60));
}

TEST(PenReportsTest, FarOffSpotsDoNotReadAsNegative) {
    EXPECT_EQ(32767, reportedX(1e9, true));
    EXPECT_EQ(32767, reportedY(-1e9));
}

} // namespace
} // namespace lightpen
