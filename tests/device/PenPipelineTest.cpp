// SPDX-License-Identifier: MIT
#include "device/PenPipeline.h"

#include <limits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen {
namespace {

using Kind = PenAction::Kind;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr Size kScreen{1280, 800};
constexpr double kTiny = std::numeric_limits<double>::denorm_min();

double above(double value) {
    return std::nextafter(value, std::numeric_limits<double>::infinity());
}

CameraPoint pointOf(std::vector<std::uint8_t> report) {
    return pointInCameraRange(readPenReport(report));
}

// Reports: five bytes are all that is read

TEST(PenPipelineTest, CoordinatesAreLittleEndianBehindTheFirstByte) {
    const std::vector<std::uint8_t> bytes{0xAA, 0x34, 0x02, 0x56, 0x07};
    const PenReport report = readPenReport(bytes);
    EXPECT_TRUE(report.lightSpot);
    EXPECT_EQ(report.x, 0x0234);
    EXPECT_EQ(report.y, 0x0756);
}

TEST(PenPipelineTest, OnlyTheLowByteOfXSaysWhetherThereIsASpot) {
    EXPECT_EQ(pointOf({0, 0x00, 0x05, 0x00, 0x03}), kPenUpPoint);
    EXPECT_EQ(pointOf({0, 0x00, 0x00, 0xFF, 0x06}), kPenUpPoint);
    EXPECT_EQ(pointOf({1, 0x00, 0xFF, 0xFF, 0xFF}), kPenUpPoint);
    EXPECT_EQ(pointOf({0, 0x01, 0x05, 0x00, 0x03}), (CameraPoint{1281, 768}));
    // Neither the first byte nor a Y of zero makes a spot go away.
    EXPECT_EQ(pointOf({0, 0x01, 0x00, 0x00, 0x00}), (CameraPoint{1, 0}));
}

TEST(PenPipelineTest, BoundsOfTheRangeBelongToIt) {
    EXPECT_EQ(pointOf({0, 0xFF, 0x09, 0x80, 0x07}), (CameraPoint{2559, 1920}));
    EXPECT_EQ(pointInCameraRange({true, 2560, 1920}), (CameraPoint{2560, 1920}));
    EXPECT_EQ(pointOf({0, 0x01, 0x0A, 0x80, 0x07}), kFarAwayPoint);
    EXPECT_EQ(pointOf({0, 0x01, 0x00, 0x81, 0x07}), kFarAwayPoint);
    EXPECT_EQ(pointOf({0, 0xFF, 0x7F, 0xFF, 0x7F}), kFarAwayPoint);
}

TEST(PenPipelineTest, FarAwayIsTheLargest32BitWordInBothCoordinates) {
    EXPECT_EQ(kFarAwayPoint, (CameraPoint{4294967295.0, 4294967295.0}));
}

TEST(PenPipelineTest, HighBitMakesACoordinateNegativeAndKeepsItInRange) {
    EXPECT_EQ(pointOf({0, 0xFF, 0xFF, 0x10, 0x00}), (CameraPoint{-1, 16}));
    EXPECT_EQ(pointOf({0, 0x01, 0x80, 0x00, 0x80}), (CameraPoint{-32767, -32768}));
    EXPECT_EQ(pointOf({0, 0x05, 0x00, 0xFE, 0xFF}), (CameraPoint{5, -2}));
    // Both of them -1 read as pen up further on.
    EXPECT_EQ(pointOf({0, 0xFF, 0xFF, 0xFF, 0xFF}), kPenUpPoint);
    // A Y out of range is one whatever the X.
    EXPECT_EQ(pointOf({0, 0xFF, 0xFF, 0xFF, 0x7F}), kFarAwayPoint);
}

// Made-up pen-up

TEST(PenPipelineTest, AnyReportCanBeMadeOneOfAPenThatIsUp) {
    for (const std::size_t length : {0, 1, 4, 5, 6, 32, 804}) {
        std::vector<std::uint8_t> report(length, 0x5A);
        writePenUpReport(report);
        EXPECT_THAT(report, SizeIs(std::max<std::size_t>(length, 5)));
        EXPECT_EQ(report[0], 1);
        EXPECT_THAT(std::span(report).subspan(1), Each(0));
        EXPECT_EQ(pointOf(report), kPenUpPoint);
    }
}

// Regions

TEST(PenPipelineTest, EdgesBelongToTheScreen) {
    for (const double x : {0.0, -0.0, 640.0, 1280.0})
        for (const double y : {0.0, -0.0, 399.5, 800.0})
            EXPECT_EQ(regionOfPoint({x, y}, kScreen), kRegionInside) << x << ", " << y;
}

TEST(PenPipelineTest, TheLeastStepBeyondAnEdgeIsOutside) {
    EXPECT_EQ(regionOfPoint({-kTiny, 400}, kScreen), kRegionLeft);
    EXPECT_EQ(regionOfPoint({-0.5, 400}, kScreen), kRegionLeft);
    EXPECT_EQ(regionOfPoint({above(1280), 400}, kScreen), kRegionRight);
    EXPECT_EQ(regionOfPoint({640, -kTiny}, kScreen), kRegionTop);
    EXPECT_EQ(regionOfPoint({640, above(800)}, kScreen), kRegionBottom);
}

TEST(PenPipelineTest, SidesWinOverTopAndBottomInTheCorners) {
    EXPECT_EQ(regionOfPoint({-1, -1}, kScreen), kRegionLeft);
    EXPECT_EQ(regionOfPoint({-1, 801}, kScreen), kRegionLeft);
    EXPECT_EQ(regionOfPoint({1281, -1}, kScreen), kRegionRight);
    EXPECT_EQ(regionOfPoint({1281, 801}, kScreen), kRegionRight);
    EXPECT_EQ(regionOfPoint({1280, -1}, kScreen), kRegionTop);
    EXPECT_EQ(regionOfPoint({0, 801}, kScreen), kRegionBottom);
}

TEST(PenPipelineTest, WithoutAScreenOnlyTheOriginIsInside) {
    EXPECT_EQ(regionOfPoint({0, 0}, {}), kRegionInside);
    EXPECT_EQ(regionOfPoint({1, 0}, {}), kRegionRight);
    EXPECT_EQ(regionOfPoint({0, 1}, {}), kRegionBottom);
}

TEST(PenPipelineTest, FarAwayIsToTheRight) {
    EXPECT_EQ(regionOfPoint({4294967295.0, 4294967295.0}, kScreen), kRegionRight);
}

// Strokes

Stroke strokeOf(std::int32_t state, ScreenPoint anchor) {
    return {state, {490, 410}, anchor, true};
}

TEST(PenPipelineTest, UpBecomesAPressWhateverTheAnchor) {
    for (const ScreenPoint anchor : {ScreenPoint{}, ScreenPoint{5, 9}}) {
        const PenResult result = penMoves({kPenUp, {}, anchor, false}, {500, 400}, kScreen);
        EXPECT_EQ(result.stroke, (Stroke{kPenDown, {500, 400}, {500, 400}, true}));
        EXPECT_THAT(result.actions, ElementsAre(PenAction{Kind::beginLongPress, {500, 400}},
                                                PenAction{Kind::press, {500, 400}}));
    }
}

TEST(PenPipelineTest, DownAndDragStayADragWithinTheRadius) {
    for (const PenState state : {kPenDown, kPenDrag})
        for (const ScreenPoint point : {ScreenPoint{500, 400}, {506, 392}, {490, 400}, {500, 410}}) {
            const PenResult result = penMoves(strokeOf(state, {500, 400}), point, kScreen);
            EXPECT_EQ(result.stroke, (Stroke{kPenDrag, point, {500, 400}, true}));
            EXPECT_THAT(result.actions,
                        ElementsAre(PenAction{Kind::stay, point}, PenAction{Kind::drag, point}));
        }
}

TEST(PenPipelineTest, DownAndDragLeaveTheAnchorBeyondTheRadius) {
    for (const PenState state : {kPenDown, kPenDrag}) {
        const PenResult result = penMoves(strokeOf(state, {500, 400}), {440, 480}, kScreen);
        EXPECT_EQ(result.stroke, (Stroke{kPenDrag, {440, 480}, {}, true}));
        EXPECT_THAT(result.actions, ElementsAre(PenAction{Kind::leaveAnchor, {500, 400}, 100},
                                                PenAction{Kind::drag, {440, 480}}));
        const auto little = penMoves(strokeOf(state, {500, 400}), {510.01, 400}, kScreen).actions;
        EXPECT_EQ(little.front().kind, Kind::leaveAnchor);
        EXPECT_NEAR(little.front().distance, 10.01, 1e-12);
        EXPECT_EQ(penMoves(strokeOf(state, {16, 0}), {16, above(10)}, kScreen).actions.front().kind,
                  Kind::leaveAnchor);
    }
}

TEST(PenPipelineTest, OnlyTheOriginIsNoAnchor) {
    const auto first = [](ScreenPoint anchor, ScreenPoint point) {
        return penMoves(strokeOf(kPenDrag, anchor), point, kScreen).actions.front();
    };
    EXPECT_EQ(first({0, 0}, {900, 700}), (PenAction{Kind::stay, {900, 700}}));
    EXPECT_EQ(first({-0.0, 0}, {900, 700}), (PenAction{Kind::stay, {900, 700}}));
    EXPECT_EQ(first({0, 3}, {0, 40}), (PenAction{Kind::leaveAnchor, {0, 3}, 37}));
    EXPECT_EQ(first({3, 0}, {40, 0}), (PenAction{Kind::leaveAnchor, {3, 0}, 37}));
}

TEST(PenPipelineTest, AnyOtherStateFailsAndStays) {
    for (const std::int32_t state : {-1, 3, 255, std::numeric_limits<std::int32_t>::min()}) {
        const PenResult result = penMoves(strokeOf(state, {500, 400}), {501, 401}, kScreen);
        EXPECT_EQ(result.stroke, strokeOf(state, {500, 400}));
        EXPECT_THAT(result.actions, ElementsAre(PenAction{Kind::fail, {501, 401}}));
    }
}

TEST(PenPipelineTest, BesideTheScreenTheStrokeStaysAndItsRegionIsTold) {
    for (const std::int32_t state : {0, 1, 2, 7}) {
        const PenResult result = penMoves(strokeOf(state, {500, 400}), {640, 801}, kScreen);
        EXPECT_EQ(result.stroke, strokeOf(state, {500, 400}));
        EXPECT_EQ(result.region, kRegionBottom);
        EXPECT_THAT(result.actions, ElementsAre(PenAction{Kind::leaveScreen, {640, 801}}));
    }
}

TEST(PenPipelineTest, WhatIsNotANumberDoesNothing) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const ScreenPoint point : {ScreenPoint{nan, 400}, {500, nan}, {nan, nan}})
        for (const std::int32_t state : {0, 1, 2, 7}) {
            const PenResult result = penMoves(strokeOf(state, {500, 400}), point, kScreen);
            EXPECT_EQ(result.stroke, strokeOf(state, {500, 400}));
            EXPECT_EQ(result.region, kRegionInside);
            EXPECT_THAT(result.actions, IsEmpty());
        }
}

TEST(PenPipelineTest, LiftingReleasesWhereTheLastEventWasAndKeepsTheAnchor) {
    for (const std::int32_t state : {1, 2, 7}) {
        const PenResult result = penLifts(strokeOf(state, {500, 400}));
        EXPECT_EQ(result.stroke, (Stroke{kPenUp, {}, {500, 400}, false}));
        EXPECT_THAT(result.actions, ElementsAre(PenAction{Kind::release, {490, 410}},
                                                PenAction{Kind::cancelLongPress, {500, 400}}));
    }
    const Stroke up{kPenUp, {}, {500, 400}, false};
    EXPECT_EQ(penLifts(up).stroke, up);
    EXPECT_THAT(penLifts(up).actions, IsEmpty());
}

// A calibration

TEST(PenPipelineTest, OnePointOfATouchFeedsTheCalibration) {
    const PenResult down = penFeeds({}, {705, 430});
    EXPECT_TRUE(down.touchesTarget);
    EXPECT_EQ(down.stroke, (Stroke{kPenDown, {}, {}, false}));
    EXPECT_THAT(down.actions, IsEmpty());
    EXPECT_FALSE(penFeeds(down.stroke, {706, 431}).touchesTarget);
    // Far away is a touch like any other.
    EXPECT_TRUE(penFeeds({}, kFarAwayPoint).touchesTarget);
}

TEST(PenPipelineTest, EitherCoordinateOfMinusOneLiftsThePenOfACalibration) {
    for (const CameraPoint point : {CameraPoint{-1, -1}, {-1, 430}, {705, -1}}) {
        const PenResult up = penFeeds({kPenDrag, {490, 410}, {5, 9}, false}, point);
        EXPECT_FALSE(up.touchesTarget);
        EXPECT_EQ(up.stroke, (Stroke{kPenUp, {}, {5, 9}, false}));
        EXPECT_THAT(up.actions, IsEmpty());
    }
}

TEST(PenPipelineTest, AStrokeThatACalibrationInterruptsIsReleasedAndTouchesNoTarget) {
    const PenResult result = penFeeds(strokeOf(kPenDrag, {500, 400}), {705, 430});
    EXPECT_FALSE(result.touchesTarget);
    EXPECT_EQ(result.stroke, (Stroke{kPenDown, {}, {500, 400}, false}));
    EXPECT_THAT(result.actions, ElementsAre(PenAction{Kind::release, {490, 410}},
                                            PenAction{Kind::cancelLongPress, {500, 400}}));
    EXPECT_EQ(penFeeds(strokeOf(kPenDrag, {500, 400}), {-1, -1}).stroke.state, kPenUp);
}

} // namespace
} // namespace lightpen
