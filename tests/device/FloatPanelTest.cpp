// SPDX-License-Identifier: MIT
#include "device/FloatPanel.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QPalette>

#include "kit/device/DriverFixture.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

class FloatPanelTest : public DriverFixture {
protected:
    FloatPanelTest() { desk.desktop.frame = ScreenRect{{0, 0}, {800, 700}}; }

    const bool application = ensureOffscreenApplication();
    const WindowRect rect{{100, 50}, {300, 200}};
};

TEST_F(FloatPanelTest, CountsFromTheBottomOfTheScreen) {
    const FloatPanel panel(rect);
    EXPECT_EQ(panel.geometry(), QRect(100, 450, 300, 200));
    EXPECT_FALSE(panel.isVisible());
}

TEST_F(FloatPanelTest, IsBlackAboveTheOthersAndAsksNoWindowManager) {
    const FloatPanel panel(rect);
    EXPECT_EQ(panel.palette().color(QPalette::Window), QColor(Qt::black));
    for (const Qt::WindowType flag : {Qt::FramelessWindowHint, Qt::WindowStaysOnTopHint,
                                      Qt::NoDropShadowWindowHint, Qt::BypassWindowManagerHint})
        EXPECT_TRUE(panel.windowFlags().testFlag(flag));
    EXPECT_EQ(FloatPanel::level(), WindowLevel::shielding);
    EXPECT_LT(FloatPanel::level(), WindowLevel::cursor);
    EXPECT_TRUE(FloatPanel::canBecomeKeyWindow());
}

// Tiling compositors let a window of one possible size float.
TEST_F(FloatPanelTest, HasOnePossibleSizeAndATitle) {
    for (const double width : {300.0, 640.5}) {
        const FloatPanel panel({{100, 50}, {width, 200}});
        EXPECT_EQ(panel.minimumSize(), QSize(qRound(width), 200));
        EXPECT_EQ(panel.maximumSize(), panel.minimumSize());
        EXPECT_EQ(panel.size(), panel.minimumSize());
        EXPECT_EQ(panel.windowTitle(), "LightPenNX7");
    }
}

// As by a compositor that does not ask.
TEST_F(FloatPanelTest, ItsContentFillsItAtWhateverSizeItIsGiven) {
    FloatPanel panel(rect);
    panel.setContentView(std::make_unique<PanelView>(rect));
    panel.makeKeyAndOrderFront();
    for (const QSize size : {QSize(640, 800), QSize(100, 90)}) {
        panel.setFixedSize(size);
        EXPECT_EQ(panel.contentView()->geometry(), QRect(QPoint(0, 0), size));
    }
}

TEST_F(FloatPanelTest, ItsContentFillsIt) {
    FloatPanel panel(rect);
    EXPECT_EQ(panel.contentView(), nullptr);
    panel.setContentView(std::make_unique<PanelView>(rect));
    ASSERT_TRUE(panel.contentView());
    EXPECT_EQ(panel.contentView()->geometry(), QRect(0, 0, 300, 200));
    panel.makeKeyAndOrderFront();
    EXPECT_TRUE(panel.contentView()->isVisible());
    panel.orderOut();
    EXPECT_FALSE(panel.isVisible());
}

TEST_F(FloatPanelTest, TakesTheMouseUnlessItIsToldOtherwise) {
    FloatPanel panel(rect);
    EXPECT_FALSE(panel.ignoresMouseEvents());
    panel.setIgnoresMouseEvents(true);
    EXPECT_TRUE(panel.ignoresMouseEvents());
    panel.setIgnoresMouseEvents(false);
    EXPECT_FALSE(panel.ignoresMouseEvents());
    EXPECT_TRUE(panel.windowFlags().testFlag(Qt::BypassWindowManagerHint));
}

TEST_F(FloatPanelTest, SwallowsKeysAndOutlivesAClose) {
    FloatPanel panel(rect);
    panel.makeKeyAndOrderFront();
    log.clear();
    for (const int key : {Qt::Key_Escape, Qt::Key_Tab, Qt::Key_Z}) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(&panel, &event);
        EXPECT_TRUE(event.isAccepted());
    }
    EXPECT_EQ(log.lines(), std::vector<std::string>());
    panel.close();
    EXPECT_TRUE(panel.isVisible());
}

TEST_F(FloatPanelTest, WithNothingToShowThereIsNothing) {
    for (const Size size : {Size{0, 0}, Size{300, 0}, Size{0, 200}}) {
        FloatPanel panel({{0, 0}, size});
        panel.makeKeyAndOrderFront();
        EXPECT_FALSE(panel.isVisible());
    }
}

TEST_F(FloatPanelTest, IsNotShownOnACoveredScreen) {
    FloatPanel panel(rect);
    desk.systemUI.covered = true;
    panel.makeKeyAndOrderFront();
    EXPECT_FALSE(panel.isVisible());
    desk.systemUI.covered = false;
    panel.makeKeyAndOrderFront();
    EXPECT_TRUE(panel.isVisible());
}

} // namespace
} // namespace lightpen
