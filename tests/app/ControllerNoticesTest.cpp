// SPDX-License-Identifier: MIT
// What the program says without being asked: the tool tip, and the notices but those of a calibration.
#include <gmock/gmock.h>

#include <QClipboard>
#include <QGuiApplication>

#include "app/ControllerFixture.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using State = PenCondition::State;
using std::chrono::seconds;

const PointList kCalibration{{210, 140}, {2330, 161}, {233, 1709}, {2291, 1688}};

class ControllerNoticesTest : public ControllerFixture {
protected:
    // Not the first start, at which the window comes in place of a notice.
    ControllerNoticesTest() { desk.defaults.set["Window Shown"] = true; }
    void startCalibrated() {
        openUnit({.points = kCalibration});
        start();
    }
    // As the platform does it.
    void setAccess(const UnitAccess& access) {
        desk.unitAccess = access;
        desk.notifications.post({std::string(kUnitAccessDidChange)});
    }
    void startAnew() {
        driver->setDeviceDelegate(nullptr);
        controllerState = ControllerState{};
        controller = std::make_shared<LightPenNX7Controller>();
        desk.notices.shown.clear();
        start();
    }
    // The remembered screen of the calibration, whose real one is 1920 x 1080.
    void rememberScreen(const std::string& sizeAndTurns) {
        desk.defaults.set["Calibrated Screens"] = "," + sizeAndTurns + ",210,140,2330,161,233,1709,2291,1688";
    }
    State state() const { return controller->penCondition().state(); }
    std::string toolTip() const { return controller->statusItem()->toolTip().toStdString(); }
    std::vector<std::string> titles() const {
        std::vector<std::string> titles;
        for (const UserNotice& notice : desk.notices.shown)
            titles.push_back(notice.title);
        return titles;
    }
    void choose(std::size_t action) { desk.notices.shown.back().actions.at(action).chosen(); }
};

TEST_F(ControllerNoticesTest, TheToolTipNamesTheProgramAndTellsTheCondition) {
    start();
    EXPECT_EQ(state(), State::noUnit);
    EXPECT_EQ(toolTip(), "LightPenNX7 – No camera unit");
    desk.defaults.set["Language"] = std::string("de");
    controller->localeDidChanged({});
    EXPECT_EQ(toolTip(), "LightPenNX7 – de:No camera unit");
    openUnit({.points = kCalibration});
    controller->deviceDidAddCallback(*driver);
    EXPECT_EQ(state(), State::ready);
    EXPECT_EQ(toolTip(), "LightPenNX7 – de:The pen is ready");
    controller->deviceDidRemoveCallback(*driver);
    EXPECT_EQ(toolTip(), "LightPenNX7 – de:No camera unit");
}

TEST_F(ControllerNoticesTest, ALanguageWithoutTheWordsLeavesTheName) {
    desk.bundle.dictionaries["English.strings"] = {};
    start();
    EXPECT_EQ(toolTip(), "LightPenNX7");
}

TEST_F(ControllerNoticesTest, WithoutAUnitNothingIsSaid) {
    desk.statusBar.there = true;
    start();
    desk.runLoop.runFor(seconds(60));
    EXPECT_THAT(titles(), IsEmpty());
}

TEST_F(ControllerNoticesTest, AUnitIsGreetedWhenItIsHereForTheFirstTimeEver) {
    startCalibrated();
    ASSERT_THAT(titles(), ElementsAre("The pen is ready"));
    EXPECT_TRUE(desk.notices.shown.back().goesByItself);
    EXPECT_THAT(desk.notices.labels(), ElementsAre("Calibrate again"));
    controller->deviceDidRemoveCallback(*driver);
    controller->deviceDidAddCallback(*driver);
    EXPECT_EQ(state(), State::ready);
    EXPECT_THAT(titles(), SizeIs(1));
    startAnew();
    EXPECT_EQ(state(), State::ready);
    EXPECT_THAT(titles(), IsEmpty());
}

TEST_F(ControllerNoticesTest, OnlySoManyUnitsAreRemembered) {
    std::string others;
    for (int other = 1; other <= 16; ++other)
        others += (other > 1 ? " U" : "U") + std::to_string(other);
    desk.defaults.set["Known Units"] = others;
    startCalibrated();
    EXPECT_THAT(titles(), SizeIs(1));
    EXPECT_EQ(desk.defaults.set["Known Units"], DefaultsValue("- " + others.substr(0, others.rfind(' '))))
        << "it says no serial number";
}

TEST_F(ControllerNoticesTest, AnEmptyUnitAsksToBeCalibrated) {
    openUnit();
    start();
    EXPECT_EQ(state(), State::notCalibrated);
    ASSERT_THAT(titles(), ElementsAre("The pen is not calibrated"));
    EXPECT_FALSE(desk.notices.shown.back().goesByItself);
    EXPECT_THAT(desk.notices.labels(), ElementsAre("Calibration"));
    choose(0);
    EXPECT_TRUE(windowIsVisible());
    pressEscape();
    runMainLoop();
    EXPECT_EQ(state(), State::notCalibrated);
    EXPECT_THAT(titles(), SizeIs(1)) << "once is enough";
}

TEST_F(ControllerNoticesTest, WithoutAUnitThereIsNothingToCalibrate) {
    startCalibrated();
    controller->deviceDidRemoveCallback(*driver);
    choose(0);
    EXPECT_FALSE(windowIsVisible());
}

TEST_F(ControllerNoticesTest, ACalibrationIsNoLessThereWhileAnotherIsMade) {
    startCalibrated();
    controller->calibration("test");
    runMainLoop();
    EXPECT_EQ(state(), State::ready);
    setAccess({.permissionCommand = "of another unit"});
    EXPECT_EQ(state(), State::ready);
    pressEscape();
    runMainLoop();
    EXPECT_EQ(state(), State::ready);
    EXPECT_THAT(titles(), ElementsAre("The pen is ready"));
}

TEST_F(ControllerNoticesTest, AScreenOfAnotherShapeIsTold) {
    rememberScreen("1280,720,0");
    startCalibrated();
    EXPECT_EQ(state(), State::ready) << "the same shape";
    desk.desktop.frame = ScreenRect{{0, 0}, {1024, 768}};
    desk.notifications.post({std::string(kScreensDidChange)});
    EXPECT_EQ(state(), State::calibrationDoesNotFit);
    EXPECT_THAT(titles(), ElementsAre("The pen is ready", "The calibration may not fit the screen any more"));
    EXPECT_THAT(desk.notices.labels(), ElementsAre("Calibrate again"));
    desk.desktop.frame = ScreenRect{{0, 0}, {2560, 1440}};
    desk.notifications.post({std::string(kScreensDidChange)});
    EXPECT_EQ(state(), State::ready);
    EXPECT_THAT(titles(), SizeIs(2));
}

TEST_F(ControllerNoticesTest, ACalibrationThatNobodyRemembersFits) {
    startCalibrated();
    desk.desktop.frame = ScreenRect{{0, 0}, {1024, 768}};
    desk.notifications.post({std::string(kScreensDidChange)});
    EXPECT_EQ(state(), State::ready);
}

TEST_F(ControllerNoticesTest, AMissingPermissionIsToldWithTheCommandThatMendsIt) {
    start();
    setAccess({.permissionCommand = "sudo mend"});
    EXPECT_EQ(state(), State::noPermission);
    EXPECT_EQ(toolTip(), "LightPenNX7 – No permission to use the camera unit");
    EXPECT_THAT(titles(), IsEmpty()) << "it may be on its way";
    desk.runLoop.runFor(seconds(4));
    ASSERT_THAT(titles(), ElementsAre("No permission to use the camera unit"));
    EXPECT_EQ(desk.notices.shown.back().text, "Run this command in a terminal:\nsudo mend");
    EXPECT_THAT(desk.notices.labels(), ElementsAre("Copy the command"));
    QGuiApplication::clipboard()->setText(QStringLiteral("something else"));
    choose(0);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("sudo mend"));
    setAccess({});
    setAccess({.permissionCommand = "sudo mend"});
    desk.runLoop.runFor(seconds(4));
    EXPECT_THAT(titles(), SizeIs(1)) << "once is enough";
}

TEST_F(ControllerNoticesTest, AMissingPermissionIsKnownFromTheStart) {
    desk.unitAccess.permissionCommand = "sudo mend";
    start();
    EXPECT_EQ(state(), State::noPermission);
    desk.runLoop.runFor(seconds(4));
    EXPECT_THAT(titles(), SizeIs(1));
}

TEST_F(ControllerNoticesTest, APermissionThatComesLateIsNotTalkedAbout) {
    start();
    setAccess({.permissionCommand = "sudo mend"});
    desk.runLoop.runFor(seconds(2));
    setAccess({});
    desk.runLoop.runFor(seconds(2));
    setAccess({.permissionCommand = "sudo mend"});
    desk.runLoop.runFor(seconds(2));
    EXPECT_THAT(titles(), IsEmpty()) << "it counts from the last time";
    setAccess({});
    desk.runLoop.runFor(seconds(60));
    EXPECT_EQ(state(), State::noUnit);
    EXPECT_THAT(titles(), ElementsAre("No panel shows the menu of the pen"));
}

TEST_F(ControllerNoticesTest, AnotherUsersSessionIsInTheToolTipAlone) {
    startCalibrated();
    setAccess({.hasTheSeat = false});
    EXPECT_EQ(state(), State::otherSession);
    EXPECT_EQ(toolTip(), "LightPenNX7 – The camera unit is left to another user");
    EXPECT_THAT(titles(), ElementsAre("The pen is ready"));
}

TEST_F(ControllerNoticesTest, StrayLightIsToldOnceAndItsPictureOffered) {
    desk.statusBar.there = true;
    start();
    openUnit({.points = kCalibration});
    desk.notices.shown.clear();
    driver->Nx9View();
    controller->noiseDetectedCallback(*driver);
    controller->deviceDidRemoveCallback(*driver);
    EXPECT_EQ(state(), State::strayLight);
    ASSERT_THAT(titles(), ElementsAre("The camera sees stray light"));
    EXPECT_EQ(desk.notices.shown.back().text, kStrayLightMessage);
    EXPECT_THAT(desk.notices.labels(), ElementsAre("Camera picture"));
    auto& preview = *widget("PreviewWindow").window();
    preview.hide();
    choose(0);
    EXPECT_TRUE(preview.isVisible());
    preview.hide();
    driver->startPointQueue(); // the light is off
    controller->deviceDidAddCallback(*driver);
    EXPECT_EQ(state(), State::ready);
    choose(0);
    EXPECT_FALSE(preview.isVisible());
}

TEST_F(ControllerNoticesTest, WithoutAPanelTheWindowIsOffered) {
    start();
    desk.runLoop.runFor(seconds(9));
    EXPECT_THAT(titles(), IsEmpty());
    desk.runLoop.runFor(seconds(2));
    ASSERT_THAT(titles(), ElementsAre("No panel shows the menu of the pen"));
    EXPECT_THAT(desk.notices.labels(), ElementsAre("Open the window"));
    choose(0);
    EXPECT_TRUE(widget("HomeWindow").isVisible());
}

TEST_F(ControllerNoticesTest, AtTheFirstStartTheWindowComesInPlaceOfANotice) {
    desk.defaults.set.erase("Window Shown");
    start();
    desk.runLoop.runFor(seconds(11));
    EXPECT_TRUE(widget("HomeWindow").isVisible());
    EXPECT_THAT(titles(), IsEmpty());
}

TEST_F(ControllerNoticesTest, TheFirstWindowWaitsUntilTheScreenIsTheUsers) {
    desk.defaults.set.erase("Window Shown");
    desk.systemUI.covered = true;
    start();
    desk.runLoop.runFor(seconds(11));
    desk.systemUI.covered = false;
    EXPECT_FALSE(desk.defaults.set.contains("Window Shown"));
    desk.runLoop.runFor(seconds(10));
    EXPECT_TRUE(widget("HomeWindow").isVisible());
}

TEST_F(ControllerNoticesTest, APanelThatComesInTimeIsNotMissed) {
    start();
    desk.runLoop.runFor(seconds(9));
    desk.statusBar.come();
    desk.runLoop.runFor(seconds(60));
    EXPECT_THAT(titles(), IsEmpty());
}

TEST_F(ControllerNoticesTest, NoticesSpeakTheUsersLanguage) {
    desk.defaults.set["Language"] = std::string("ja");
    startCalibrated();
    EXPECT_THAT(titles(), ElementsAre("ja:The pen is ready"));
    EXPECT_THAT(desk.notices.labels(), ElementsAre("ja:Calibrate again"));
}

} // namespace
} // namespace lightpen
