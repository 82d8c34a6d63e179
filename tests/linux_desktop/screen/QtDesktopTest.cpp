// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/QtDesktop.h"

#include "kit/linux/PointerOnScreen.h"
#include "kit/linux/TestMain.h"

namespace lightpen {
namespace {

using testing::ElementsAre;

constexpr PixelRect kWholeDesktop{0, 0, 1000, 600};

// Two monitors side by side on one X screen: 400 x 600, and 500 x 450 that stands 100 pixels lower. They
// leave a part of it dark, as monitors of different sizes do.
class QtDesktopTest : public PointerOnScreen {
protected:
    ~QtDesktopTest() override {
        window.reset();
        removeMonitors();
    }

    static void xrandr(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "xrandr");
        EXPECT_EQ(runProgram(arguments), 0) << arguments[2];
    }
    void addMonitors(const std::string& leftMark = "*", const std::string& rightMark = "") {
        xrandr({"--setmonitor", leftMark + "left", "400/106x600/159+0+0", "screen"});
        xrandr({"--setmonitor", rightMark + "right", "500/132x450/119+400+100", "none"});
        ASSERT_TRUE(comesTrue([] { return QGuiApplication::screens().size() == 2; }));
    }
    static void removeMonitors() {
        for (const char* name : {"left", "right"})
            runProgram({"xrandr", "--delmonitor", name});
        EXPECT_TRUE(comesTrue([] { return QGuiApplication::screens().size() == 1; }));
    }
    bool frameBecomes(double width, double height) {
        return comesTrue([&] { return desktop.mainScreenFrame() == ScreenRect{{0, 0}, {width, height}}; });
    }
};

TEST_F(QtDesktopTest, KnowsTheOnlyScreen) {
    EXPECT_EQ(desktop.mainScreenFrame(), (ScreenRect{{0, 0}, {1000, 600}}));
    EXPECT_EQ(desktop.mainScreen(), QGuiApplication::primaryScreen());
    EXPECT_EQ(geometry.load(), PointerGeometry({0, 0}, 1, kWholeDesktop));
}

TEST_F(QtDesktopTest, FollowsThePrimaryScreen) {
    addMonitors();
    EXPECT_TRUE(frameBecomes(400, 600));
    EXPECT_EQ(geometry.load(), PointerGeometry({0, 0}, 1, kWholeDesktop));
    removeMonitors();
    EXPECT_TRUE(frameBecomes(1000, 600));
}

TEST_F(QtDesktopTest, TakesTheScreenThatTheUserHasChosen) {
    defaults.setObject("Main Screen", std::string("right"));
    addMonitors();
    EXPECT_TRUE(frameBecomes(500, 450));
    EXPECT_EQ(desktop.mainScreen()->name(), QLatin1String("right"));
    EXPECT_EQ(geometry.load(), PointerGeometry({400, 100}, 1, kWholeDesktop));
    removeMonitors(); // the chosen one is gone
    EXPECT_TRUE(frameBecomes(1000, 600));
    EXPECT_EQ(geometry.load(), PointerGeometry({0, 0}, 1, kWholeDesktop));
}

TEST_F(QtDesktopTest, LooksAgainWhenTheUserChoosesAnother) {
    addMonitors();
    defaults.setObject("Main Screen", std::string("right"));
    desktop.update();
    EXPECT_EQ(desktop.mainScreenFrame(), (ScreenRect{{0, 0}, {500, 450}}));
    defaults.setObject("Main Screen", std::string("no such screen"));
    desktop.update();
    EXPECT_EQ(desktop.mainScreenFrame(), (ScreenRect{{0, 0}, {400, 600}}));
    defaults.setObject("Main Screen", std::int64_t{2}); // not a name
    desktop.update();
    EXPECT_EQ(desktop.mainScreenFrame(), (ScreenRect{{0, 0}, {400, 600}}));
}

TEST_F(QtDesktopTest, ListsTheMainScreenFirstAndTheOthersFromItsCorner) {
    EXPECT_THAT(desktop.screens(), ElementsAre(Screen{"screen", {{0, 0}, {1000, 600}}}));
    defaults.setObject("Main Screen", std::string("right"));
    addMonitors();
    EXPECT_THAT(desktop.screens(), ElementsAre(Screen{"right", {{0, 0}, {500, 450}}},
                                               Screen{"left", {{-400, -100}, {400, 600}}}));
}

TEST_F(QtDesktopTest, EventsLandOnTheMainScreenWhereverItStands) {
    defaults.setObject("Main Screen", std::string("right"));
    addMonitors();
    ASSERT_TRUE(frameBecomes(500, 450));
    showWindow();
    pointer->post(kLeftMouseDown, {10, 20});
    pointer->post(kLeftMouseUp, {499, 449});
    EXPECT_THAT(buttonEvents(2), ElementsAre("press left 10,20", "release left 499,449"));
}

TEST_F(QtDesktopTest, FollowsANewSizeOfTheWholeDesktop) {
    xrandr({"--newmode", "smaller", "40", "800", "840", "968", "1056", "500", "501", "505", "528"});
    xrandr({"--addmode", "screen", "smaller"});
    xrandr({"--output", "screen", "--mode", "smaller"});
    EXPECT_TRUE(frameBecomes(800, 500));
    EXPECT_TRUE(comesTrue([&] { return geometry.load() == PointerGeometry({0, 0}, 1, {0, 0, 800, 500}); }));
    xrandr({"--output", "screen", "--mode", "1000x600"});
    EXPECT_TRUE(frameBecomes(1000, 600));
    EXPECT_TRUE(comesTrue([&] { return geometry.load() == PointerGeometry({0, 0}, 1, kWholeDesktop); }));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runTests<QGuiApplication>(argc, argv, lightpen::Xvfb("1000x600"));
}
