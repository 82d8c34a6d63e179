// SPDX-License-Identifier: MIT
#include "device/PenStateMachine.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace lightpen {
namespace {

constexpr Size kScreen{1280, 800};
constexpr double kTiny = std::numeric_limits<double>::denorm_min();

double above(double value) {
    return std::nextafter(value, std::numeric_limits<double>::infinity());
}

// Regions

TEST(PenStateMachineTest, EdgesBelongToTheScreen) {
    for (const double x : {0.0, -0.0, 640.0, 1280.0})
        for (const double y : {0.0, -0.0, 399.5, 800.0})
            EXPECT_EQ(regionOfPoint({x, y}, kScreen), kRegionInside) << x << ", " << y;
}

TEST(PenStateMachineTest, TheLeastStepBeyondAnEdgeIsOutside) {
    EXPECT_EQ(regionOfPoint({-kTiny, 400}, kScreen), kRegionLeft);
    EXPECT_EQ(regionOfPoint({-0.5, 400}, kScreen), kRegionLeft);
    EXPECT_EQ(regionOfPoint({above(1280), 400}, kScreen), kRegionRight);
    EXPECT_EQ(regionOfPoint({640, -kTiny}, kScreen), kRegionTop);
    EXPECT_EQ(regionOfPoint({640, above(800)}, kScreen), kRegionBottom);
}

TEST(PenStateMachineTest, SidesWinOverTopAndBottomInTheCorners) {
    EXPECT_EQ(regionOfPoint({-1, -1}, kScreen), kRegionLeft);
    EXPECT_EQ(regionOfPoint({-1, 801}, kScreen), kRegionLeft);
    EXPECT_EQ(regionOfPoint({1281, -1}, kScreen), kRegionRight);
    EXPECT_EQ(regionOfPoint({1281, 801}, kScreen), kRegionRight);
    EXPECT_EQ(regionOfPoint({1280, -1}, kScreen), kRegionTop);
    EXPECT_EQ(regionOfPoint({0, 801}, kScreen), kRegionBottom);
}

TEST(PenStateMachineTest, WithoutAScreenOnlyTheOriginIsInside) {
    EXPECT_EQ(regionOfPoint({0, 0}, {}), kRegionInside);
    EXPECT_EQ(regionOfPoint({1, 0}, {}), kRegionRight);
    EXPECT_EQ(regionOfPoint({0, 1}, {}), kRegionBottom);
}

TEST(PenStateMachineTest, FarAwayIsToTheRight) {
    EXPECT_EQ(regionOfPoint({4294967295.0, 4294967295.0}, kScreen), kRegionRight);
}

// Steps

using Kind = PenStep::Kind;

TEST(PenStateMachineTest, UpBecomesAPressWhateverTheAnchor) {
    for (const ScreenPoint anchor : {ScreenPoint{}, ScreenPoint{5, 9}})
        EXPECT_EQ(penStep(kPenUp, anchor, {500, 400}), (PenStep{Kind::press, 0}));
}

TEST(PenStateMachineTest, DownAndDragStayADragWithinTheRadius) {
    for (const PenState state : {kPenDown, kPenDrag}) {
        EXPECT_EQ(penStep(state, {500, 400}, {500, 400}), (PenStep{Kind::drag, 0}));
        EXPECT_EQ(penStep(state, {500, 400}, {506, 392}), (PenStep{Kind::drag, 10}));
        EXPECT_EQ(penStep(state, {500, 400}, {490, 400}), (PenStep{Kind::drag, 10}));
        EXPECT_EQ(penStep(state, {500, 400}, {500, 410}), (PenStep{Kind::drag, 10}));
    }
}

TEST(PenStateMachineTest, DownAndDragLeaveTheAnchorBeyondTheRadius) {
    for (const PenState state : {kPenDown, kPenDrag}) {
        const PenStep step = penStep(state, {500, 400}, {510.01, 400});
        EXPECT_EQ(step.kind, Kind::leaveAnchor);
        EXPECT_NEAR(step.distance, 10.01, 1e-12);
        EXPECT_EQ(penStep(state, {500, 400}, {500 - 60, 400 + 80}), (PenStep{Kind::leaveAnchor, 100}));
        EXPECT_EQ(penStep(state, {16, 0}, {16, above(10)}).kind, Kind::leaveAnchor);
    }
}

TEST(PenStateMachineTest, WithoutAnAnchorNoDistanceIsMeasured) {
    EXPECT_EQ(penStep(kPenDown, {0, 0}, {900, 700}), (PenStep{Kind::drag, 0}));
    EXPECT_EQ(penStep(kPenDrag, {-0.0, 0}, {900, 700}), (PenStep{Kind::drag, 0}));
    // One coordinate of 0 is an anchor like any other.
    EXPECT_EQ(penStep(kPenDrag, {0, 3}, {0, 40}), (PenStep{Kind::leaveAnchor, 37}));
    EXPECT_EQ(penStep(kPenDrag, {3, 0}, {40, 0}), (PenStep{Kind::leaveAnchor, 37}));
}

TEST(PenStateMachineTest, AnyOtherStateIsAnError) {
    for (const std::int32_t state : {-1, 3, 255, std::numeric_limits<std::int32_t>::min()})
        EXPECT_EQ(penStep(state, {500, 400}, {501, 401}), (PenStep{Kind::error, 0})) << state;
}

} // namespace
} // namespace lightpen
