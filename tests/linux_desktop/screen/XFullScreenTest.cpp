// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/XFullScreen.h"

#include <gtest/gtest.h>
#include <signal.h>

#include "kit/Eventually.h"
#include "kit/Xvfb.h"
#include "kit/linux/FakeWindowManager.h"
#include "kit/linux/Framebuffer.h"
#include "kit/linux/XNeighbour.h"

namespace lightpen {
namespace {

class XFullScreenTest : public testing::Test {
protected:
    XFullScreenTest() {
        neighbour.setRootCursor();
        neighbour.movePointer(320, 200);
    }
    bool cursorIs(bool shown) {
        return eventually([&] { return framebuffer.cursorAt(320, 200) == shown; });
    }
    bool hears(bool XFullScreen::News::*news) {
        return eventually([&] { return screen->takeNews().*news; });
    }

    const Framebuffer framebuffer{640, 480};
    const Xvfb server{"640x480", framebuffer.options()};
    XNeighbour neighbour{server.display()};
    const NeighbourWindow place{100, 50, 300, 200, 0x00FF00};
    const xcb_window_t window = neighbour.openWindow({0, 0, 640, 480, 0x0000FF});
    std::unique_ptr<XFullScreen> screen = XFullScreen::connect(server.display().c_str());
};

TEST_F(XFullScreenTest, TheCursorComesBackWithTheEndOfTheConnection) {
    EXPECT_TRUE(screen->hideCursor());
    EXPECT_TRUE(screen->hideCursor());
    EXPECT_TRUE(cursorIs(false));
    screen.reset();
    EXPECT_TRUE(cursorIs(true));
}

TEST_F(XFullScreenTest, SaysWhoHasTheFocusAndGivesItAway) {
    neighbour.setFocus(window);
    EXPECT_EQ(screen->focus(), window);
    const auto other = neighbour.openWindow(place);
    screen->setFocus(other);
    EXPECT_EQ(neighbour.focus(), other); // at once
    screen->setFocus(0);
    EXPECT_EQ(neighbour.focus(), 0u);
}

TEST_F(XFullScreenTest, AFocusThatNobodyCanHaveStaysWhereItWas) {
    neighbour.setFocus(window);
    const auto gone = neighbour.openWindow(place);
    neighbour.close(gone);
    screen->setFocus(gone);
    EXPECT_EQ(neighbour.focus(), window);
    EXPECT_TRUE(screen->alive());
}

TEST_F(XFullScreenTest, NoticesAWindowManagerAndItsEnd) {
    EXPECT_FALSE(screen->managed());
    {
        const FakeWindowManager manager(server.display());
        EXPECT_TRUE(screen->managed());
    }
    // The root still names its window, which is no more as soon as the server has seen the manager leave.
    EXPECT_TRUE(eventually([&] { return !screen->managed(); }));
}

TEST_F(XFullScreenTest, HearsWhenSomethingCoversTheWindowAndRaisesIt) {
    screen->watch(window);
    const auto panel = neighbour.openFreePanel(place);
    EXPECT_TRUE(hears(&XFullScreen::News::covered));
    EXPECT_EQ(neighbour.pixelAt(150, 100), place.colour);
    screen->raise(window);
    EXPECT_TRUE(eventually([&] { return neighbour.pixelAt(150, 100) == 0x0000FF; }));
    EXPECT_FALSE(screen->takeNews().covered);
    neighbour.raise(panel);
    EXPECT_TRUE(hears(&XFullScreen::News::covered));
}

TEST_F(XFullScreenTest, HearsOfTheFocusButNotOfAGrab) {
    neighbour.setFocus(1);
    screen->watch(window);
    ASSERT_TRUE(neighbour.grabKeyboard());
    neighbour.ungrabKeyboard();
    screen->focus(); // what the server has said so far is here
    EXPECT_FALSE(screen->takeNews().focused);
    neighbour.setFocus(window);
    EXPECT_TRUE(hears(&XFullScreen::News::focused));
}

TEST_F(XFullScreenTest, HearsNothingOfAWindowThatIsNoLongerWatched) {
    const auto other = neighbour.openWindow({500, 300, 50, 40, 0xFF0000});
    screen->watch(window);
    screen->watch(other);
    screen->takeNews();
    neighbour.openFreePanel(place); // covers the first alone
    neighbour.setFocus(window);
    screen->focus();
    const auto news = screen->takeNews();
    EXPECT_FALSE(news.covered || news.focused);
    screen->watch(0);
    neighbour.setFocus(other);
    screen->focus();
    EXPECT_FALSE(screen->takeNews().focused);
}

TEST(XFullScreenFailure, NoServerIsNoConnection) {
    EXPECT_EQ(XFullScreen::connect(":4711"), nullptr);
}

TEST(XFullScreenFailure, AServerThatCannotHideCursorsSaysSo) {
    const Xvfb bare("640x480", {"-extension", "XFIXES"});
    const auto screen = XFullScreen::connect(bare.display().c_str());
    ASSERT_TRUE(screen);
    EXPECT_FALSE(screen->hideCursor());
    screen->showCursor();
    EXPECT_TRUE(screen->alive());
}

TEST(XFullScreenFailure, AServerThatDiesEndsNothing) {
    signal(SIGPIPE, SIG_IGN); // as in the program
    Xvfb mortal("640x480");
    const auto screen = XFullScreen::connect(mortal.display().c_str());
    ASSERT_TRUE(screen);
    mortal.end();
    EXPECT_EQ(screen->focus(), 0u);
    EXPECT_FALSE(screen->alive());
    EXPECT_FALSE(screen->managed());
    EXPECT_FALSE(screen->hideCursor());
    screen->setFocus(1);
    screen->raise(1);
    EXPECT_FALSE(screen->takeNews().covered);
}

} // namespace
} // namespace lightpen
