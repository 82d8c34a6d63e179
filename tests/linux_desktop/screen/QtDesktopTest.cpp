// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/QtDesktop.h"

#include "kit/RecordingLog.h"
#include "kit/linux/FakeOutputOrder.h"
#include "kit/linux/PointerOnScreen.h"
#include "kit/linux/TestMain.h"

namespace lightpen {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A compositor that answers is not too slow on any machine.
constexpr std::chrono::seconds kPatience{10};
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

TEST_F(QtDesktopTest, TheOptionsScreenGoesBeforeTheSettings) {
    defaults.setObject("Main Screen", std::string("right"));
    addMonitors();
    SharedGeometry elsewhere;
    const QtDesktop asked(defaults, elsewhere, "left");
    EXPECT_EQ(asked.mainScreen()->name(), QLatin1String("left"));
    EXPECT_EQ(elsewhere.load(), PointerGeometry({0, 0}, 1, kWholeDesktop));
}

// A projector that is plugged in after the login, and pulled out again.
TEST_F(QtDesktopTest, TellsOfAChosenScreenThatIsNotThereOnceUntilItHasBeenThere) {
    RecordingLog log;
    defaults.setObject("Main Screen", std::string("right"));
    desktop.update();
    desktop.update();
    EXPECT_THAT(log.takeLines(),
                ElementsAre("Screen: there is no screen called \"right\" now (there are: screen); until it "
                            "comes, the desktop's primary one counts"));
    addMonitors();
    EXPECT_TRUE(frameBecomes(500, 450));
    EXPECT_THAT(log.takeLines(), Contains("Screen: the picture is on \"right\", 500 x 450 points"));
    removeMonitors();
    EXPECT_TRUE(frameBecomes(1000, 600));
    EXPECT_THAT(log.takeLines(), Contains(HasSubstr("there is no screen called \"right\" now")));
}

// As under Wayland, where Qt's primary screen is the first one that was announced.
TEST_F(QtDesktopTest, TheDesktopsOwnPrimaryScreenGoesBeforeQtsAndTheChosenOneBeforeBoth) {
    addMonitors();
    FakeOutputOrder kwin;
    setenv("WAYLAND_DISPLAY", kwin.socket().c_str(), 1);
    kwin.setOrder({"right", "left"});
    kwin.appear();
    SharedGeometry itsGeometry;
    const QtDesktop asking(defaults, itsGeometry, "", std::make_unique<PrimaryOutput>(true, kPatience));
    const auto isMain = [&](double width) {
        return comesTrue([&] { return asking.mainScreenFrame()->size.width == width; });
    };
    EXPECT_EQ(asking.mainScreenFrame(), (ScreenRect{{0, 0}, {500, 450}})) << "at once";
    EXPECT_EQ(itsGeometry.load(), PointerGeometry({400, 100}, 1, kWholeDesktop));
    kwin.setOrder({"left", "right"});
    EXPECT_TRUE(isMain(400));
    kwin.setOrder({"right", "left"});
    EXPECT_TRUE(isMain(500));
    kwin.setOrder({"elsewhere", "right"});
    EXPECT_TRUE(isMain(400)) << "Qt does not know it, so Qt's own counts";
    kwin.setOrder({"left", "right"});
    SharedGeometry chosenGeometry;
    const QtDesktop chosen(defaults, chosenGeometry, "right",
                           std::make_unique<PrimaryOutput>(true, kPatience));
    EXPECT_EQ(chosen.mainScreenFrame(), (ScreenRect{{0, 0}, {500, 450}}));
    unsetenv("WAYLAND_DISPLAY");
}

TEST_F(QtDesktopTest, OnWestonSeveralScreensAreALineOnce) {
    FakeOutputOrder weston;
    weston.beWeston();
    setenv("WAYLAND_DISPLAY", weston.socket().c_str(), 1);
    RecordingLog log;
    SharedGeometry itsGeometry;
    defaults.setObject("Main Screen", std::string("screen"));
    QtDesktop asking(defaults, itsGeometry, "", std::make_unique<PrimaryOutput>(true, kPatience));
    EXPECT_THAT(log.takeLines(), IsEmpty()) << "one that is not turned is right";
    addMonitors();
    EXPECT_TRUE(comesTrue([&] { return asking.screens().size() == 2; }));
    asking.update();
    EXPECT_EQ(std::ranges::count_if(log.takeLines(),
                                    [](const std::string& line) {
                                        return line.starts_with("Screen: this compositor (weston)");
                                    }),
              1);
    unsetenv("WAYLAND_DISPLAY");
}

TEST_F(QtDesktopTest, WhereNobodySaysThereIsALineThatTellsHowToChoose) {
    addMonitors();
    FakeOutputOrder silent;
    setenv("WAYLAND_DISPLAY", silent.socket().c_str(), 1);
    RecordingLog log;
    SharedGeometry itsGeometry;
    QtDesktop asking(defaults, itsGeometry, "", std::make_unique<PrimaryOutput>(true, kPatience));
    const char* const line =
        "Screen: there are several (left, right) and the desktop does not say which is the "
        "primary one; \"left\" counts until --screen NAME or the setting \"Main Screen\" "
        "names one";
    EXPECT_THAT(log.takeLines(), ElementsAre(line));
    asking.update();
    EXPECT_THAT(log.takeLines(), IsEmpty()) << "once";
    SharedGeometry chosenGeometry;
    const QtDesktop chosen(defaults, chosenGeometry, "left",
                           std::make_unique<PrimaryOutput>(true, kPatience));
    EXPECT_THAT(log.takeLines(), IsEmpty()) << "one is chosen";
    silent.setOrder({"right", "left"});
    silent.appear();
    EXPECT_TRUE(comesTrue([&] { return asking.mainScreenFrame()->size.width == 500; }));
    asking.update();
    EXPECT_THAT(log.takeLines(), ElementsAre(HasSubstr("the picture is on \"right\"")));
    unsetenv("WAYLAND_DISPLAY");
}

TEST_F(QtDesktopTest, TellsBeforeTheMainScreenChangesAndAfterwards) {
    std::vector<std::string> told;
    const auto note = [&](const char* what) {
        const auto frame = desktop.mainScreenFrame();
        told.push_back(std::string(what) + " " + std::to_string(int(frame->size.width)) +
                       (geometry.load() == PointerGeometry({400, 100}, 1, kWholeDesktop) ? " right" : ""));
    };
    addMonitors();
    EXPECT_TRUE(frameBecomes(400, 600));
    desktop.beforeMainScreenChanges = [&] { note("before"); };
    desktop.afterChange = [&] { note("after"); };
    defaults.setObject("Main Screen", std::string("right"));
    desktop.update();
    EXPECT_THAT(told, ElementsAre("before 400", "after 500 right"));
    told.clear();
    desktop.update();
    EXPECT_THAT(told, IsEmpty()) << "nothing has changed";
    // Another screen than the main one.
    xrandr({"--delmonitor", "left"});
    EXPECT_TRUE(comesTrue([&] { return !told.empty(); }));
    EXPECT_THAT(told, Each("after 500 right"));
    desktop.beforeMainScreenChanges = nullptr;
    desktop.afterChange = nullptr;
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
    return lightpen::runTests<QGuiApplication>(argc, argv, lightpen::NoBus(), lightpen::Xvfb("1000x600"));
}
