// SPDX-License-Identifier: MIT
// The check view as the driver shows it and takes it away.
#include <thread>

#include <QCoreApplication>

#include "device/CheckViewRequests.h"
#include "device/FloatPanel.h"
#include "kit/device/OffscreenApplication.h"
#include "kit/device/PassFixture.h"

namespace lightpen {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class CheckViewTest : public PassFixture {
protected:
    CheckViewTest() { desk.desktop.frame = ScreenRect{{0, 0}, {1440, 900}}; }
    ~CheckViewTest() override { sharedState.checkViewPanel = nullptr; }

    static FloatPanel* panel() { return sharedState.checkViewPanel.get(); }
    // What is drawn now, as the lines that say so.
    std::vector<std::string> drawn() {
        log.clear();
        QCoreApplication::processEvents();
        auto lines = log.takeLines();
        std::erase_if(lines, [](const std::string& line) { return !line.starts_with("Event n:256 "); });
        return lines;
    }
    // A point thread that shows what it finds.
    void beginShowing() {
        beginArmedThread();
        sharedState.strayLightLevel = 3;
        driver->Nx9windowChTwoPoint();
        sharedState.strayLightFrameCount = 1;
        drawn();
        desk.runLoop.posted = 0;
    }

    const bool application = ensureOffscreenApplication();
};

TEST_F(CheckViewTest, StandsInTheMiddleOfTheScreen) {
    driver->Nx9windowChTwoPoint();
    EXPECT_EQ(sharedState.checkViewRect, (WindowRect{{360, 300}, {720, 450}}));
    EXPECT_EQ(sharedState.checkViewLeft, 360);
    EXPECT_EQ(sharedState.checkViewBottom, 300);
    EXPECT_EQ(sharedState.checkViewWidth, 720);
    EXPECT_EQ(sharedState.checkViewHeight, 450);
    ASSERT_TRUE(panel());
    EXPECT_EQ(panel()->geometry(), QRect(360, 150, 720, 450));
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_FALSE(panel()->ignoresMouseEvents());
    EXPECT_EQ(sharedState.checkViewState, 2);
    EXPECT_EQ(sharedState.strayLightViewShown, 1);
}

TEST_F(CheckViewTest, OddScreensAreTruncated) {
    desk.desktop.frame = ScreenRect{{0, 0}, {1367, 769}};
    driver->Nx9windowChTwoPoint();
    EXPECT_EQ(sharedState.checkViewRect, (WindowRect{{341, 256}, {683, 384}}));
    EXPECT_EQ(panel()->geometry(), QRect(341, 769 - 256 - 384, 683, 384));
}

TEST_F(CheckViewTest, WithoutAScreenTheCheckGoesOnUnseen) {
    desk.desktop.frame = std::nullopt;
    driver->Nx9windowChTwoPoint();
    EXPECT_EQ(sharedState.checkViewRect, WindowRect());
    EXPECT_FALSE(panel() && panel()->isVisible());
    EXPECT_EQ(sharedState.checkViewState, 2);
    EXPECT_EQ(sharedState.strayLightViewShown, 1);
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

TEST_F(CheckViewTest, ReleasingTakesItAway) {
    driver->Nx9windowChTwoPoint();
    const std::weak_ptr<FloatPanel> shown = sharedState.checkViewPanel;
    desk.clock.takeSleeps();
    EXPECT_EQ(driver->Nx9windowrelease(), 0);
    EXPECT_THAT(desk.clock.takeSleeps(), ElementsAre(std::chrono::milliseconds(10)));
    EXPECT_TRUE(shown.expired());
    EXPECT_EQ(sharedState.strayLightViewShown, 0);
    EXPECT_TRUE(driver->_stopThread);
    EXPECT_EQ(sharedState.checkViewState, 2) << "the restart asks for it";
    EXPECT_EQ(driver->Nx9windowrelease(), 0) << "without one, too";
}

TEST_F(CheckViewTest, TheMarkerFollowsTheLight) {
    beginShowing();
    passOn(200, 100);
    EXPECT_THAT(drawn(), IsEmpty()) << "drawn on the point thread";
    runMainLoop();
    EXPECT_THAT(drawn(), ElementsAre(StartsWith("Event n:256 sptScreenP1: (617.87,52.33)")));
    pass(); // the light is gone
    runMainLoop();
    EXPECT_THAT(drawn(), ElementsAre(StartsWith("Event n:256 sptScreenP1: (771.06,-52.33)")));
}

TEST_F(CheckViewTest, WhatChangesNothingIsNotAskedFor) {
    beginShowing();
    for (int i = 0; i < 5; ++i)
        passOn(200, 100);
    runMainLoop();
    for (int i = 0; i < 5; ++i)
        passOn(200, 100);
    EXPECT_EQ(desk.runLoop.posted, 1);
}

TEST_F(CheckViewTest, ABurstFromTheOtherThreadIsOneRequest) {
    beginShowing();
    std::thread([&] {
        for (int i = 1; i <= 1000; ++i)
            passOn(i, 7);
    }).join();
    EXPECT_EQ(desk.runLoop.posted, 1);
    runMainLoop();
    EXPECT_EQ(drawn().size(), 1u);
    passOn(1001, 7);
    EXPECT_EQ(desk.runLoop.posted, 2);
}

TEST_F(CheckViewTest, ARequestDiesWithItsPanel) {
    beginShowing();
    passOn(200, 100);
    driver->Nx9windowrelease();
    sharedState.checkViewState = 0;
    runMainLoop();
    EXPECT_EQ(sharedState.checkViewState, 0);
    EXPECT_EQ(sharedState.strayLightViewShown, 0);
}

TEST_F(CheckViewTest, ARequestForAGonePanelDoesNotHoldUpTheNextOne) {
    beginShowing();
    passOn(200, 100);
    driver->Nx9windowrelease();
    driver->_stopThread = false;
    driver->Nx9windowChTwoPoint();
    drawn();
    passOn(300, 100);
    EXPECT_EQ(desk.runLoop.posted, 2);
    runMainLoop();
    EXPECT_THAT(drawn(), ElementsAre(StartsWith("Event n:256 sptScreenP1: (566.81,52.33)")));
}

TEST_F(CheckViewTest, WithoutAPanelNothingIsAskedFor) {
    beginArmedThread();
    sharedState.strayLightLevel = 3;
    sharedState.strayLightViewShown = 1;
    sharedState.strayLightFrameCount = 1;
    desk.runLoop.posted = 0;
    passOn(200, 100);
    EXPECT_EQ(desk.runLoop.posted, 0);
}

} // namespace
} // namespace lightpen
