// SPDX-License-Identifier: MIT
#include "calibration/CalibrationQuality.h"

#include <gtest/gtest.h>

#include <limits>

namespace lightpen {
namespace {

// Row by row, as touches come.
TEST(CalibrationQualityTest, ARectangleIsAsGoodAsCanBeWhicheverWayRound) {
    EXPECT_DOUBLE_EQ(leastCornerShare({{400, 300}, {2100, 300}, {400, 1600}, {2100, 1600}}), 0.5);
    EXPECT_DOUBLE_EQ(leastCornerShare({{2100, 300}, {400, 300}, {2100, 1600}, {400, 1600}}), 0.5)
        << "mirrored";
    EXPECT_DOUBLE_EQ(leastCornerShare({{2100, 1600}, {400, 1600}, {2100, 300}, {400, 300}}), 0.5) << "turned";
}

TEST(CalibrationQualityTest, AKeystoneCountsByItsShortSide) {
    EXPECT_NEAR(leastCornerShare({{800, 300}, {1700, 300}, {350, 1600}, {2150, 1600}}), 1.0 / 3, 1e-12);
    EXPECT_GE(leastCornerShare({{900, 300}, {1300, 310}, {300, 1600}, {2100, 1590}}), kLeastGoodShare);
    EXPECT_LT(leastCornerShare({{1150, 300}, {1350, 300}, {350, 1600}, {2150, 1600}}), kLeastGoodShare);
}

TEST(CalibrationQualityTest, ThreeOnALineADentAndACrossingAreBad) {
    EXPECT_NEAR(leastCornerShare({{400, 300}, {2100, 300}, {400, 1600}, {1250, 950}}), 0, 1e-12);
    EXPECT_LT(leastCornerShare({{400, 300}, {2100, 300}, {400, 1600}, {1000, 750}}), 0) << "a dent";
    EXPECT_LT(leastCornerShare({{400, 310}, {2100, 300}, {2000, 1600}, {450, 1590}}), 0) << "a crossing";
}

TEST(CalibrationQualityTest, NoAreaNoNumberAndOtherCountsAreNone) {
    constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(leastCornerShare({{7, 9}, {7, 9}, {7, 9}, {7, 9}}), 0);
    EXPECT_EQ(leastCornerShare({{1, 1}, {2, 2}, {3, 3}, {4, 4}}), 0);
    EXPECT_EQ(leastCornerShare({{400, kNotANumber}, {2100, 300}, {400, 1600}, {2100, 1600}}), 0);
    EXPECT_EQ(leastCornerShare({}), 0);
    EXPECT_EQ(leastCornerShare(PointList(9)), 0);
}

} // namespace
} // namespace lightpen
