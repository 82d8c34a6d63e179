// SPDX-License-Identifier: MIT
#include "app/PreviewPlace.h"

#include <QApplication>

#include "device/FloatPanel.h"
#include "kit/device/DriverFixture.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {

namespace {

constexpr QRect kXga{0, 0, 1024, 768}, kFullHd{0, 0, 1920, 1080};

struct Case {
    const char* name;
    QRect screen;
    QSize wanted;
    QRect place;
    QRect freePart = screen;
};

TEST(CheckPanelPlaceTest, LeavesAThirdBelowASixthAboveAndAQuarterBeside) {
    EXPECT_EQ(checkPanelPlace({0, 0, 1920, 1080}), QRect(480, 180, 960, 540));
    EXPECT_EQ(checkPanelPlace({-1366, 40, 1366, 768}), QRect(-1366 + 341, 40 + 128, 683, 384));
}

TEST(CheckPanelPlaceTest, PartsOfPointsAreCutOff) {
    // 1/4 of 1023 is 255.75, 1/3 of 769 is 256.33, halves are 511.5 and 384.5.
    EXPECT_EQ(checkPanelPlace({0, 0, 1023, 769}), QRect(255, 769 - 256 - 384, 511, 384));
}

class CheckPanelPlaceInDriverTest : public DriverFixture {
protected:
    // The driver's panel on the screen, counted from its upper left corner.
    static QRect shownPanel() {
        for (const QWidget* window : QApplication::topLevelWidgets())
            if (dynamic_cast<const FloatPanel*>(window) && window->isVisible())
                return window->geometry();
        return {};
    }
    const bool hasWindows = ensureOffscreenApplication();
};

TEST_F(CheckPanelPlaceInDriverTest, IsWhereTheDriverPutsThePanel) {
    for (const Size size : {Size{1024, 768}, Size{1366, 769}, Size{3001, 1997}}) {
        desk.desktop.frame = ScreenRect{{0, 0}, size};
        driver->Nx9windowChTwoPoint();
        EXPECT_EQ(shownPanel(), checkPanelPlace({0, 0, int(size.width), int(size.height)}));
        driver->Nx9windowrelease();
        EXPECT_TRUE(shownPanel().isEmpty());
    }
}

class PreviewPlaceTest : public testing::TestWithParam<Case> {};

TEST_P(PreviewPlaceTest, IsOnTheScreenAndBesideThePanel) {
    const auto& [name, screen, wanted, expected, freePart] = GetParam();
    const QRect place = previewPlace(screen, wanted, freePart);
    EXPECT_EQ(place, expected);
    EXPECT_TRUE(freePart.contains(place));
    EXPECT_FALSE(place.intersects(checkPanelPlace(screen)));
}

INSTANTIATE_TEST_SUITE_P(
    On, PreviewPlaceTest,
    testing::Values(
        Case{"Xga", kXga, {650, 230}, {187, 525, 650, 230}},
        Case{"XgaAsHighAsThereIsRoom", kXga, {650, 256}, {187, 512, 650, 256}},
        Case{"XgaTooHighByOne", kXga, {650, 257}, {187, 512, 650, 256}},
        Case{"Hd", {0, 0, 1280, 720}, {700, 200}, {290, 500, 700, 200}},
        Case{"FullHd", kFullHd, {901, 340}, {509, 730, 901, 340}},
        Case{"FourK", {0, 0, 3840, 2160}, {900, 420}, {1470, 1590, 900, 420}},
        Case{"Svga", {0, 0, 800, 600}, {700, 190}, {50, 405, 700, 190}},
        Case{"SvgaTooWide", {0, 0, 800, 600}, {1000, 190}, {0, 405, 800, 190}},
        Case{"Portrait", {0, 0, 1080, 1920}, {900, 500}, {90, 1350, 900, 500}},
        Case{"PortraitTooWide", {0, 0, 768, 1366}, {900, 300}, {0, 988, 768, 300}},
        // Narrow and high: beside the panel.
        Case{"HighOnFullHd", kFullHd, {400, 900}, {1480, 90, 400, 900}},
        Case{"SecondScreen", {1920, -200, 1280, 720}, {700, 200}, {2210, 300, 700, 200}},
        Case{"AboveATaskBar", kXga, {650, 200}, {187, 520, 650, 200}, {0, 0, 1024, 728}},
        Case{"BesideATaskBar", kXga, {650, 200}, {219, 540, 650, 200}, {64, 0, 960, 768}},
        Case{"LeftWhereTheRightIsTaken", kFullHd, {400, 900}, {40, 90, 400, 900}, {0, 0, 1500, 1080}},
        // A dock that covers the lower part: above is what is left.
        Case{"AboveThePanel", kFullHd, {1000, 170}, {460, 5, 1000, 170}, {0, 0, 1920, 700}}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(PreviewPlaceOnAFreePartTest, NoScreenLeavesNothing) {
    EXPECT_EQ(previewPlace({}, {650, 200}, {}).size(), QSize(0, 0));
    EXPECT_EQ(previewPlace({0, 0, 800, 600}, {650, 200}, {}).size(), QSize(0, 0));
}

} // namespace
} // namespace lightpen
