// SPDX-License-Identifier: MIT
#include "webcam/sight/LampShift.h"

#include <limits>

#include <gtest/gtest.h>

#include "unit/room/Homography.h"

namespace lightpen::webcam {
namespace {

using Kind = LampFinding::Kind;

// Four targets of a screen of 1920 by 1080, as a camera far to the side sees them, and the screen's middle.
constexpr std::array<PlanePoint, 4> kCorners{{{610, 420}, {2090, 260}, {2270, 1650}, {330, 1430}}};
constexpr std::array<CameraPoint, 4> kPoints{{{610, 420}, {2090, 260}, {330, 1430}, {2270, 1650}}};
constexpr double kDiagonal = 2090; // the mean of the two

CameraPoint middle() {
    const PlanePoint point = Homography::ofRectangle(1580, 930, kCorners)->map({790, 465});
    return {point.x, point.y};
}

TEST(LampShiftTest, IsCountedFromWhereTheMiddleIsSeen) {
    const auto found = findLamp({middle().x + 21, middle().y - 13}, kPoints);
    EXPECT_EQ(found.kind, Kind::shifted);
    EXPECT_NEAR(found.shift.x, 21, 1e-6);
    EXPECT_NEAR(found.shift.y, -13, 1e-6);
}

TEST(LampShiftTest, WhatAHandMissesIsNone) {
    EXPECT_EQ(findLamp({middle().x + 2, middle().y + 2}, kPoints).kind, Kind::none);
    EXPECT_EQ(findLamp({middle().x + 2, middle().y + 2}, kPoints).shift, CameraPoint());
    EXPECT_EQ(findLamp({middle().x + 0.0015 * kDiagonal + 0.5, middle().y}, kPoints).kind, Kind::shifted);
}

TEST(LampShiftTest, WhatNoLampDoesIsRefused) {
    EXPECT_EQ(findLamp({middle().x, middle().y + 0.048 * kDiagonal}, kPoints).kind, Kind::shifted);
    const auto far = findLamp({middle().x, middle().y + 0.052 * kDiagonal}, kPoints);
    EXPECT_EQ(far.kind, Kind::implausible);
    EXPECT_EQ(far.shift, CameraPoint());
}

TEST(LampShiftTest, PointsThatAreNoCalibrationTellNothing) {
    EXPECT_EQ(findLamp({0, 0}, {}).kind, Kind::implausible);
    EXPECT_EQ(findLamp({20, 20}, {{{0, 0}, {10, 10}, {20, 20}, {30, 30}}}).kind, Kind::implausible);
    const double none = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(findLamp({none, 900}, kPoints).kind, Kind::implausible);
    EXPECT_EQ(findLamp(middle(), {{{610, none}, {2090, 260}, {330, 1430}, {2270, 1650}}}).kind,
              Kind::implausible);
}

TEST(PenTouchTest, ATouchIsOverWhenThePenIsLifted) {
    PenTouch touch;
    EXPECT_FALSE(touch.look({}));
    for (const double x : {100.0, 104.0, 102.0, 110.0, 104.0, 104.0, 103.0, 105.0, 100.0, 108.0})
        EXPECT_FALSE(touch.look(CameraPoint{x, 300 - x}));
    const auto place = touch.look({});
    ASSERT_TRUE(place);
    EXPECT_EQ(*place, (CameraPoint{104, 196}));
    EXPECT_FALSE(touch.look({}));
}

TEST(PenTouchTest, ASecondTouchKnowsNothingOfTheFirst) {
    PenTouch touch;
    touch.look({});
    for (int i = 0; i < 12; ++i)
        touch.look(CameraPoint{900, 900});
    EXPECT_TRUE(touch.look({}));
    for (int i = 0; i < 12; ++i)
        touch.look(CameraPoint{200, 300});
    EXPECT_EQ(touch.look({}), std::optional(CameraPoint{200, 300}));
}

TEST(PenTouchTest, APenThatIsDownAtFirstMustBeLiftedOnce) {
    PenTouch touch;
    for (int i = 0; i < 12; ++i)
        touch.look(CameraPoint{900, 900});
    EXPECT_FALSE(touch.look({}));
}

TEST(PenTouchTest, AStrokeAndABlinkAreNone) {
    PenTouch touch;
    touch.look({});
    for (int i = 0; i < 20; ++i)
        touch.look(CameraPoint{900 + 5.0 * i, 900});
    EXPECT_FALSE(touch.look({}));
    for (int i = 0; i < 7; ++i) // one picture of thirty a second, and the dark one behind it
        touch.look(CameraPoint{900, 900});
    EXPECT_FALSE(touch.look({}));
}

} // namespace
} // namespace lightpen::webcam
