// SPDX-License-Identifier: MIT
// What stays of the desktop's interface where a client may not take it over.
#include <gtest/gtest.h>

#include <cstdlib>

#include <QCursor>

#include "kit/linux/CoveringWindow.h"
#include "kit/linux/TestMain.h"
#include "linux_desktop/screen/LinuxSystemUI.h"

namespace lightpen {
namespace {

TEST(SystemUIWithoutX11, KeepsTheValuesAndSaysThatTheyChangeNothing) {
    LinuxSystemUI ui;
    EXPECT_EQ(ui.SetSystemUIMode(kUIModeAllHidden, 76), kIOReturnUnsupported);
    SystemUIMode mode = 0;
    SystemUIOptions options = 0;
    ui.GetSystemUIMode(mode, options);
    EXPECT_EQ(mode, kUIModeAllHidden);
    EXPECT_EQ(options, 76u);
    EXPECT_EQ(ui.SetSystemUIMode(kUIModeNormal, 0), kIOReturnSuccess);
}

TEST(SystemUIWithoutX11, HidesTheCursorOverItsOwnWindows) {
    LinuxSystemUI ui;
    const auto display = ui.CGMainDisplayID();
    EXPECT_EQ(ui.CGDisplayShowCursor(display), kIOReturnSuccess);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(ui.CGDisplayHideCursor(display), kIOReturnSuccess);
    ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::BlankCursor);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(ui.CGDisplayShowCursor(display), kIOReturnSuccess);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST(SystemUIWithoutX11, ItsEndShowsTheCursor) {
    {
        LinuxSystemUI ui;
        ui.CGDisplayHideCursor(ui.CGMainDisplayID());
    }
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST(SystemUIWithoutX11, AsksForTheWindowsOfTheProgram) {
    LinuxSystemUI ui;
    CoveringWindow window;
    window.show();
    ui.activateIgnoringOtherApps();
    EXPECT_TRUE(comesTrue([&] { return window.isActive(); }));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    return lightpen::runTests<QGuiApplication>(argc, argv, lightpen::NoBus());
}
