// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/LinuxSystemUI.h"

#include <gtest/gtest.h>

#include "kit/Eventually.h"
#include "kit/linux/CoveringWindow.h"
#include "kit/linux/Framebuffer.h"
#include "kit/linux/TestMain.h"
#include "kit/linux/XNeighbour.h"

namespace lightpen {
namespace {

constexpr SystemUIOptions kSessionOptions =
    kUIOptionDisableSystemMenu | kUIOptionDisableProcessSwitch | kUIOptionDisableHide;

using Mode = std::pair<SystemUIMode, SystemUIOptions>;

Mode modeOf(const SystemUI& ui) {
    Mode mode{99, 99};
    ui.GetSystemUIMode(mode.first, mode.second);
    return mode;
}

class LinuxSystemUITest : public testing::Test {
protected:
    LinuxSystemUITest() : display(ui->CGMainDisplayID()) {
        neighbour.setRootCursor();
        neighbour.movePointer(320, 200);
    }
    bool cursorIs(bool shown) {
        return eventually([&] { return framebuffer->cursorAt(320, 200) == shown; });
    }
    bool keyboardBecomesFree(bool free) {
        return comesTrue([&] { return neighbour.keyboardIsFree() == free; });
    }

public:
    static const Framebuffer* framebuffer;

protected:
    XNeighbour neighbour{std::getenv("DISPLAY")};
    const xcb_window_t backdrop = neighbour.openWindow({0, 0, 640, 480, 0x0000FF});
    std::unique_ptr<LinuxSystemUI> ui = std::make_unique<LinuxSystemUI>();
    const CGDirectDisplayID display;
};

const Framebuffer* LinuxSystemUITest::framebuffer = nullptr;

TEST_F(LinuxSystemUITest, KeepsModeAndOptionsAsTheyAreSet) {
    EXPECT_EQ(kSessionOptions, 76u);
    EXPECT_EQ(modeOf(*ui), (Mode{kUIModeNormal, 0}));
    EXPECT_EQ(ui->SetSystemUIMode(kUIModeAllHidden, kSessionOptions), kIOReturnSuccess);
    EXPECT_EQ(modeOf(*ui), (Mode{3, 76}));
    EXPECT_EQ(ui->SetSystemUIMode(2, 8), kIOReturnSuccess);
    EXPECT_EQ(modeOf(*ui), (Mode{2, 8}));
    EXPECT_EQ(ui->SetSystemUIMode(kUIModeNormal, 0), kIOReturnSuccess);
    EXPECT_EQ(modeOf(*ui), (Mode{0, 0}));
}

TEST_F(LinuxSystemUITest, AllHiddenTakesTheKeyboardAndTheSavedModeGivesItBack) {
    CoveringWindow window;
    window.cover();
    ASSERT_TRUE(comesTrue([&] { return window.isActive(); }));
    EXPECT_TRUE(neighbour.keyboardIsFree());
    const Mode saved = modeOf(*ui);
    ui->SetSystemUIMode(kUIModeAllHidden, kSessionOptions);
    ui->SetSystemUIMode(kUIModeAllHidden, kSessionOptions); // a second session before the end of the first
    EXPECT_TRUE(keyboardBecomesFree(false));
    ui->SetSystemUIMode(saved.first, saved.second);
    EXPECT_TRUE(keyboardBecomesFree(true));
}

TEST_F(LinuxSystemUITest, ItsEndGivesEverythingBack) {
    CoveringWindow window;
    window.cover();
    ui->SetSystemUIMode(kUIModeAllHidden, kSessionOptions);
    ui->CGDisplayHideCursor(display);
    EXPECT_TRUE(keyboardBecomesFree(false));
    EXPECT_TRUE(cursorIs(false));
    ui.reset();
    EXPECT_TRUE(keyboardBecomesFree(true));
    EXPECT_TRUE(cursorIs(true));
}

TEST_F(LinuxSystemUITest, OneShowEndsAnyNumberOfHides) {
    EXPECT_EQ(ui->CGDisplayShowCursor(display), kIOReturnSuccess);
    EXPECT_TRUE(cursorIs(true));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(ui->CGDisplayHideCursor(display), kIOReturnSuccess);
    EXPECT_TRUE(cursorIs(false));
    EXPECT_EQ(ui->CGDisplayShowCursor(display), kIOReturnSuccess);
    EXPECT_TRUE(cursorIs(true));
    EXPECT_EQ(ui->CGDisplayShowCursor(display), kIOReturnSuccess);
    EXPECT_EQ(ui->CGDisplayHideCursor(display), kIOReturnSuccess); // the shows did not add up
    EXPECT_TRUE(cursorIs(false));
}

TEST_F(LinuxSystemUITest, OtherDisplaysHaveNoCursor) {
    EXPECT_EQ(ui->CGDisplayHideCursor(display + 1), kIOReturnBadArgument);
    EXPECT_EQ(ui->CGDisplayShowCursor(display + 1), kIOReturnBadArgument);
    EXPECT_TRUE(cursorIs(true));
}

TEST_F(LinuxSystemUITest, BringsTheProgramsWindowsToTheFront) {
    BlackWindow window;
    window.setGeometry(100, 100, 200, 150);
    window.show();
    ASSERT_TRUE(comesTrue([&] { return window.isExposed(); }));
    neighbour.openWindow({100, 100, 200, 150, 0x00FF00});
    neighbour.setFocus(backdrop);
    ASSERT_EQ(neighbour.pixelAt(150, 150), 0x00FF00u);
    ui->activateIgnoringOtherApps();
    EXPECT_TRUE(comesTrue([&] { return neighbour.pixelAt(150, 150) != 0x00FF00; }));
    EXPECT_TRUE(comesTrue([&] { return neighbour.focus() == window.winId(); }));
}

// As the window is that catches the pairing keys: it has the keyboard only where that is asked for.
TEST_F(LinuxSystemUITest, LeavesWhatIsBesideTheProgramsWindowsWhereItIs) {
    BlackWindow window, tool;
    window.setGeometry(100, 100, 200, 150);
    window.show();
    tool.setFlags(Qt::Tool | Qt::FramelessWindowHint);
    tool.setGeometry(10, 10, 20, 20);
    tool.show(); // later, so that it would have the keyboard at last
    ASSERT_TRUE(comesTrue([&] { return window.isExposed() && tool.isExposed(); }));
    neighbour.setFocus(backdrop);
    ui->activateIgnoringOtherApps();
    EXPECT_TRUE(comesTrue([&] { return neighbour.focus() == window.winId(); }));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    const lightpen::Framebuffer framebuffer(640, 480);
    lightpen::LinuxSystemUITest::framebuffer = &framebuffer;
    return lightpen::runTests<QGuiApplication>(argc, argv, lightpen::NoBus(),
                                               lightpen::Xvfb("640x480", framebuffer.options()));
}
