// SPDX-License-Identifier: MIT
// What the user chooses: distance, about, exit, and the windows' buttons.
#include "app/LightPenNX7Controller.h"

#include <gmock/gmock.h>

#include <QApplication>

#include "app/AboutPanel.h"
#include "app/ControllerFixture.h"
#include "app/PreviewImageView.h"

namespace lightpen {
namespace {

using testing::Contains;
using testing::ElementsAre;

class ControllerActionsTest : public ControllerFixture {
protected:
    static bool aboutPanelSays(const QString& text) {
        for (QWidget* window : QApplication::topLevelWidgets())
            for (const QLabel* label : window->findChildren<QLabel*>())
                if (window->isVisible() && label->text().contains(text))
                    return true;
        return false;
    }
};

// What the log has of each click, one after the other.
TEST_F(ControllerActionsTest, ClicksInTheirOrder) {
    wantEverything();
    wantDebugWindow();
    desk.bundle.files["enu.htm"] = "/bundle/resources/enu.htm";
    startWithUnit();
    for (const char* chosen : {"Distance3", "German", "Help", "About...", "Calibration"}) {
        happened.note(std::string("-- ") + chosen);
        item(chosen).trigger();
    }
    pressEscape();
    happened.note("-- stray light");
    controller->noiseDetectedCallback(*driver);
    happened.note("-- the buttons of the windows");
    widget<QPushButton>("previewExitButton").click();
    widget<QPushButton>("button").click();
    happened.note("-- the language is forgotten");
    controller->resetLanguageSetting();
    item("Help").trigger();
    happened.note("-- Exit");
    item("Exit").trigger();
    EXPECT_TRUE(matchesTranscript("app/transcripts/clicks"));
}

TEST_F(ControllerActionsTest, ADistanceIsSentBeforeItIsStored) {
    wantEverything();
    startWithUnit(12);
    std::vector<bool> storedAtSend;
    unit.onSetReport = [&](const SentReport&) {
        storedAtSend.push_back(desk.defaults.set.contains("Projection Distance"));
        return kIOReturnSuccess;
    };
    item("Distance3").trigger(); // it does not fit the exposure
    ASSERT_FALSE(storedAtSend.empty());
    EXPECT_THAT(storedAtSend, testing::Each(false));
    EXPECT_EQ(desk.defaults.set.at("Projection Distance"), DefaultsValue(std::int64_t{0}));
    EXPECT_THAT(itemsOf(submenu("Projection Distance")),
                ElementsAre("Distance3", "Distance2", "* Distance1"));
}

TEST_F(ControllerActionsTest, TheNearestDistanceHasTheHighestTag) {
    wantEverything();
    wantDebugWindow();
    startWithUnit();
    setExposure(46);
    item("Distance1").trigger();
    EXPECT_EQ(desk.defaults.set.at("Projection Distance"), DefaultsValue(std::int64_t{2}));
    EXPECT_THAT(itemsOf(submenu("Projection Distance")),
                ElementsAre("* Distance3", "Distance2", "Distance1"));
    EXPECT_EQ(textOf("faeTextField"), "46");
}

TEST_F(ControllerActionsTest, AboutShowsTheVersionsOfTheUnit) {
    openUnit({.wireless = 0, .NX9Ver = 0x23, .cmosVer = 0x1F});
    start();
    item("About...").trigger();
    EXPECT_TRUE(aboutPanelSays("Dongle version 2.3"));
    EXPECT_TRUE(aboutPanelSays("CMOS version 1.15"));
    EXPECT_TRUE(aboutPanelSays("NX9 Driver"));
    openUnit({.wireless = 1, .NX9Ver = 0x23});
    item("About...").trigger();
    EXPECT_TRUE(aboutPanelSays("Main Board version 2.3"));
    EXPECT_FALSE(aboutPanelSays("CMOS"));
}

TEST_F(ControllerActionsTest, TheButtonOfAboutSpeaksTheLanguageOfTheMenu) {
    desk.locales.languages = {"de"};
    startWithUnit();
    item("de:About...").trigger();
    std::vector<std::string> buttons;
    for (QWidget* window : QApplication::topLevelWidgets())
        if (window->isVisible() && window->windowTitle() == QStringLiteral("NX9 Driver"))
            for (const QPushButton* button : window->findChildren<QPushButton*>())
                buttons.push_back(button->text().toStdString());
    EXPECT_THAT(buttons, ElementsAre("de:OK"));
}

TEST_F(ControllerActionsTest, ExitEndsTheProgram) {
    start();
    item("Exit").trigger();
    EXPECT_EQ(desk.runLoop.terminateStatus(), 0);
}

TEST_F(ControllerActionsTest, TheMenusCalibrationNamesItsItem) {
    startWithUnit();
    QAction& calibration = item("Calibration");
    calibration.trigger();
    EXPECT_EQ(log.lines().back().substr(log.lines().back().find('<')), addressOf(calibration));
    EXPECT_TRUE(windowIsVisible());
}

TEST_F(ControllerActionsTest, WithoutItsPictureTheTargetIsAPlainButton) {
    desk.bundle.files.erase("calib.svg");
    startWithUnit();
    controller->calibration("x");
    EXPECT_THAT(log.lines(), Contains("Application: the picture calib.svg is missing"));
    const auto used = session();
    ASSERT_NE(used, nullptr);
    EXPECT_EQ(used->targetSize(), (Size{20, 20}));
    EXPECT_TRUE(used->calibrationTarget()->isBordered());
    EXPECT_TRUE(windowIsVisible());
}

TEST_F(ControllerActionsTest, StrayLightShowsThePreviewAndItsExitTakesReportsAgain) {
    startWithUnit();
    controller->noiseDetectedCallback(*driver);
    EXPECT_TRUE(widget("PreviewWindow").isVisible());
    unit.takeOperations();
    widget<QPushButton>("previewExitButton").click();
    EXPECT_FALSE(widget("PreviewWindow").isVisible());
    EXPECT_THAT(unit.takeOperations(), Contains("queue4.start()"));
    controller->invokePreview("x");
    EXPECT_TRUE(widget("PreviewWindow").isVisible());
    controller->invokePreview("x");
    EXPECT_FALSE(widget("PreviewWindow").isVisible());
}

TEST_F(ControllerActionsTest, DetectAgainAsksForAPicture) {
    start();
    controller->showPreviewWindow(true);
    const PreviewImageRef old = std::make_shared<const PreviewImage>();
    widget<PreviewImageView>("imageView").setImage(old);
    widget<QPushButton>("previewDetectAgainButton").click();
    EXPECT_EQ(widget<PreviewImageView>("imageView").image(), nullptr) << "without a unit there is none";
}

TEST_F(ControllerActionsTest, TheDebugWindowsButtonWithoutAUnitSendsNothing) {
    start();
    controller->debugWindowButton("x");
    EXPECT_THAT(unit.takeSent(), testing::IsEmpty());
    EXPECT_TRUE(matchesTranscript("app/transcripts/debug_window_without_a_unit"));
}

} // namespace
} // namespace lightpen
