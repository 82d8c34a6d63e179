// SPDX-License-Identifier: MIT
#include "calibration/CalibrationSteps.h"

#include <cmath>
#include <limits>
#include <ostream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen {

void PrintTo(const WindowPoint& point, std::ostream* stream) {
    *stream << NSStringFromPoint(point);
}

namespace {

using testing::ElementsAre;
using Origins = std::vector<WindowPoint>;

constexpr Size kFullHD{1920, 1080};
constexpr Size kTarget{20, 20};

Origins originsOf(const StepLayout& layout) {
    Origins origins;
    for (std::int64_t step = 0; step < layout.grid.rows * layout.grid.columns; ++step)
        origins.push_back(targetOriginOfStep(layout, step));
    return origins;
}

TEST(CalibrationStepsTest, FourTargetsFromTheUpperLeftRowByRow) {
    EXPECT_THAT(originsOf({{2, 2}, kFullHD, kTarget}),
                ElementsAre(WindowPoint{160, 995}, WindowPoint{1740, 995}, WindowPoint{160, 65},
                            WindowPoint{1740, 65}));
}

TEST(CalibrationStepsTest, NineTargetsStandLeftOfAndBelowAnEvenDivision) {
    Origins expected;
    for (const double y : {995, 455, 65})
        for (const double x : {160, 780, 1740})
            expected.push_back({x, y});
    EXPECT_EQ(originsOf({{3, 3}, kFullHD, kTarget}), expected);
}

TEST(CalibrationStepsTest, TwentyFiveOblongTargetsOnALaptopsScreen) {
    Origins expected;
    for (const double y : {669, 477, 285, 93, 51})
        for (const double x : {138.0, 139.5, 481.0, 822.5, 1164.0})
            expected.push_back({x, y});
    EXPECT_EQ(originsOf({{5, 5}, {1366, 768}, {64, 48}}), expected);
}

// Neither division is exact, so the digits show what is rounded to single precision and when.
TEST(CalibrationStepsTest, EightyTargetsOfOddSizeOnALaptopsScreen) {
    const double xs[] = {153.5,
                         -34.72222900390625,
                         117.0555419921875,
                         268.83331298828125,
                         420.611083984375,
                         572.3888549804688,
                         724.1666259765625,
                         875.9443359375,
                         1027.72216796875,
                         1179.5};
    const double ys[] = {682.5,
                         572.7857131958008,
                         463.07142639160156,
                         353.35713958740234,
                         243.64285278320312,
                         133.9285659790039,
                         24.214279174804688,
                         64.49999237060547};
    Origins expected;
    for (const double y : ys)
        for (const double x : xs)
            expected.push_back({x, y});
    EXPECT_EQ(originsOf({{8, 10}, {1366, 768}, {33, 21}}), expected);
}

TEST(CalibrationStepsTest, EightyTargetsOnAnUprightScreen) {
    const StepLayout layout{{8, 10}, {1080, 1920}, kTarget};
    EXPECT_EQ(targetOriginOfStep(layout, 1), (WindowPoint{-60, 1835}));
    EXPECT_EQ(targetOriginOfStep(layout, 67), (WindowPoint{660, 189.2857666015625}));
    EXPECT_EQ(targetOriginOfStep(layout, 79), (WindowPoint{900, 65.00006103515625}));
}

TEST(CalibrationStepsTest, FirstOriginIsThatOfStepZero) {
    for (const Size screen : {kFullHD, Size{1080, 1920}, Size{1023, 767}})
        for (const Size target : {kTarget, Size{33, 21}, Size{64, 64}})
            for (const TargetGrid grid : {TargetGrid{2, 2}, {3, 3}, {5, 5}, {8, 10}})
                EXPECT_EQ(firstTargetOrigin(screen, target), targetOriginOfStep({grid, screen, target}, 0));
}

TEST(CalibrationStepsTest, NoScreenAndNoTargetAreOfSizeZero) {
    EXPECT_THAT(originsOf({{2, 2}, {}, {}}), ElementsAre(WindowPoint{170, -75}, WindowPoint{-170, -75},
                                                         WindowPoint{170, 75}, WindowPoint{-170, 75}));
    EXPECT_EQ(firstTargetOrigin({}, {}), (WindowPoint{170, -75}));
}

TEST(CalibrationStepsTest, GridsThatDivideNothingGiveFinitePlaces) {
    for (const TargetGrid grid : {TargetGrid{0, 0}, {1, 1}, {1, 3}, {3, 1}, {-2, -5}})
        for (const std::int64_t step : {0, 1, 2, 7}) {
            const WindowPoint origin = targetOriginOfStep({grid, kFullHD, kTarget}, step);
            EXPECT_TRUE(std::isfinite(origin.x) && std::isfinite(origin.y)) << grid.rows << " " << step;
        }
    EXPECT_EQ(targetOriginOfStep({{3, 1}, kFullHD, kTarget}, 1), (WindowPoint{160, 455}));
}

TEST(CalibrationStepsTest, SamePointIsNearerThanHalfTheTargetOnBothAxes) {
    constexpr Size target{30, 10};
    EXPECT_TRUE(isSamePoint({100, 50}, {100, 50}, target));
    EXPECT_TRUE(isSamePoint({100, 50}, {114.999, 45.001}, target));
    EXPECT_TRUE(isSamePoint({100, 50}, {85.001, 54.999}, target));
    EXPECT_FALSE(isSamePoint({100, 50}, {115, 50}, target)) << "half the target is not nearer";
    EXPECT_FALSE(isSamePoint({100, 50}, {100, 55}, target));
    EXPECT_FALSE(isSamePoint({100, 50}, {100, 45}, target));
    EXPECT_FALSE(isSamePoint({100, 50}, {85, 45}, target));
    EXPECT_FALSE(isSamePoint({100, 50}, {100, 62}, target)) << "x alone is not enough";
    EXPECT_FALSE(isSamePoint({100, 50}, {120, 50}, target)) << "y alone is not enough";
    EXPECT_FALSE(isSamePoint({100, 50}, {100, 50}, {})) << "without a target nothing repeats";
}

TEST(CalibrationStepsTest, DifferenceIsOfSinglePrecisionBeforeItIsCompared) {
    // Nearer than 10 in double precision, and 10 once rounded.
    const double almostTen = 10 - 1e-8;
    ASSERT_LT(almostTen, 10.0);
    EXPECT_FALSE(isSamePoint({0, 0}, {almostTen, 0}, kTarget));
    EXPECT_FALSE(isSamePoint({0, 0}, {0, -almostTen}, kTarget));
    EXPECT_TRUE(isSamePoint({0, 0}, {std::nextafterf(10, 0), 0}, kTarget));
}

TEST(CalibrationStepsTest, WhatIsNoNumberRepeatsNothing) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(isSamePoint({nan, 0}, {nan, 0}, kTarget));
    EXPECT_FALSE(isSamePoint({0, 0}, {0, nan}, kTarget));
}

} // namespace
} // namespace lightpen
