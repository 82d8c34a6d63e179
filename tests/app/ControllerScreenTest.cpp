// SPDX-License-Identifier: MIT
// What the controller does when the screen stops being the user's, and when it is his again.
#include "app/ControllerFixture.h"
#include "device/FloatPanel.h"

namespace lightpen {
namespace {

class ControllerScreenTest : public ControllerFixture {
protected:
    void cover(bool covered) {
        desk.systemUI.covered = covered;
        desk.notifications.post({std::string(covered ? kScreenWasCovered : kScreenWasUncovered)});
        runMainLoop();
    }
    // A light that went out behind the locker is not shown again, and the unit is in use.
    void expectGoneWithTheLight() {
        cover(true);
        sightings = 0;
        cover(false);
        EXPECT_FALSE(panelIsShown());
        EXPECT_TRUE(controller->deviceConnected());
    }
    static bool panelIsShown() {
        for (const QWidget* widget : QApplication::topLevelWidgets())
            if (dynamic_cast<const FloatPanel*>(widget) && widget->isVisible())
                return true;
        return false;
    }
    static bool previewIsShown() { return isShown("PreviewWindow"); }
};

TEST_F(ControllerScreenTest, ACoveredScreenEndsASession) {
    startWithUnit();
    controller->calibration("test");
    ASSERT_TRUE(windowIsVisible());
    cover(true);
    EXPECT_FALSE(windowIsVisible());
    EXPECT_EQ(desk.systemUI.mode, kUIModeNormal);
    EXPECT_EQ(canceled.size(), 1u);
    cover(false);
    EXPECT_FALSE(windowIsVisible()) << "who wants it starts it anew";
}

TEST_F(ControllerScreenTest, TheCheckViewGivesWayAndComesBack) {
    sightings = 3;
    startWithUnit();
    ASSERT_TRUE(panelIsShown());
    cover(true);
    EXPECT_FALSE(panelIsShown());
    cover(false);
    EXPECT_TRUE(panelIsShown());
    expectGoneWithTheLight();
}

TEST_F(ControllerScreenTest, AnotherScreenIsMappedToAndHasTheCheckView) {
    sightings = 3;
    startWithUnit();
    ASSERT_TRUE(panelIsShown());
    const auto used = std::dynamic_pointer_cast<KVRCalibrationCenter>(driver->calibrationCenter());
    used->setCalibrationPoints(std::make_shared<const PointList>(kFour));
    desk.desktop.frame = ScreenRect{{0, 0}, {1024, 768}};
    desk.notifications.post({std::string(kScreensDidChange)});
    EXPECT_EQ(topWindow<FloatPanel>()->geometry(), QRect(256, 128, 512, 384));
    EXPECT_EQ(used->calibrators()->front()->destinationRect(), (ScreenRect{{170, 75}, {684, 618}}));
    expectGoneWithTheLight();
}

TEST_F(ControllerScreenTest, LightBehindALockerShowsNoWindow) {
    start();
    cover(true);
    sightings = 3;
    openUnit();
    EXPECT_FALSE(panelIsShown());
    EXPECT_FALSE(previewIsShown());
    cover(false);
    EXPECT_TRUE(panelIsShown());
    EXPECT_TRUE(previewIsShown());
    expectGoneWithTheLight();
}

} // namespace
} // namespace lightpen
