// SPDX-License-Identifier: MIT
// The session's window where a window manager has its say.
#include <QApplication>
#include <QWindow>

#include "calibration/CalibrationScreenFixture.h"
#include "support/Xvfb.h"

namespace lightpen {
namespace {

class CalibrationWindowManagedTest : public CalibrationScreenFixture {
public:
    static int run(int argc, char** argv) {
        testing::InitGoogleTest(&argc, argv);
        const Xvfb server(kServerScreen);
        server.enter();
        addMonitors();
        const ChildProcess manager({"openbox"}, -1);
        // Qt asks once, when it starts, what the manager named by the root window can do.
        const char* const named = "xprop -root _NET_SUPPORTING_WM_CHECK | grep -q '#'";
        if (!eventually([&] { return runProgram({"sh", "-c", named}) == 0; }))
            return 1;
        const QApplication application(argc, argv);
        if (!waitFor([] { return showsWindows(); }))
            return 1;
        return RUN_ALL_TESTS();
    }

private:
    // A manager that is still starting loses windows that are shown to it.
    static bool showsWindows() {
        QWidget probe;
        probe.show();
        for (int i = 0; i < 40 && !probe.windowHandle()->isExposed(); ++i)
            turnLoop();
        return probe.windowHandle()->isExposed();
    }
};

TEST_F(CalibrationWindowManagedTest, CoversTheWholeOfTheMonitorThatIsCalibratedAndNoOther) {
    expectThatTheRightMonitorIsCovered();
}

TEST_F(CalibrationWindowManagedTest, KeyboardCancelsAndASecondSessionCoversTheOtherMonitor) {
    startOn(kLeft);
    expectThatTheKeyboardCancels();
    expectThatTheRightMonitorIsCovered();
    expectThatTheKeyboardCancels();
}

TEST_F(CalibrationWindowManagedTest, StandsAbovePanelsAndWindowsThatWantToBeOnTop) {
    QWidget panel, onTop(nullptr, Qt::Window | Qt::WindowStaysOnTopHint | Qt::FramelessWindowHint);
    panel.setAttribute(Qt::WA_X11NetWmWindowTypeDock);
    panel.setGeometry(0, 570, 400, 30);
    onTop.setGeometry(100, 200, 80, 60);
    for (QWidget* widget : {&panel, &onTop}) {
        widget->setStyleSheet("background: red");
        widget->show();
    }
    const auto bothShow = [] { return shows({110, 210, 60, 40}, kRed) && shows({10, 575, 380, 20}, kRed); };
    EXPECT_TRUE(waitFor(bothShow));
    startOn(kLeft);
    EXPECT_TRUE(waitFor([] { return shows({0, 85, 400, 515}, kWhite); }));
    pressEscape();
    EXPECT_TRUE(waitFor(bothShow));
}

TEST_F(CalibrationWindowManagedTest, WindowThatHadTheKeyboardGetsItBack) {
    QWidget editor;
    editor.setGeometry(50, 50, 200, 100);
    editor.show();
    editor.activateWindow();
    ASSERT_TRUE(waitFor([&] { return editor.isActiveWindow(); }));
    startOn(kRight);
    ASSERT_TRUE(waitFor([] { return window()->isActiveWindow(); }));
    pressEscape();
    EXPECT_TRUE(waitFor([&] { return editor.isActiveWindow(); }));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::CalibrationWindowManagedTest::run(argc, argv);
}
