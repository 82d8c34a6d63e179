// SPDX-License-Identifier: MIT
// From the program's start to the controller that is ready.
#include "app/LightPenNX7Controller.h"

#include <optional>

#include <gmock/gmock.h>

#include "app/ApplicationMain.h"
#include "app/ControllerFixture.h"

namespace lightpen {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class ControllerStartUpTest : public ControllerFixture {
protected:
    ControllerStartUpTest() {
        desk.bundle.others["/opt/LightPenNX7/LightPenNX7"] = "org.lightpen.LightPenNX7";
    }
    // What the picture of the status item shows.
    QColor statusColour() const {
        return controller->statusItem()->image().pixmap(16).toImage().pixelColor(8, 8);
    }
};

TEST_F(ControllerStartUpTest, DefaultsAreRegisteredFromTheFile) {
    PropertyListDictionary defaults;
    defaults.entries = {{"Help Menu", {true}},
                        {"Projection Distance", {std::int64_t{1}}},
                        {"Scale", {0.5}},
                        {"Pointer", {std::string("xtest")}},
                        {"List", {PropertyListArray{}}}};
    desk.bundle.dictionaries["NX.plist"] = defaults;
    LightPenNX7Controller::initialize();
    const decltype(desk.defaults.registered) expected{{"Help Menu", true},
                                                      {"Projection Distance", std::int64_t{1}},
                                                      {"Scale", 0.5},
                                                      {"Pointer", std::string("xtest")}};
    EXPECT_EQ(desk.defaults.registered, expected);
    EXPECT_TRUE(matchesTranscript("app/transcripts/defaults"));
}

TEST_F(ControllerStartUpTest, WithoutTheFileNothingIsRegistered) {
    desk.defaults.registered["kept"] = true;
    LightPenNX7Controller::initialize();
    EXPECT_EQ(desk.defaults.registered.size(), 1U);
    EXPECT_TRUE(matchesTranscript("app/transcripts/no_defaults"));
}

TEST_F(ControllerStartUpTest, TheItemIsThereBeforeTheDriverIsAskedFor) {
    std::optional<Microseconds> askedFor;
    log.onOutput = [&](std::string_view text) {
        if (askedFor || !text.starts_with("Event"))
            return;
        askedFor = desk.clock.now();
        EXPECT_EQ(statusColour(), QColor(Qt::red));
    };
    desk.statusBar.there = true;
    const Microseconds begin = desk.clock.now();
    controller->awakeFromNib();
    EXPECT_GT(askedFor, begin) << "the panel had no time to show the item";
}

TEST_F(ControllerStartUpTest, StartWithAUnitInItsOrder) {
    desk.defaults.set["Launch At Start Up"] = true;
    wantDebugWindow();
    openUnit({.NX9Ver = 0x34, .cmosVer = 0x21});
    controller->awakeFromNib();
    EXPECT_TRUE(matchesTranscript("app/transcripts/start_with_a_unit"));
    EXPECT_EQ(controllerState.cmosVersion, 0x21);
    EXPECT_EQ(controllerState.boardVersion, 0x34);
    EXPECT_EQ(statusColour(), QColor(Qt::green));
    EXPECT_EQ(textOf("thresholdsTextField"), "512");
    EXPECT_EQ(textOf("faeTextField"), "25");
    EXPECT_TRUE(controller->deviceConnected());
    EXPECT_EQ(driver->deviceDelegate(), controller);
}

TEST_F(ControllerStartUpTest, StartWithoutAUnitInItsOrder) {
    controller->awakeFromNib();
    EXPECT_TRUE(matchesTranscript("app/transcripts/start_without_a_unit"));
    EXPECT_EQ(statusColour(), QColor(Qt::red));
    EXPECT_FALSE(controller->deviceConnected());
    EXPECT_FALSE(isShown("PreviewWindow"));
    EXPECT_FALSE(isShown("DebugWindow"));
}

TEST_F(ControllerStartUpTest, TheDebugWindowHasNoValuesWithoutAUnit) {
    wantDebugWindow();
    start();
    EXPECT_EQ(textOf("thresholdsTextField"), "-1");
    EXPECT_EQ(textOf("faeTextField"), "-1");
}

TEST_F(ControllerStartUpTest, WindowsThatNobodySeesAreNotMade) {
    startWithUnit();
    for (const QWidget* made : QApplication::topLevelWidgets())
        EXPECT_THAT(made->objectName().toStdString(), testing::Not(testing::EndsWith("Window")));
}

TEST_F(ControllerStartUpTest, TheDebugWindowShowsWithItsDefaultAlone) {
    wantDebugWindow();
    startWithUnit(77);
    EXPECT_TRUE(widget("DebugWindow").isVisible());
    EXPECT_EQ(textOf("faeTextField"), "77");
    EXPECT_EQ(widget("DebugWindow").windowTitle(), "Debug");
}

TEST_F(ControllerStartUpTest, StrayLightAtTheStartWarnsAndLeavesTheExit) {
    sightings = 12;
    openUnit();
    controller->awakeFromNib();
    EXPECT_TRUE(widget("PreviewWindow").isVisible());
    EXPECT_THAT(itemsOf(menu()), ElementsAre("Exit"));
    EXPECT_FALSE(controller->deviceConnected());
    EXPECT_TRUE(matchesTranscript("app/transcripts/start_with_stray_light"));
    sightings = 0;
    controller->showPreviewWindow(false);
    EXPECT_TRUE(controller->deviceConnected()) << "whoever closes the check looks for the unit again";
}

TEST_F(ControllerStartUpTest, MissingPicturesAreNamedAndTheProgramGoesOn) {
    desk.bundle.files.clear();
    openUnit();
    controller->awakeFromNib();
    EXPECT_THAT(log.lines(), Contains("Application: the picture disconn.svg is missing"));
    EXPECT_THAT(log.lines(), Contains("Application: the picture connect.svg is missing"));
    EXPECT_TRUE(controller->statusItem()->image().isNull());
    EXPECT_TRUE(controller->deviceConnected());
    EXPECT_THAT(itemsOf(menu()), Contains("Calibration"));
}

TEST_F(ControllerStartUpTest, TheLoginListIsWrittenAtEveryStart) {
    desk.loginItems.stored = std::vector<LoginItem>{{"/usr/bin/mail", false, "mail.desktop"}};
    controller->awakeFromNib();
    EXPECT_EQ(desk.loginItems.synchronizations, 1);
    EXPECT_EQ(desk.loginItems.stored->size(), 1U);
    EXPECT_THAT(log.lines(), Not(Contains(HasSubstr("tart"))));
}

TEST_F(ControllerStartUpTest, TheLoginEntryComesIsRefreshedAndGoes) {
    desk.defaults.set["Launch At Start Up"] = true;
    controller->processLaunchAtStartUp();
    const LoginItem first{"/opt/LightPenNX7/LightPenNX7", false, "", desk.bundle.identifier};
    EXPECT_THAT(*desk.loginItems.stored, ElementsAre(first));
    desk.bundle.path = "/home/me/Stift";
    controller->processLaunchAtStartUp();
    const LoginItem moved{"/home/me/Stift/LightPenNX7", false, "", desk.bundle.identifier};
    EXPECT_THAT(*desk.loginItems.stored, ElementsAre(moved));
    desk.bundle.others["/home/me/Stift/LightPenNX7"] = "org.lightpen.LightPenNX7";
    desk.defaults.set["Launch At Start Up"] = false;
    controller->processLaunchAtStartUp();
    EXPECT_THAT(*desk.loginItems.stored, IsEmpty());
    EXPECT_EQ(desk.loginItems.synchronizations, 3);
    EXPECT_TRUE(matchesTranscript("app/transcripts/login_entry"));
}

TEST_F(ControllerStartUpTest, ALoginListThatCannotBeWrittenStopsNothing) {
    desk.loginItems.writable = false;
    desk.defaults.set["Launch At Start Up"] = true;
    start();
    EXPECT_EQ(desk.loginItems.stored, std::nullopt);
    EXPECT_EQ(driver->deviceDelegate(), controller);
}

TEST_F(ControllerStartUpTest, TheApplicationRunsTheLoopAndEndsWithItsStatus) {
    desk.bundle.dictionaries["NX.plist"].entries = {{"Help Menu", {true}}};
    controller.reset();
    bool ran = false;
    try {
        applicationMain([&] {
            ran = true;
            EXPECT_NE(driver->deviceDelegate(), nullptr);
            EXPECT_TRUE(desk.defaults.registered.contains("Help Menu"));
            return 3;
        });
        FAIL() << "it came back";
    } catch (const ProcessExit& exit) {
        EXPECT_EQ(exit.status, 3);
    }
    EXPECT_TRUE(ran);
}

} // namespace
} // namespace lightpen
