// SPDX-License-Identifier: MIT
// What touches become on the way to the pointer: presses, drags, releases and region notifications.
#include <limits>

#include "kit/device/PenFixture.h"

namespace lightpen {
namespace {

using testing::IsEmpty;

class StrokesTest : public PenFixture {
protected:
    StrokesTest() { openArmed(); }
};

TEST_F(StrokesTest, ATapAndADragAreToldLikeThis) {
    happened.clear();
    for (const int x : {1001, 1001, 1021, 1041, 1061}) // ten points each: the fourth leaves the anchor
        unit.sendReport(penReport(x, 601)), run(kPassSleep);
    unit.sendReport(penUpReport());
    run(kPassSleep);
    EXPECT_TRUE(matchesTranscript("stroke"));
}

// Presses, drags and releases

TEST_F(StrokesTest, ATouchPressesWhereItMaps) {
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

TEST_F(StrokesTest, EveryFurtherReportDragsAlsoWhereItStands) {
    passOnScreen(500, 400);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(passOnScreen(500, 400), (Deeds{"drag 500 400"}));
    EXPECT_EQ(passOnScreen(20, 790), (Deeds{"drag 20 790"}));
}

TEST_F(StrokesTest, PenUpReleasesWhereAButtonEventWasLastPosted) {
    passOnScreen(500, 400);
    desk.runLoop.posted = 0;
    EXPECT_EQ(lift(), (Deeds{"release 500 400"}));
    EXPECT_EQ(desk.runLoop.posted, 1) << "the long press is cancelled once";
    passOnScreen(500, 400);
    passOnScreen(507, 401);
    EXPECT_EQ(lift(), (Deeds{"release 507 401"}));
    EXPECT_THAT(lift(), IsEmpty());
}

TEST_F(StrokesTest, OnlyTwoCoordinatesOfMinusOneAreAPenUp) {
    EXPECT_EQ(passOn(0xFFFF, 601), (Deeds{"press 2 307"}));
    EXPECT_EQ(passOn(1001, 0xFFFF), (Deeds{"drag 503 6"}));
    EXPECT_EQ(passOn(0xFFFF, 0xFFFF), (Deeds{"release 503 6"}));
}

// Regions

TEST_F(StrokesTest, EachRegionOutsideTheScreenIsBroadcastForEveryReportAndNothingElse) {
    struct Outside {
        double x, y;
        const char* name;
    };
    for (const Outside& point : {Outside{-0.5, 400, "Left"}, Outside{1280.25, 400, "Right"},
                                 Outside{640, -0.25, "Top"}, Outside{640, 800.5, "Buttom"}})
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(passOnScreen(point.x, point.y),
                      (Deeds{std::string("broadcast LightPenNX7Region") + point.name}));
    EXPECT_EQ(passOnScreen(1280, 800), (Deeds{"press 1280 800"})) << "the screen's edge is inside";
    EXPECT_THAT(log.lines(), testing::Not(testing::Contains("Event n:1812 state error")));
}

TEST_F(StrokesTest, LeavingTheScreenKeepsTheButtonDown) {
    passOnScreen(5, 400);
    EXPECT_EQ(passOnScreen(-3, 400), (Deeds{"broadcast LightPenNX7RegionLeft"}));
    EXPECT_EQ(passOnScreen(7, 400), (Deeds{"drag 7 400"}));
    passOnScreen(-3, 400);
    EXPECT_EQ(lift(), (Deeds{"release 7 400"}));
}

TEST_F(StrokesTest, FarAwayPointsAreMappedAndChangeNoState) {
    passOn(1001, 601);
    happened.clear();
    EXPECT_EQ(passOn(2561, 601), (Deeds{"broadcast LightPenNX7RegionRight"}));
    EXPECT_EQ(passOn(1001, 1921), (Deeds{"broadcast LightPenNX7RegionRight"}));
    EXPECT_EQ(lift(), (Deeds{"release 503 307"}));
}

TEST_F(StrokesTest, WithoutAScreenOnlyTheOriginIsInside) {
    desk.desktop.frame.reset();
    EXPECT_EQ(passOnScreen(1, 0), (Deeds{"broadcast LightPenNX7RegionRight"}));
    EXPECT_EQ(passOnScreen(0, 1), (Deeds{"broadcast LightPenNX7RegionButtom"}));
    EXPECT_EQ(passOnScreen(0, 0), (Deeds{"press 0 0"}));
}

// Reports that become no output

TEST_F(StrokesTest, WithoutACalibrationThereIsNoOutput) {
    driver->setCalibrationCenter(nullptr);
    EXPECT_THAT(passOn(1001, 601), IsEmpty());
    EXPECT_THAT(lift(), IsEmpty());
}

TEST_F(StrokesTest, ACalibrationThatGoesAwayInAStrokeLeavesTheReleaseToThePenUp) {
    passOnScreen(500, 400);
    driver->setCalibrationCenter(nullptr);
    EXPECT_THAT(passOn(1001, 601), IsEmpty());
    EXPECT_EQ(lift(), (Deeds{"release 500 400"}));
}

TEST_F(StrokesTest, APointThatIsNowhereNeitherPressesNorMovesAStroke) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const ScreenPoint nowhere : {ScreenPoint{nan, nan}, {nan, 400}, {500, nan}}) {
        EXPECT_THAT(passOnScreen(nowhere.x, nowhere.y), IsEmpty());
        EXPECT_EQ(passOnScreen(500, 400), (Deeds{"press 500 400"}));
        EXPECT_THAT(passOnScreen(nowhere.x, nowhere.y), IsEmpty());
        EXPECT_EQ(lift(), (Deeds{"release 500 400"}));
    }
}

TEST_F(StrokesTest, AnInfinitePointIsOutside) {
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(passOnScreen(infinity, 400), (Deeds{"broadcast LightPenNX7RegionRight"}));
    EXPECT_EQ(passOnScreen(640, -infinity), (Deeds{"broadcast LightPenNX7RegionTop"}));
}

// Light while the unit is still starting

TEST_F(StrokesTest, ASpotDuringTheStartIsNoiseUntilSomebodyHasBeenTold) {
    startAgain(penReport(1001, 601), penUpReport());
    EXPECT_THAT(passOn(1001, 601), IsEmpty());
    int polls = 0;
    unit.script().onPoll = [&] { ++polls; };
    EXPECT_THAT(passOn(1001, 601), IsEmpty());
    EXPECT_EQ(polls, 2) << "a pass that drops noise does not sleep";
    unit.script().onPoll = nullptr;
    EXPECT_THAT(lift(), IsEmpty());
    EXPECT_THAT(passOn(1001, 601), IsEmpty());
    driver->setDeviceDelegate(deviceDelegate);
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

TEST_F(StrokesTest, OnlyTheFirstSpotOfAStartIsNoise) {
    startAgain(penReport(1001, 601), penReport(1001, 601), [this] {
        driver->setDeviceDelegate(deviceDelegate); // hears of the first
        happened.clear();
    });
    EXPECT_THAT(happened.takeDeeds(), testing::Contains("press 503 307"));
}

TEST_F(StrokesTest, NoiseOfAnEarlierStartIsForgotten) {
    startAgain(penReport(1001, 601), penUpReport());
    EXPECT_THAT(passOn(1001, 601), IsEmpty());
    startAgain(penUpReport(), penUpReport());
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

TEST_F(StrokesTest, APenUpEndsTheStartWithoutNoise) {
    startAgain(penUpReport(), penReport(1001, 601));
    lift();
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

} // namespace
} // namespace lightpen
