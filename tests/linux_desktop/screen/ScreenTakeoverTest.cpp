// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/ScreenTakeover.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

#include "kit/linux/CoveringWindow.h"
#include "kit/linux/FakeWindowManager.h"
#include "kit/linux/TestMain.h"
#include "kit/linux/XNeighbour.h"

namespace lightpen {
namespace {

class ScreenTakeoverTest : public testing::Test {
protected:
    ScreenTakeoverTest() { neighbour.setFocus(backdrop); }

    void takeOver() {
        takeover = std::make_unique<ScreenTakeover>(*screen, [this] { return covered; });
    }
    void takeOverAndCover() {
        takeOver();
        window.cover();
        ASSERT_TRUE(keyboardBecomesFree(false));
    }
    bool keyboardBecomesFree(bool free) {
        return comesTrue([&] { return neighbour.keyboardIsFree() == free; });
    }

    XNeighbour neighbour{std::getenv("DISPLAY")};
    const xcb_window_t backdrop = neighbour.openWindow({0, 0, 640, 480, 0x0000FF});
    const std::unique_ptr<XFullScreen> screen = XFullScreen::connect();
    bool covered = false; // by a locker
    std::unique_ptr<ScreenTakeover> takeover;
    CoveringWindow window;
};

TEST_F(ScreenTakeoverTest, TheCoveringWindowHasTheKeyboardAndNotTheFocus) {
    takeOverAndCover();
    EXPECT_TRUE(comesTrue([&] { return neighbour.focus() == backdrop; }));
    EXPECT_TRUE(comesTrue([&] { return window.isActive(); })); // as Qt sees it
}

TEST_F(ScreenTakeoverTest, GivesTheKeyboardBackWithItsEnd) {
    takeOverAndCover();
    takeover.reset();
    EXPECT_TRUE(keyboardBecomesFree(true));
    EXPECT_EQ(neighbour.focus(), backdrop);
}

TEST_F(ScreenTakeoverTest, AWindowThatCoversNothingIsLeftAlone) {
    takeOver();
    QWindow small;
    small.setGeometry(10, 20, 300, 200);
    small.show();
    small.requestActivate();
    ASSERT_TRUE(comesTrue([&] { return small.isActive(); }));
    EXPECT_TRUE(neighbour.keyboardIsFree());
    EXPECT_EQ(neighbour.focus(), small.winId());
    small.setGeometry(QGuiApplication::primaryScreen()->geometry()); // and now it does
    EXPECT_TRUE(keyboardBecomesFree(false));
    small.setGeometry(0, 0, 639, 480); // and no longer
    EXPECT_TRUE(keyboardBecomesFree(true));
}

TEST_F(ScreenTakeoverTest, FollowsTheWindowThroughHidingAndEnd) {
    takeOverAndCover();
    window.hide();
    EXPECT_TRUE(keyboardBecomesFree(true));
    window.cover();
    EXPECT_TRUE(keyboardBecomesFree(false));
    window.destroy();
    EXPECT_TRUE(keyboardBecomesFree(true));
    CoveringWindow next;
    next.cover();
    EXPECT_TRUE(keyboardBecomesFree(false));
}

TEST_F(ScreenTakeoverTest, AWindowThatDiesFirstHurtsNobody) {
    takeOver();
    {
        CoveringWindow mortal;
        mortal.cover();
        ASSERT_TRUE(keyboardBecomesFree(false));
    }
    EXPECT_TRUE(keyboardBecomesFree(true));
    takeover->activate();
    takeover.reset();
    EXPECT_EQ(neighbour.focus(), backdrop);
}

TEST_F(ScreenTakeoverTest, AFocusThatComesLaterIsLeftWhereItWasToo) {
    takeOverAndCover();
    neighbour.setFocus(static_cast<xcb_window_t>(window.winId()));
    EXPECT_TRUE(comesTrue([&] { return neighbour.focus() == backdrop; }));
    EXPECT_TRUE(keyboardBecomesFree(false));
    EXPECT_TRUE(comesTrue([&] { return window.isActive(); }));
}

TEST_F(ScreenTakeoverTest, GoesOnTopOfWhatComesLater) {
    takeOverAndCover();
    const auto panel = neighbour.openFreePanel({0, 0, 640, 30, 0x00FF00});
    EXPECT_TRUE(comesTrue([&] { return neighbour.pixelAt(100, 10) != 0x00FF00; }));
    for (int i = 0; i < 3; ++i) {
        neighbour.raise(panel);
        ASSERT_EQ(neighbour.pixelAt(100, 10), 0x00FF00u);
        EXPECT_TRUE(comesTrue([&] { return neighbour.pixelAt(100, 10) != 0x00FF00; })) << i;
    }
}

TEST_F(ScreenTakeoverTest, StaysBelowALocker) {
    takeOverAndCover();
    covered = true;
    neighbour.openFreePanel({0, 0, 640, 480, 0x00FF00});
    for (int look = 0; look < 100; ++look) {
        QCoreApplication::processEvents();
        ASSERT_EQ(neighbour.pixelAt(100, 10), 0x00FF00u) << look;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

TEST_F(ScreenTakeoverTest, TakesTheKeyboardFromNoLocker) {
    covered = true;
    takeOver();
    window.cover();
    ASSERT_TRUE(comesTrue([&] { return window.isExposed(); }));
    for (int look = 0; look < 30; ++look) {
        QCoreApplication::processEvents();
        ASSERT_TRUE(neighbour.keyboardIsFree()) << look;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    covered = false;
    EXPECT_TRUE(keyboardBecomesFree(false));
}

TEST_F(ScreenTakeoverTest, AWindowManagerIsAskedForTheUserAndKeepsTheFocusToItself) {
    FakeWindowManager manager(std::getenv("DISPLAY"));
    takeOver();
    window.showFullScreen(); // asks for nothing
    const FakeWindowManager::Activation asked{static_cast<xcb_window_t>(window.winId()), 2};
    EXPECT_TRUE(comesTrue([&] { return manager.takeActivation() == asked; }));
    takeover->activate();
    EXPECT_TRUE(comesTrue([&] { return manager.takeActivation() == asked; }));
    neighbour.setFocus(asked.window); // what a window manager does about it
    EXPECT_TRUE(keyboardBecomesFree(false));
    QCoreApplication::processEvents();
    EXPECT_EQ(neighbour.focus(), asked.window);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runTests<QGuiApplication>(argc, argv, lightpen::NoBus(), lightpen::Xvfb("640x480"));
}
