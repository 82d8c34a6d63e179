// SPDX-License-Identifier: MIT
// The status item's menus, as an application would see them in its own.
#include "app/LightPenNX7Controller.h"

#include <gmock/gmock.h>

#include <QWidget>

#include "app/ControllerFixture.h"

namespace lightpen {
namespace {

using testing::Contains;
using testing::ElementsAre;

class ControllerMenusTest : public ControllerFixture {
protected:
    // What the panel shows: the menu in force, and what stands above it.
    QMenu& shown() const {
        for (QObject* holder : menu().actions().back()->associatedObjects())
            if (auto* other = qobject_cast<QMenu*>(holder); other && other != &menu())
                return *other;
        throw std::runtime_error("no panel's menu");
    }
};

TEST_F(ControllerMenusTest, WithoutAUnitThereIsOnlyTheExit) {
    wantEverything();
    start();
    EXPECT_THAT(itemsOf(menu()), ElementsAre("Exit"));
    EXPECT_EQ(menu().title(), "LightPenNX7");
    EXPECT_EQ(controllerState.menuMode.load(), MenuMode::exitOnly);
}

TEST_F(ControllerMenusTest, WithAUnitThereIsEverything) {
    wantEverything();
    startWithUnit(23);
    EXPECT_THAT(itemsOf(menu()), ElementsAre("Calibration", "Projection Distance >", "Language >", "-",
                                             "Help", "About...", "Exit"));
    EXPECT_THAT(itemsOf(submenu("Projection Distance")),
                ElementsAre("Distance3", "* Distance2", "Distance1"));
    EXPECT_THAT(itemsOf(submenu("Language")), ElementsAre("* English", "German", "Japanese"));
    EXPECT_EQ(item("Distance3").data().toInt(), 0);
    EXPECT_EQ(item("Distance2").data().toInt(), 1);
    EXPECT_EQ(item("Distance1").data().toInt(), 2);
    EXPECT_EQ(item("German").data().toInt(), 0);
    EXPECT_EQ(submenu("Language").windowTitle(), "Sub Menu");
    for (const QAction* one : menu().actions())
        EXPECT_TRUE(one->shortcut().isEmpty());
}

TEST_F(ControllerMenusTest, EachOptionalPartGoesByItsOwnDefault) {
    startWithUnit();
    EXPECT_THAT(itemsOf(menu()), ElementsAre("Calibration", "-", "About...", "Exit"));
    desk.defaults.set["Help Menu"] = true;
    controller->localeDidChanged({});
    EXPECT_THAT(itemsOf(menu()), ElementsAre("Calibration", "-", "Help", "About...", "Exit"));
    desk.defaults.set["Help Menu"] = false;
    desk.defaults.set["Language Setting"] = true;
    controller->localeDidChanged({});
    EXPECT_THAT(itemsOf(menu()), ElementsAre("Calibration", "Language >", "-", "About...", "Exit"));
    desk.defaults.set["Language Setting"] = false;
    desk.defaults.set["Projection Distance Setting"] = true;
    controller->localeDidChanged({});
    EXPECT_THAT(itemsOf(menu()),
                ElementsAre("Calibration", "Projection Distance >", "-", "About...", "Exit"));
}

TEST_F(ControllerMenusTest, ASessionHasAnItemOnTopThatCancelsItForAsLongAsItRuns) {
    for (const bool automatic : {false, true}) {
        SCOPED_TRACE(automatic);
        desk.defaults.set["Auto Calibration"] = automatic;
        startWithUnit();
        const auto usual = itemsOf(shown());
        EXPECT_EQ(usual, itemsOf(menu()));
        item("Calibration").trigger();
        ASSERT_NE(session(), nullptr);
        EXPECT_THAT(itemsOf(shown()),
                    ElementsAre("Cancel the calibration", "Calibration", "-", "About...", "Exit"));
        EXPECT_EQ(itemsOf(menu()), usual);
        canceled.clear();
        shown().actions().front()->trigger();
        EXPECT_NE(session(), nullptr) << "the click is over first";
        runMainLoop();
        EXPECT_EQ(session(), nullptr);
        EXPECT_EQ(canceled.size(), 1u);
        EXPECT_EQ(itemsOf(shown()), usual);
    }
}

TEST_F(ControllerMenusTest, TheItemOfASessionFollowsTheMenuAndLeavesWithTheLastTarget) {
    desk.defaults.set["Language"] = std::string("de");
    startWithUnit();
    item("de:Calibration").trigger();
    EXPECT_EQ(itemsOf(shown()).front(), "de:Cancel the calibration");
    desk.defaults.set["Language"] = std::string("ja");
    controller->localeDidChanged({});
    EXPECT_THAT(itemsOf(shown()),
                ElementsAre("ja:Cancel the calibration", "ja:Calibration", "-", "ja:About...", "ja:Exit"));
    for (const CameraPoint& point : kFour) {
        session()->lightPenCallbackAtPoint(point, *driver);
        desk.runLoop.runFor(kGlide);
    }
    EXPECT_THAT(completed, testing::SizeIs(1));
    EXPECT_EQ(itemsOf(shown()), itemsOf(menu()));
}

TEST_F(ControllerMenusTest, LinesOfTheFullMenuInTheirOrder) {
    wantEverything();
    startWithUnit();
    const auto made = controller->constructMenu(MenuMode::full);
    EXPECT_TRUE(matchesTranscript("app/transcripts/full_menu"));
    EXPECT_NE(made, controller->statusItem()->menu());
}

TEST_F(ControllerMenusTest, LinesOfTheExitMenuInTheirOrder) {
    start();
    controller->constructMenu(MenuMode::exitOnly);
    EXPECT_TRUE(matchesTranscript("app/transcripts/exit_menu"));
    EXPECT_THAT(itemsOf(*controller->constructMenu(MenuMode{0})), ElementsAre("Exit"));
}

TEST_F(ControllerMenusTest, SeveralDistancesMayBeMarkedOrNone) {
    wantEverything();
    wantDebugWindow();
    desk.bundle.information.entries[0].second = {listOf<std::int64_t>({25, 7, 25})};
    startWithUnit();
    EXPECT_THAT(itemsOf(submenu("Projection Distance")),
                ElementsAre("* Distance3", "Distance2", "* Distance1"));
    setExposure(8);
    controller->deviceDidAddCallback(*driver);
    EXPECT_THAT(itemsOf(submenu("Projection Distance")), ElementsAre("Distance3", "Distance2", "Distance1"));
    EXPECT_EQ(textOf("faeTextField"), "8");
}

TEST_F(ControllerMenusTest, TooFewThresholdsMarkWhatTheyHave) {
    wantEverything();
    desk.bundle.information.entries[0].second = {listOf<std::int64_t>({9})};
    startWithUnit(9);
    EXPECT_THAT(itemsOf(submenu("Projection Distance")),
                ElementsAre("* Distance3", "Distance2", "Distance1"));
}

TEST_F(ControllerMenusTest, MissingListsAreNamedAndLeaveTheirPartsEmpty) {
    wantEverything();
    desk.bundle.information.entries.clear();
    openUnit();
    setExposure(0);
    controller->awakeFromNib();
    EXPECT_THAT(
        log.lines(),
        Contains("Application: Info.plist has no list \"Threshold Values\"; no distance will be marked"));
    EXPECT_THAT(log.lines(),
                Contains("Application: Info.plist has no list \"Supported Language\"; no language "
                         "can be chosen"));
    EXPECT_THAT(itemsOf(submenu("Projection Distance")), ElementsAre("Distance3", "Distance2", "Distance1"));
    EXPECT_TRUE(submenu("Language").isEmpty());
}

TEST_F(ControllerMenusTest, AMissingTextLeavesItsItemUntitled) {
    PropertyListDictionary& table = desk.bundle.dictionaries["English.strings"];
    std::erase_if(table.entries, [](const auto& entry) { return entry.first == "About..."; });
    startWithUnit();
    EXPECT_THAT(itemsOf(menu()), ElementsAre("Calibration", "-", "", "Exit"));
    controller->localeDidChanged({});
    EXPECT_THAT(log.lines(), Contains(testing::EndsWith("(null)")));
}

TEST_F(ControllerMenusTest, AMissingTableLeavesAllUntitled) {
    desk.bundle.dictionaries.erase("English.strings");
    startWithUnit();
    EXPECT_THAT(itemsOf(menu()), ElementsAre("", "-", "", ""));
    controller->showPreviewWindow(true);
    EXPECT_EQ(widget<QLabel>("previewMessage").text(), "");
    controller->constructPreviewWindow();
    EXPECT_THAT(log.lines(), Contains(testing::EndsWith("(null)")));
}

TEST_F(ControllerMenusTest, EveryItemIsEnabledWhenItsMenuOpens) {
    wantEverything();
    startWithUnit();
    item("Exit").setEnabled(false);
    openMenu();
    EXPECT_EQ(log.takeLines().size(), 4U);
    EXPECT_TRUE(item("Exit").isEnabled());
    Q_EMIT submenu("Projection Distance").aboutToShow();
    EXPECT_EQ(log.lines().size(), 3U);
}

// An item's own mark is turned over by Qt at each click.
TEST_F(ControllerMenusTest, AClickAloneMarksNothing) {
    wantEverything();
    startWithUnit();
    item("German").trigger();
    item("English").trigger();
    EXPECT_THAT(itemsOf(submenu("Language")), ElementsAre("* English", "German", "Japanese"));
    item("Distance1").trigger();
    EXPECT_THAT(itemsOf(submenu("Projection Distance")), ElementsAre("Distance3", "Distance2", "Distance1"));
}

TEST_F(ControllerMenusTest, AMenuMadeAnewWhileItIsOpenReplacesIt) {
    wantEverything();
    start();
    const QPointer<QMenu> old = controller->statusItem()->menu().get();
    openMenu();
    openUnit();
    controller->statMenu(*driver);
    controller->deviceDidAddCallback(*driver);
    EXPECT_NE(controller->statusItem()->menu().get(), old.data());
    EXPECT_THAT(itemsOf(menu()), Contains("Calibration"));
    EXPECT_NE(find(menu(), "Distance2"), nullptr);
    controller->deviceDidRemoveCallback(*driver);
    EXPECT_THAT(itemsOf(menu()), ElementsAre("Exit"));
}

TEST_F(ControllerMenusTest, TheItemsOfAControllerThatIsGoneDoNothing) {
    startWithUnit();
    const auto menu = controller->constructMenu(MenuMode::full);
    driver->setDeviceDelegate(nullptr);
    happened.clear();
    controller.reset();
    menu->actions().back()->trigger();
    EXPECT_TRUE(matchesTranscript("app/transcripts/end"));
    EXPECT_EQ(desk.runLoop.terminateStatus(), std::nullopt);
}

} // namespace
} // namespace lightpen
