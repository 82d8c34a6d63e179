// SPDX-License-Identifier: MIT
// What touches become on the way to the pointer: presses, drags, releases and region notifications.
#include <cmath>
#include <limits>

#include "kit/device/PassFixture.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class StrokesTest : public PassFixture {
protected:
    StrokesTest() { beginArmedThread(); }

    // The stroke's own fields.
    void expectStroke(std::int32_t state, ScreenPoint previous, ScreenPoint anchor) {
        EXPECT_EQ(driver->_lightPenState, state);
        EXPECT_EQ(driver->_previousPoint, previous);
        EXPECT_EQ(driver->_AnchorPointForLongPress.load(), anchor);
    }
};

// The pen state machine

TEST_F(StrokesTest, ATouchPressesWhereItMaps) {
    Pass expected{.posted = {down(503, 307)},
                  .lines = mappedLines("1001, 601", "1001.00,601.00", "503.5, 307.5", 4),
                  .sleeps = {kPassSleep}};
    expected.lines.insert(
        expected.lines.end(),
        {"Event n:2411 currentPoint(504,308)", "Event n:2429 Mouse Down 0", "Event n:1789 state up to down"});
    EXPECT_EQ(passOn(1001, 601), expected);
    expectStroke(1, {503.5, 307.5}, {503.5, 307.5});
}

TEST_F(StrokesTest, EveryFurtherReportDragsAlsoWhereItStands) {
    passOnScreen(500, 400);
    const Pass standing{.posted = {drag(500, 400)},
                        .lines = screenLines("500, 400", 4, {"Event n:1806 state mouse drag"}),
                        .sleeps = {kPassSleep}};
    EXPECT_EQ(passOnScreen(500, 400), standing);
    expectStroke(2, {500, 400}, {500, 400});
    EXPECT_EQ(passOnScreen(500, 400), standing);
    expectStroke(2, {500, 400}, {500, 400});
}

TEST_F(StrokesTest, TenPointsFromTheAnchorIsStillNear) {
    for (const auto& [dx, dy] : {std::pair(6.0, -8.0), std::pair(-10.0, 0.0), std::pair(0.0, 10.0)}) {
        passOnScreen(500, 400);
        const Pass near = passOnScreen(500 + dx, 400 + dy);
        EXPECT_EQ(near.posted, (std::vector{drag(static_cast<int>(500 + dx), static_cast<int>(400 + dy))}));
        EXPECT_EQ(near.lines.back(), "Event n:1806 state mouse drag");
        expectStroke(2, {500 + dx, 400 + dy}, {500, 400});
        passOn(penUpReport());
    }
}

TEST_F(StrokesTest, LeavingTheAnchorFromDownGivesUpTheLongPress) {
    passOnScreen(500, 400);
    EXPECT_EQ(passOnScreen(500, 410.01),
              (Pass{.posted = {drag(500, 410)},
                    .lines = screenLines("500, 410.01", 4,
                                         {"Event n:1798 cancelPreviousPerformRequestsWithTarget, anchor: "
                                          "{500, 400}, distance:10"}),
                    .sleeps = {kPassSleep}}));
    expectStroke(2, {500, 410.01}, {0, 0});
}

TEST_F(StrokesTest, LeavingTheAnchorFromDragGivesItUpToo) {
    passOnScreen(500, 400);
    passOnScreen(503, 400);
    const Pass left = passOnScreen(512, 405); // 13 from the anchor, 10.3 from the last point
    EXPECT_EQ(left.posted, (std::vector{drag(512, 405)}));
    EXPECT_EQ(left.lines.back(),
              "Event n:1798 cancelPreviousPerformRequestsWithTarget, anchor: {500, 400}, distance:13");
    expectStroke(2, {512, 405}, {0, 0});
}

TEST_F(StrokesTest, AStrokeThatHasLeftItsAnchorDragsWhereverItGoes) {
    passOnScreen(500, 400);
    passOnScreen(700, 400);
    EXPECT_EQ(passOnScreen(20, 790),
              (Pass{.posted = {drag(20, 790)},
                    .lines = screenLines("20, 790", 4, {"Event n:1806 state mouse drag"}),
                    .sleeps = {kPassSleep}}));
    EXPECT_EQ(passOnScreen(500, 400).lines.back(), "Event n:1806 state mouse drag");
    expectStroke(2, {500, 400}, {0, 0});
}

// A touch at the screen's corner: its anchor is what stands for "none".
TEST_F(StrokesTest, ATouchAtTheOriginHasNoAnchorToLeave) {
    EXPECT_EQ(passOnScreen(0, 0).posted, (std::vector{down(0, 0)}));
    EXPECT_EQ(passOnScreen(300, 0).lines.back(), "Event n:1806 state mouse drag");
}

TEST_F(StrokesTest, PenUpReleasesWhereAButtonEventWasLastPosted) {
    sharedState.delegateCallbackCount = 2;
    const Pass release{
        .posted = {up(500, 400)},
        .lines = {"Event n:1537 ( 0, 0)", "Event n:2456 Mouse Up 0", "Event n:1737 state down to up 2"},
        .sleeps = {kPassSleep}};
    passOnScreen(500, 400);
    EXPECT_EQ(passOn(penUpReport()), release);
    expectStroke(0, {0, 0}, {500, 400}); // the anchor stays until the next touch
    passOnScreen(500, 400);
    passOnScreen(507, 401);
    EXPECT_EQ(passOn(penUpReport()).posted, (std::vector{up(507, 401)}));
}

TEST_F(StrokesTest, PenUpWithThePenUpPostsNothing) {
    EXPECT_EQ(passOn(penUpReport()), (Pass{.lines = {"Event n:1537 ( 0, 0)"}, .sleeps = {kPassSleep}}));
    runMainLoop();
    expectStroke(0, {0, 0}, {0, 0});
}

TEST_F(StrokesTest, ASpotThatReadsAsMinusOneTwiceIsAPenUp) {
    passOnScreen(500, 400);
    EXPECT_EQ(passOn(0xFFFF, 0xFFFF).posted, (std::vector{up(500, 400)}));
}

// Only both coordinates together mean pen up here.
TEST_F(StrokesTest, OneCoordinateOfMinusOneIsAnOrdinaryPoint) {
    EXPECT_EQ(passOn(0xFFFF, 601).posted, (std::vector{down(2, 307)}));
    EXPECT_EQ(passOn(1001, 0xFFFF).posted, (std::vector{drag(503, 6)}));
}

TEST_F(StrokesTest, AnyOtherStateIsAnErrorUntilThePenIsLifted) {
    for (const int state : {3, -1}) {
        driver->_lightPenState = state;
        EXPECT_EQ(passOnScreen(500, 400),
                  (Pass{.lines = screenLines("500, 400", 4, {"Event n:1812 state error"}),
                        .sleeps = {kPassSleep}}));
        EXPECT_EQ(driver->_lightPenState, state);
        EXPECT_EQ(passOn(penUpReport()).posted, (std::vector{up(0, 0)}));
        EXPECT_EQ(driver->_lightPenState, 0);
    }
}

// Regions

TEST_F(StrokesTest, EachRegionOutsideTheScreenIsBroadcastAndNothingElse) {
    struct Outside {
        double x, y;
        const char* text;
        int region;
        const char* name;
    };
    for (const Outside& point : {Outside{-0.5, 400, "-0.5, 400", 0, "LightPenNX7RegionLeft"},
                                 Outside{1280.25, 400, "1280.25, 400", 1, "LightPenNX7RegionRight"},
                                 Outside{640, -0.25, "640, -0.25", 2, "LightPenNX7RegionTop"},
                                 Outside{640, 800.5, "640, 800.5", 3, "LightPenNX7RegionButtom"}}) {
        EXPECT_EQ(passOnScreen(point.x, point.y), (Pass{.lines = screenLines(point.text, point.region),
                                                        .sleeps = {kPassSleep},
                                                        .regions = {point.name}}));
        expectStroke(0, {0, 0}, {0, 0});
    }
}

TEST_F(StrokesTest, TheScreensEdgeIsInside) {
    EXPECT_EQ(passOnScreen(1280, 800).posted, (std::vector{down(1280, 800)}));
}

TEST_F(StrokesTest, ARegionIsBroadcastForEveryReport) {
    for (int i = 0; i < 3; ++i)
        EXPECT_THAT(passOnScreen(640, 900).regions, ElementsAre("LightPenNX7RegionButtom"));
}

TEST_F(StrokesTest, LeavingTheScreenKeepsTheButtonDown) {
    passOnScreen(5, 400);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(passOnScreen(-3, 400), (Pass{.lines = screenLines("-3, 400", 0),
                                               .sleeps = {kPassSleep},
                                               .regions = {"LightPenNX7RegionLeft"}}));
        expectStroke(1, {5, 400}, {5, 400});
    }
    EXPECT_EQ(passOnScreen(7, 400).posted, (std::vector{drag(7, 400)}));
    passOnScreen(-3, 400);
    EXPECT_EQ(passOn(penUpReport()).posted, (std::vector{up(7, 400)}));
}

TEST_F(StrokesTest, FarAwayPointsAreMappedAndChangeNoState) {
    passOnScreen(500, 400);
    mapper->answer = std::optional<ScreenPoint>();
    EXPECT_EQ(passOn(2561, 601),
              (Pass{.lines = {"Event n:1505 ( 2561, 601)",
                              "Event n:1759 mappedPoint: (4294967295.00,4294967295.00)",
                              "Event n:1763 mappedPoint: {2147483650.5, 2147483654.5}, in Region: 1"},
                    .sleeps = {kPassSleep},
                    .regions = {"LightPenNX7RegionRight"}}));
    expectStroke(1, {500, 400}, {500, 400});
}

TEST_F(StrokesTest, WithoutAScreenOnlyTheOriginIsInside) {
    desk.desktop.frame.reset();
    EXPECT_THAT(passOnScreen(1, 0).regions, ElementsAre("LightPenNX7RegionRight"));
    EXPECT_THAT(passOnScreen(0, 1).regions, ElementsAre("LightPenNX7RegionButtom"));
    EXPECT_EQ(passOnScreen(0, 0).posted, (std::vector{down(0, 0)}));
}

// What is no output at all

TEST_F(StrokesTest, WithoutACalibrationThereIsNoOutput) {
    driver->setCalibrationCenter(nullptr);
    EXPECT_EQ(passOn(1001, 601),
              (Pass{.lines = {"Event n:1505 ( 1001, 601)", "Event n:1759 mappedPoint: (1001.00,601.00)"},
                    .sleeps = {kPassSleep}}));
    expectStroke(0, {0, 0}, {0, 0});
}

TEST_F(StrokesTest, ACalibrationThatGoesAwayInAStrokeLeavesTheReleaseToThePenUp) {
    passOnScreen(500, 400);
    driver->setCalibrationCenter(nullptr);
    EXPECT_THAT(passOn(1001, 601).posted, IsEmpty());
    EXPECT_EQ(passOn(penUpReport()).posted, (std::vector{up(500, 400)}));
}

TEST_F(StrokesTest, APointThatIsNowhereNeitherPressesNorMovesAStroke) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const ScreenPoint nowhere : {ScreenPoint{nan, nan}, {nan, 400}, {500, nan}}) {
        EXPECT_THAT(passOnScreen(nowhere.x, nowhere.y).posted, IsEmpty());
        EXPECT_EQ(driver->_lightPenState, 0);
        passOnScreen(500, 400);
        EXPECT_THAT(passOnScreen(nowhere.x, nowhere.y).posted, IsEmpty());
        EXPECT_EQ(passOn(penUpReport()).posted, (std::vector{up(500, 400)}));
    }
}

TEST_F(StrokesTest, AnInfinitePointIsOutside) {
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_THAT(passOnScreen(infinity, 400).regions, ElementsAre("LightPenNX7RegionRight"));
    EXPECT_THAT(passOnScreen(640, -infinity).regions, ElementsAre("LightPenNX7RegionTop"));
}

// Light while the unit is still starting

TEST_F(StrokesTest, ASpotDuringTheStartIsNoise) {
    driver->_isStaring = true;
    const Pass dropped{.lines = {"Event n:1505 ( 1001, 601)"}}; // and no sleep
    EXPECT_EQ(passOn(1001, 601), dropped);
    EXPECT_TRUE(driver->_hasNoise);
    EXPECT_FALSE(driver->_isStaring);
    EXPECT_EQ(passOn(1001, 601), dropped);
    EXPECT_EQ(passOn(penUpReport()).sleeps, (std::vector{kPassSleep}));
    EXPECT_EQ(passOn(1001, 601), dropped); // until somebody has been told
    driver->_hasNoise = false;
    EXPECT_EQ(passOn(1001, 601).posted, (std::vector{down(503, 307)}));
}

TEST_F(StrokesTest, APenUpEndsTheStartWithoutNoise) {
    driver->_isStaring = true;
    EXPECT_EQ(passOn(penUpReport()), (Pass{.lines = {"Event n:1537 ( 0, 0)"}, .sleeps = {kPassSleep}}));
    EXPECT_FALSE(driver->_isStaring);
    EXPECT_FALSE(driver->_hasNoise);
    EXPECT_EQ(passOn(1001, 601).posted, (std::vector{down(503, 307)}));
}

} // namespace
} // namespace lightpen
