// SPDX-License-Identifier: MIT
// The application's window: when it comes, what is done in it, and what other programs may ask for.
#include <gmock/gmock.h>

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QListWidget>
#include <QScreen>

#include "app/ControllerFixture.h"
#include "app/ProgramVersion.h"
#include "app/home/CalibrationWillBegin.h"
#include "app/home/HomeWindow.h"
#include "platform/PlatformSettings.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const PointList kBefore{{210, 140}, {2330, 161}, {233, 1709}, {2291, 1688}};
const PointList kLater{{220, 150}, {2320, 171}, {243, 1719}, {2281, 1678}};

class ControllerHomeTest : public ControllerFixture {
protected:
    static HomeWindow* home() { return topWindow<HomeWindow>(); }
    static bool isShown() { return home() && home()->isVisible(); }
    static QPushButton& button(const char* name) { return widget<QPushButton>(name); }
    // The user chooses the entry that stands for this value.
    static void choose(const char* name, const QVariant& value) {
        auto& list = widget<QComboBox>(name);
        const int index = list.findData(value);
        ASSERT_GE(index, 0) << name << " has no " << value.toString().toStdString();
        list.setCurrentIndex(index);
        Q_EMIT list.activated(index);
    }
    static std::vector<std::string> entries(const char* name) {
        const auto& list = widget<QComboBox>(name);
        std::vector<std::string> texts;
        for (int i = 0; i < list.count(); ++i)
            texts.push_back(list.itemText(i).toStdString());
        return texts;
    }
    static std::vector<std::string> titles() {
        const auto& list = widget<QListWidget>("titles");
        std::vector<std::string> texts;
        for (int i = 0; i < list.count(); ++i)
            texts.push_back(list.item(i)->text().toStdString());
        return texts;
    }
    void complete(const PointList& points) {
        controller->calibrationDidComplete(
            {std::string(kCalibrationCompleted),
             nullptr,
             {{std::string(kCalibrationPoints), std::make_shared<const PointList>(points)}}});
        happened.clear();
    }
    PointList held() const {
        PointList points = *driver->calibrationPointsFromFlash();
        points.resize(kBefore.size()); // a read yields the unit's information behind them
        return points;
    }
};

// When it comes

TEST_F(ControllerHomeTest, ComesTenSecondsAfterTheFirstStartWithoutAPanel) {
    start();
    desk.runLoop.runFor(9500ms);
    EXPECT_FALSE(isShown());
    desk.runLoop.runFor(500ms);
    EXPECT_TRUE(isShown());
    EXPECT_EQ(desk.defaults.set.at("Window Shown"), DefaultsValue(true));
}

TEST_F(ControllerHomeTest, DoesNotComeByItselfAgain) {
    desk.defaults.set["Window Shown"] = true;
    start();
    desk.runLoop.runFor(11s);
    EXPECT_FALSE(isShown());
}

TEST_F(ControllerHomeTest, DoesNotComeWhereAPanelHasComeInTime) {
    start();
    desk.runLoop.runFor(5s);
    desk.statusBar.come();
    desk.runLoop.runFor(6s);
    EXPECT_FALSE(isShown());
}

TEST_F(ControllerHomeTest, DoesNotComeOverALockedScreen) {
    start();
    desk.systemUI.covered = true;
    desk.runLoop.runFor(11s);
    controller->showHome();
    EXPECT_FALSE(controller->performAction("show"));
    EXPECT_FALSE(isShown());
}

TEST_F(ControllerHomeTest, ComesBeforeTheOthersEachTime) {
    start();
    controller->showHome();
    ASSERT_TRUE(isShown());
    EXPECT_THAT(happened.takeDeeds(), Contains("activate"));
    home()->setWindowState(Qt::WindowMinimized);
    controller->showHome();
    EXPECT_FALSE(home()->isMinimized());
    home()->close();
    EXPECT_FALSE(isShown());
    controller->showHome();
    EXPECT_TRUE(isShown());
}

TEST_F(ControllerHomeTest, CanBeAskedForWhileAStartIsHeldUp) {
    EXPECT_TRUE(controller->performAction("calibrate"));
    EXPECT_TRUE(isShown());
    EXPECT_THAT(titles(), Contains("Settings"));
    EXPECT_FALSE(button("calibrateByTouching").isEnabled());
    auto& help = widget<QCheckBox>("Help Menu");
    help.click();
    EXPECT_EQ(desk.defaults.set["Help Menu"], DefaultsValue(true));
    start();
    EXPECT_TRUE(isShown());
}

TEST_F(ControllerHomeTest, SaysWhatIsSoAndWhatMendsIt) {
    start();
    controller->showHome();
    EXPECT_EQ(widget<QLabel>("stateText").text(), "No camera unit");
    EXPECT_EQ(widget<QLabel>("stateAdvice").text(), "Plug the camera unit in. If it is, try another port.");
    EXPECT_FALSE(widget("stateCommand").isVisible());
    desk.unitAccess.permissionCommand = "sudo mend it";
    desk.notifications.post({std::string(kUnitAccessDidChange)});
    EXPECT_EQ(widget<QLabel>("stateText").text(), "No permission to use the camera unit");
    EXPECT_EQ(widget<QLabel>("stateAdvice").text(), "Run this command in a terminal:");
    button("stateCopy").click();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "sudo mend it");
    desk.unitAccess.permissionCommand = "";
    openUnit({.points = kBefore});
    controller->statMenu(*driver);
    controller->deviceDidAddCallback(*driver);
    EXPECT_EQ(widget<QLabel>("stateText").text(), "The pen is ready");
    EXPECT_FALSE(widget("stateAdvice").isVisible());
    EXPECT_FALSE(button("stateCopy").isVisible());
}

// What others ask for

TEST_F(ControllerHomeTest, OthersMayAskForFourThings) {
    desk.bundle.files["enu.htm"] = "/bundle/resources/enu.htm";
    startWithUnit();
    EXPECT_TRUE(controller->performAction("show"));
    EXPECT_TRUE(isShown());
    EXPECT_TRUE(controller->performAction("settings"));
    EXPECT_EQ(widget<QListWidget>("titles").currentItem()->text(), "Settings");
    EXPECT_TRUE(controller->performAction("help"));
    EXPECT_THAT(desk.workspace.opened, ElementsAre("/bundle/resources/enu.htm"));
    EXPECT_FALSE(session());
    EXPECT_TRUE(controller->performAction("calibrate"));
    EXPECT_TRUE(session());
}

TEST_F(ControllerHomeTest, WithoutAUnitACalibrationShowsWhy) {
    start();
    controller->performAction("calibrate");
    EXPECT_FALSE(session());
    EXPECT_TRUE(isShown());
}

TEST_F(ControllerHomeTest, NothingElseCanBeAskedFor) {
    startWithUnit();
    for (const char* action : {"", "exit", "C", "Show", "Application: a line\nof another's"}) {
        EXPECT_FALSE(controller->performAction(action));
        EXPECT_THAT(log.takeLines(), ElementsAre("Application: asked for something that it does not do"));
    }
    EXPECT_FALSE(isShown());
    EXPECT_THAT(happened.takeDeeds(), IsEmpty());
}

TEST_F(ControllerHomeTest, NobodyInterruptsACalibration) {
    startWithUnit();
    controller->calibration("test");
    const auto running = session();
    ASSERT_TRUE(running);
    happened.clear();
    for (const char* action : {"show", "calibrate", "settings", "help"})
        EXPECT_FALSE(controller->performAction(action)) << action;
    EXPECT_FALSE(isShown());
    EXPECT_THAT(happened.takeDeeds(), IsEmpty());
    EXPECT_TRUE(windowIsVisible());
}

// Calibrations

TEST_F(ControllerHomeTest, WithoutAUnitNothingCanBeCalibrated) {
    start();
    controller->showHome();
    for (const char* name : {"calibrateByTouching", "calibrateAutomatically", "undoCalibration"})
        EXPECT_FALSE(button(name).isEnabled()) << name;
    openUnit();
    controller->statMenu(*driver);
    controller->deviceDidAddCallback(*driver);
    EXPECT_TRUE(button("calibrateByTouching").isEnabled());
    EXPECT_TRUE(button("calibrateAutomatically").isEnabled());
    EXPECT_FALSE(button("undoCalibration").isEnabled());
    controller->deviceDidRemoveCallback(*driver);
    runMainLoop();
    EXPECT_FALSE(button("calibrateByTouching").isEnabled());
}

TEST_F(ControllerHomeTest, EachButtonBeginsItsCalibrationWhateverTheMenuDoes) {
    desk.defaults.set["Auto Calibration"] = true;
    startWithUnit();
    controller->showHome();
    happened.clear();
    bool shown = true;
    desk.notifications.addObserver(this, kCalibrationWillBegin, nullptr,
                                   [&](const Notification&) { shown = windowIsVisible(); });
    button("calibrateByTouching").click();
    desk.notifications.removeObserver(this);
    EXPECT_FALSE(shown) << "what covers a screen gives way before";
    EXPECT_TRUE(windowIsVisible());
    EXPECT_THAT(happened.takeDeeds(), Not(Contains("filter out")));
    pressEscape();
    desk.defaults.set["Auto Calibration"] = false;
    happened.clear();
    button("calibrateAutomatically").click();
    EXPECT_TRUE(windowIsVisible());
    EXPECT_THAT(happened.takeDeeds(), Contains("filter out"));
    pressEscape();
}

TEST_F(ControllerHomeTest, ACameraThatSeesNoScreenSaysWhyItFindsNoTargets) {
    controller->setProgramFacts({.logFile = "", .cameraSeesScreen = false});
    startWithUnit();
    controller->showHome();
    EXPECT_FALSE(button("calibrateAutomatically").isEnabled());
    EXPECT_TRUE(widget("whyNotAutomatically").isVisible());
    EXPECT_TRUE(button("calibrateByTouching").isEnabled());
}

TEST_F(ControllerHomeTest, TheLastCalibrationIsUndoneOnce) {
    openUnit({.points = kBefore});
    start();
    controller->showHome();
    EXPECT_FALSE(button("undoCalibration").isEnabled());
    complete(kLater);
    EXPECT_EQ(held(), kLater);
    ASSERT_TRUE(button("undoCalibration").isEnabled());
    button("undoCalibration").click();
    EXPECT_EQ(held(), kBefore);
    EXPECT_FALSE(button("undoCalibration").isEnabled());
}

TEST_F(ControllerHomeTest, WhatTheNoticeHasTakenBackIsNotUndoneOnceMore) {
    openUnit({.points = kBefore});
    start();
    controller->showHome();
    complete(kLater);
    ASSERT_EQ(desk.notices.labels().back(), "Keep the one before");
    desk.notices.shown.back().actions.back().chosen();
    EXPECT_EQ(held(), kBefore);
    EXPECT_FALSE(button("undoCalibration").isEnabled());
}

TEST_F(ControllerHomeTest, AnotherUnitsCalibrationIsNotUndone) {
    openUnit({.points = kBefore});
    start();
    controller->showHome();
    complete(kLater);
    openUnit({.points = kBefore});
    controller->deviceDidAddCallback(*driver);
    EXPECT_FALSE(button("undoCalibration").isEnabled());
}

// Settings

TEST_F(ControllerHomeTest, TheLanguageCountsAtOnceEverywhere) {
    wantEverything();
    startWithUnit();
    controller->showHome();
    controller->showPreviewWindow(true);
    EXPECT_EQ(entries("languageChoice").front(), "The system's language");
    choose("languageChoice", "de");
    EXPECT_THAT(titles(), Contains("de:Settings"));
    EXPECT_EQ(button("openHelp").text(), "de:Open the help");
    EXPECT_EQ(itemsOf(menu()).front(), "de:Calibration");
    EXPECT_EQ(widget("PreviewWindow").windowTitle(), "de:Camera picture");
    EXPECT_EQ(widget<QComboBox>("languageChoice").currentData(), "de");
    choose("languageChoice", QString());
    EXPECT_FALSE(desk.defaults.set.contains("Language"));
    EXPECT_THAT(titles(), Contains("Settings"));
}

TEST_F(ControllerHomeTest, TheMenuHasWhatTheSwitchesSay) {
    wantEverything();
    startWithUnit();
    controller->showHome();
    for (const char* key : {"Projection Distance Setting", "Language Setting", "Help Menu"}) {
        auto& box = widget<QCheckBox>(key);
        EXPECT_TRUE(box.isChecked()) << key;
        box.click();
        EXPECT_EQ(desk.defaults.set.at(key), DefaultsValue(false)) << key;
    }
    EXPECT_THAT(itemsOf(menu()), ElementsAre("Calibration", "-", "About...", "Exit"));
    widget<QCheckBox>("Help Menu").click();
    EXPECT_THAT(itemsOf(menu()), ElementsAre("Calibration", "-", "Help", "About...", "Exit"));
}

TEST_F(ControllerHomeTest, TheStartAtLoginIsEnteredAndTakenOffAtOnce) {
    desk.bundle.others["/opt/LightPenNX7/LightPenNX7"] = "org.lightpen.LightPenNX7";
    start();
    controller->showHome();
    widget<QCheckBox>("Launch At Start Up").click();
    EXPECT_EQ(desk.loginItems.stored->size(), 1U);
    widget<QCheckBox>("Launch At Start Up").click();
    EXPECT_THAT(*desk.loginItems.stored, IsEmpty());
}

TEST_F(ControllerHomeTest, TheMenuCalibratesAsTheSwitchSays) {
    startWithUnit();
    controller->showHome();
    widget<QCheckBox>("Auto Calibration").click();
    happened.clear();
    controller->calibration("menu");
    EXPECT_THAT(happened.takeDeeds(), Contains("filter out"));
    pressEscape();
}

TEST_F(ControllerHomeTest, TheDebugWindowComesAndGoes) {
    startWithUnit(77);
    controller->showHome();
    widget<QCheckBox>("Debug Window").click();
    EXPECT_TRUE(widget("DebugWindow").isVisible());
    EXPECT_EQ(textOf("faeTextField"), "77");
    widget<QCheckBox>("Debug Window").click();
    EXPECT_FALSE(widget("DebugWindow").isVisible());
}

TEST_F(ControllerHomeTest, ADistanceIsSentAndStoredAsFromTheMenu) {
    desk.defaults.set["Projection Distance"] = std::int64_t{1};
    startWithUnit();
    controller->showHome();
    EXPECT_EQ(widget<QComboBox>("distanceChoice").currentText(), "Distance2");
    happened.clear();
    choose("distanceChoice", 0);
    EXPECT_EQ(desk.defaults.set.at("Projection Distance"), DefaultsValue(std::int64_t{0}));
    EXPECT_THAT(happened.takeDeeds(), Not(IsEmpty()));
    EXPECT_EQ(widget<QComboBox>("distanceChoice").currentText(), "Distance3");
}

// It would be sent to nobody.
TEST_F(ControllerHomeTest, ADistanceIsNotChosenWithoutAUnit) {
    start();
    controller->showHome();
    EXPECT_FALSE(widget("distanceChoice").isEnabled());
    controller->deviceDidAddCallback(*driver);
    EXPECT_TRUE(widget("distanceChoice").isEnabled());
}

TEST_F(ControllerHomeTest, TheScreenIsChosenFromThoseThatAreThere) {
    desk.desktop.name = "eDP-1";
    desk.desktop.others = {{"HDMI-1", {{1920, 0}, {1024, 768}}}};
    start();
    int chosen = 0;
    desk.notifications.addObserver(&chosen, kMainScreenWasChosen, nullptr,
                                   [&](const Notification&) { ++chosen; });
    controller->showHome();
    EXPECT_THAT(entries("screenChoice"), ElementsAre("The desktop's primary screen", "eDP-1", "HDMI-1"));
    choose("screenChoice", "HDMI-1");
    EXPECT_EQ(desk.defaults.set.at("Main Screen"), DefaultsValue(std::string("HDMI-1")));
    desk.desktop.others.clear();
    desk.notifications.post({std::string(kScreensDidChange)});
    EXPECT_THAT(entries("screenChoice"),
                ElementsAre("The desktop's primary screen", "eDP-1", "HDMI-1 (not connected)"));
    EXPECT_EQ(widget<QComboBox>("screenChoice").currentData(), "HDMI-1");
    choose("screenChoice", QString());
    EXPECT_FALSE(desk.defaults.set.contains("Main Screen"));
    EXPECT_EQ(chosen, 2);
    desk.notifications.removeObserver(&chosen);
}

TEST_F(ControllerHomeTest, AnOpenListStaysOpenUnlessItsEntriesChange) {
    desk.desktop.name = "eDP-1";
    start();
    controller->showHome();
    topWindow<HomeWindow>()->showPage("Settings");
    auto& screens = widget<QComboBox>("screenChoice");
    screens.showPopup();
    ASSERT_TRUE(screens.view()->isVisible());
    openUnit();
    controller->statMenu(*driver);
    controller->deviceDidAddCallback(*driver);
    EXPECT_TRUE(screens.view()->isVisible());
    desk.desktop.others = {{"HDMI-1", {{1920, 0}, {1024, 768}}}};
    desk.notifications.post({std::string(kScreensDidChange)});
    EXPECT_FALSE(screens.view()->isVisible());
    EXPECT_THAT(entries("screenChoice"), ElementsAre("The desktop's primary screen", "eDP-1", "HDMI-1"));
}

TEST_F(ControllerHomeTest, WhatCountsFromTheNextStartOnIsStored) {
    start();
    controller->showHome();
    choose("pointerChoice", "xtest");
    choose("logChoice", "none");
    EXPECT_EQ(desk.defaults.set.at("Pointer"), DefaultsValue(std::string("xtest")));
    EXPECT_EQ(desk.defaults.set.at("Log"), DefaultsValue(std::string("none")));
    choose("pointerChoice", QString());
    EXPECT_FALSE(desk.defaults.set.contains("Pointer"));
}

TEST_F(ControllerHomeTest, EachScreenSaysItsNameForAWhile) {
    const auto names = [] {
        std::vector<std::string> shown;
        for (const QLabel* each : topWindows<QLabel>())
            if (each->objectName() == "ScreenName" && each->isVisible())
                shown.push_back(each->text().toStdString());
        return shown;
    };
    start();
    controller->showHome();
    button("identify").click();
    EXPECT_THAT(names(), ElementsAre(QGuiApplication::screens().front()->name().toStdString()));
    desk.runLoop.runFor(3900ms);
    button("identify").click();
    desk.runLoop.runFor(3900ms);
    EXPECT_EQ(names().size(), 1U) << "the time begins anew";
    desk.runLoop.runFor(200ms);
    EXPECT_THAT(names(), IsEmpty());
    for (const std::string_view event : {kScreenWasCovered, kCalibrationWillBegin}) {
        button("identify").click();
        desk.notifications.post({std::string(event)});
        EXPECT_THAT(names(), IsEmpty()) << event;
    }
}

// Help

TEST_F(ControllerHomeTest, TellsVersionAndLog) {
    controller->setProgramFacts({.logFile = "/home/me/log"});
    start();
    controller->showHome();
    EXPECT_EQ(widget<QLabel>("version").text(), QString("Version %1").arg(kProgramVersion));
    EXPECT_EQ(widget<QLabel>("logFile").text(), "The log is in /home/me/log");
    controller->setProgramFacts({});
    controller->showHome();
    EXPECT_FALSE(widget("logFile").isVisibleTo(home()));
}

} // namespace
} // namespace lightpen
