// SPDX-License-Identifier: MIT
// A camera that is the program's own: what window and item say of it, and the switch.
#include "app/home/CameraSwitch.h"

#include <gmock/gmock.h>

#include <QLayout>

#include "app/ControllerFixture.h"
#include "app/home/HomeWindow.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class CameraSwitchTest : public ControllerFixture {
protected:
    void haveCamera() {
        ProgramFacts facts;
        facts.camera =
            ProgramCamera{[this] { return state; }, [this] { return on; },
                          [this](bool wanted) {
                              wishes.push_back(wanted);
                              on = wanted;
                              change(wanted ? "The camera is looking" : "The camera is switched off");
                          }};
        controller->setProgramFacts(facts);
    }
    void change(std::string_view now) {
        state = now;
        desk.notifications.post({std::string(kProgramCameraDidChange)});
    }
    std::string toolTip() const { return controller->statusItem()->toolTip().toStdString(); }
    static std::string stateText() { return widget<QLabel>("stateText").text().toStdString(); }
    static QPushButton& button() { return widget<QPushButton>("switchCamera"); }

    std::string_view state = "The camera is looking";
    bool on = true;
    std::vector<bool> wishes;
};

TEST_F(CameraSwitchTest, ItemAndWindowSayWhetherTheCameraLooks) {
    haveCamera();
    start();
    controller->showHome();
    EXPECT_EQ(toolTip(), "LightPenNX7 \u2013 The camera is looking");
    EXPECT_EQ(stateText(), "The camera is looking");
    EXPECT_FALSE(widget("stateAdvice").isVisible()) << "there is nothing to plug in";
    change("Another program uses the camera");
    EXPECT_EQ(toolTip(), "LightPenNX7 \u2013 Another program uses the camera");
    EXPECT_EQ(stateText(), "Another program uses the camera");
    openUnit({.points = {{210, 140}, {2330, 161}, {233, 1709}, {2291, 1688}}});
    controller->statMenu(*driver);
    controller->deviceDidAddCallback(*driver);
    change("The camera is looking");
    EXPECT_EQ(toolTip(), "LightPenNX7 \u2013 The pen is ready \u2013 The camera is looking");
    EXPECT_EQ(stateText(), "The pen is ready\nThe camera is looking");
}

TEST_F(CameraSwitchTest, TheUserSwitchesItOffAndOn) {
    haveCamera();
    start();
    controller->showHome();
    EXPECT_EQ(button().text(), "Switch the camera off");
    EXPECT_THAT(widget<QLabel>("cameraWords").text().toStdString(),
                HasSubstr("The camera is looking\nIts pictures stay in memory."));
    button().click();
    EXPECT_EQ(button().text(), "Switch the camera on");
    EXPECT_EQ(stateText(), "The camera is switched off");
    button().click();
    EXPECT_THAT(wishes, ElementsAre(false, true));
}

TEST_F(CameraSwitchTest, TheAutomaticCalibrationComesFirst) {
    haveCamera();
    start();
    controller->showHome();
    topWindow<HomeWindow>()->ensurePolished();
    const auto& automatic = widget<QPushButton>("calibrateAutomatically");
    const auto& byTouching = widget<QPushButton>("calibrateByTouching");
    QLayout& rows = *automatic.parentWidget()->layout();
    EXPECT_EQ(rows.indexOf(&automatic), 0);
    EXPECT_GT(rows.indexOf(&byTouching), 1);
    EXPECT_EQ(automatic.nextInFocusChain(), &byTouching);
    EXPECT_FALSE(widget<QLabel>("filmHidesTargets").isHidden());
}

TEST_F(CameraSwitchTest, UnitsOnACableHaveNone) {
    start();
    controller->showHome();
    EXPECT_THROW(button(), std::runtime_error);
    EXPECT_TRUE(widget<QLabel>("filmHidesTargets").isHidden());
    const auto& byTouching = widget<QPushButton>("calibrateByTouching");
    EXPECT_EQ(byTouching.parentWidget()->layout()->indexOf(&byTouching), 0);
    change("The camera is looking");
    EXPECT_EQ(toolTip(), "LightPenNX7 \u2013 No camera unit");
}

TEST_F(CameraSwitchTest, TheMenuCalibratesAutomaticallyUntilTheUserChooses) {
    desk.bundle.dictionaries["NX.plist"].entries = {{"Auto Calibration", {false}}};
    LightPenNX7Controller::initialize();
    EXPECT_EQ(desk.defaults.objectForKey("Auto Calibration"), DefaultsValue(false));
    LightPenNX7Controller::initialize(true);
    EXPECT_EQ(desk.defaults.objectForKey("Auto Calibration"), DefaultsValue(true));
    desk.defaults.set["Auto Calibration"] = false;
    EXPECT_EQ(desk.defaults.objectForKey("Auto Calibration"), DefaultsValue(false));
}

} // namespace
} // namespace lightpen
