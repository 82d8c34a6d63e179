// SPDX-License-Identifier: MIT
// The check view as the driver shows it and takes it away.
#include "kit/device/CheckViewFixture.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CheckViewTest : public CheckViewFixture {
protected:
    // Where the panel is on a screen of this size.
    QRect panelOn(std::optional<ScreenRect> screen) {
        desk.desktop.frame = screen;
        driver->Nx9windowChTwoPoint();
        return panel() ? panel()->geometry() : QRect();
    }
};

TEST_F(CheckViewTest, StandsInTheMiddleOfTheScreenInWholePoints) {
    EXPECT_EQ(panelOn(ScreenRect{{0, 0}, {1440, 900}}), QRect(360, 150, 720, 450));
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_FALSE(panel()->ignoresMouseEvents());
    EXPECT_EQ(panelOn(ScreenRect{{0, 0}, {1367, 769}}), QRect(341, 769 - 256 - 384, 683, 384));
    panelOn(std::nullopt);
    EXPECT_FALSE(panel() && panel()->isVisible()) << "without a screen the check goes on unseen";
}

TEST_F(CheckViewTest, IsShownOnceAndThenOnlyRedrawn) {
    driver->Nx9windowChTwoPoint();
    const PanelView* view = panel()->contentView();
    drawn();
    EXPECT_THAT(drawn(), IsEmpty());
    panel()->hide(); // showing it again would be seen
    driver->Nx9View();
    EXPECT_FALSE(panel()->isVisible());
    panel()->show();
    drawn();
    driver->Nx9View();
    EXPECT_EQ(panel()->contentView(), view);
    EXPECT_EQ(drawn().size(), 1u);
}

TEST_F(CheckViewTest, ReleasingTakesItAwayAndEndsTheThread) {
    openShowing();
    desk.clock.takeSleeps();
    EXPECT_EQ(driver->Nx9windowrelease(), 0);
    EXPECT_THAT(desk.clock.takeSleeps(), testing::Contains(std::chrono::milliseconds(10)));
    EXPECT_FALSE(panel());
    run(2 * kPassSleep);
    EXPECT_EQ(turnTaking.running(), 0);
    EXPECT_EQ(driver->Nx9windowrelease(), 0) << "without one, too";
}

TEST_F(CheckViewTest, FollowsTheMainScreen) {
    desk.desktop.frame = ScreenRect{{0, 0}, {1440, 900}};
    driver->screensDidChange();
    EXPECT_FALSE(panel()) << "nothing is shown";
    openShowing();
    EXPECT_EQ(panel()->geometry(), QRect(360, 150, 720, 450));
    desk.desktop.frame = ScreenRect{{0, 0}, {1024, 768}};
    driver->screensDidChange();
    EXPECT_EQ(panel()->geometry(), QRect(256, 128, 512, 384));
    EXPECT_TRUE(panel()->isVisible());
    drawn();
    EXPECT_EQ(drawnFor(1000, 700).size(), 1u);
}

TEST_F(CheckViewTest, GivesWayWhileTheScreenIsCoveredAndComesBackWithTheLight) {
    openShowing();
    desk.systemUI.covered = true;
    driver->screenWasCovered();
    EXPECT_FALSE(panel());
    run(2 * kPassSleep);
    EXPECT_EQ(turnTaking.running(), 0);
    desk.systemUI.covered = false;
    driver->screenWasUncovered();
    ASSERT_TRUE(panel());
    EXPECT_TRUE(panel()->isVisible());
    for (int i = 0; i < 12; ++i)
        pass();
    drawn();
    EXPECT_THAT(drawnFor(300, 100), ElementsAre("555.00,50.00"));
}

TEST_F(CheckViewTest, LightThatIsFoundBehindALockerIsShownAfterIt) {
    desk.systemUI.covered = true;
    open();
    EXPECT_FALSE(panel() && panel()->isVisible());
    desk.systemUI.covered = false;
    driver->screenWasUncovered();
    ASSERT_TRUE(panel());
    EXPECT_TRUE(panel()->isVisible());
}

TEST_F(CheckViewTest, LightThatIsGoneByThenIsNotShownAgain) {
    openShowing();
    driver->screenWasCovered();
    unitAnswers.sightings = 0;
    driver->screenWasUncovered();
    EXPECT_FALSE(panel());
    turnTaking.nextTurn();
    for (int i = 0; i < 6; ++i)
        lift();
    pass();
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

TEST_F(CheckViewTest, WithoutOneACoveredScreenChangesNothing) {
    unitAnswers.sightings = 0;
    open();
    const auto before = turnTaking.running();
    log.clear();
    desk.clock.takeSleeps();
    driver->screenWasCovered();
    driver->screenWasUncovered();
    EXPECT_THAT(desk.clock.takeSleeps(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(turnTaking.running(), before);
}

TEST_F(CheckViewTest, TheMarkerFollowsTheLightHoweverSeldomItIsSeen) {
    unitAnswers.sightings = 1;
    openShowing();
    passOn(200, 100);
    QCoreApplication::processEvents();
    log.clear();
    EXPECT_THAT(drawn(), ElementsAre("605.00,50.00")) << "asked for on the main thread";
    pass(); // the light is gone
    EXPECT_THAT(drawn(), ElementsAre("755.00,-50.00"));
}

TEST_F(CheckViewTest, WhatChangesNothingIsNotAskedFor) {
    openShowing();
    EXPECT_EQ(drawnFor(200, 100).size(), 1u);
    for (int i = 0; i < 5; ++i)
        EXPECT_THAT(drawnFor(200, 100), IsEmpty());
}

TEST_F(CheckViewTest, ABurstIsOneDrawing) {
    openShowing();
    for (int x = 1; x <= 100; ++x)
        passOn(x, 7);
    EXPECT_THAT(drawn(), ElementsAre("655.00,3.50"));
    EXPECT_THAT(drawnFor(101, 7), ElementsAre("654.50,3.50"));
}

TEST_F(CheckViewTest, ARequestDiesWithItsPanelAndDoesNotHoldBackTheNextUnitsPen) {
    openShowing();
    passOn(200, 100);
    unplug();
    EXPECT_FALSE(panel());
    unitAnswers.sightings = 0;
    plugIn();
    turnTaking.nextTurn();
    for (int i = 0; i < 6; ++i)
        lift();
    pass();
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

TEST_F(CheckViewTest, ARequestForAGonePanelDoesNotHoldUpTheNextOne) {
    openShowing();
    passOn(200, 100);
    driver->Nx9windowrelease();
    runMainLoop();
    EXPECT_FALSE(panel());
    run(2 * kPassSleep);
    driver->startPointQueue(); // the unit starts again, with its light
    ASSERT_TRUE(panel());
    for (int i = 0; i < 12; ++i)
        pass();
    drawn();
    EXPECT_THAT(drawnFor(300, 100), ElementsAre("555.00,50.00"));
}

} // namespace
} // namespace lightpen
