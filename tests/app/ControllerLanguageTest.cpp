// SPDX-License-Identifier: MIT
// Which language the menus and the help are in.
#include "app/LightPenNX7Controller.h"

#include <gmock/gmock.h>

#include "app/ControllerFixture.h"

namespace lightpen {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

class ControllerLanguageTest : public ControllerFixture {
protected:
    std::string exitTitle() const { return menu().actions().back()->text().toStdString(); }
    std::optional<std::string> stored() const {
        const auto value = desk.defaults.objectForKey("Language");
        return value ? std::optional(std::get<std::string>(*value)) : std::nullopt;
    }
};

TEST_F(ControllerLanguageTest, TheSystemsFirstLanguageCountsWithoutAChoice) {
    desk.locales.languages = {"ja", "de"};
    start();
    EXPECT_EQ(exitTitle(), "ja:Exit");
    controller->showPreviewWindow(true);
    EXPECT_EQ(widget<QPushButton>("previewExitButton").text(), "ja:Exit");
    EXPECT_EQ(widget<QPushButton>("previewDetectAgainButton").text(), "ja:Detect again!");
    EXPECT_EQ(widget<QLabel>("previewMessage").text(), QString("ja:") + kStrayLightMessage);
}

TEST_F(ControllerLanguageTest, AChangeOfTheSystemsLocaleIsFollowedWithoutAChoice) {
    start();
    desk.locales.languages = {"de"};
    desk.notifications.post({std::string(kCurrentLocaleDidChange)});
    EXPECT_EQ(exitTitle(), "de:Exit");
    EXPECT_TRUE(matchesTranscript("app/transcripts/change_of_locale"));
}

TEST_F(ControllerLanguageTest, AChoiceIsStoredAtOnceAndSeenAtTheNextMenu) {
    wantEverything();
    startWithUnit();
    item("German").trigger();
    EXPECT_EQ(stored(), "de");
    EXPECT_EQ(exitTitle(), "Exit");
    EXPECT_THAT(itemsOf(submenu("Language")), ElementsAre("* English", "German", "Japanese"));
    controller->deviceDidRemoveCallback(*driver);
    EXPECT_EQ(exitTitle(), "de:Exit");
    controller->statMenu(*driver);
    EXPECT_THAT(itemsOf(submenu("de:Language")), ElementsAre("de:English", "* de:German", "de:Japanese"));
    item("de:English").trigger();
    EXPECT_EQ(stored(), "en");
}

TEST_F(ControllerLanguageTest, TitlesWithAnAmpersandAreFound) {
    for (auto& [key, value] : desk.bundle.dictionaries["English.strings"].entries)
        if (key == "Japanese")
            value = {std::string("Ja & pan")};
    wantEverything();
    startWithUnit();
    item("Ja && pan").trigger();
    EXPECT_EQ(stored(), "ja");
}

TEST_F(ControllerLanguageTest, AnItemThatNamesNoLanguageStoresNothing) {
    wantEverything();
    desk.bundle.dictionaries.erase("English.strings");
    startWithUnit();
    QMenu& untitled = *menu().actions().at(2)->menu();
    untitled.actions().front()->trigger();
    EXPECT_EQ(log.lines().back(), "Application: no language is called \"\"");
    const QAction unknown("Klingon");
    controller->switchLanguage(unknown);
    EXPECT_THAT(log.lines(), Contains("Application: no language is called \"Klingon\""));
    EXPECT_EQ(stored(), std::nullopt);
}

TEST_F(ControllerLanguageTest, AChoiceWinsOverTheSystemUntilItIsForgotten) {
    desk.defaults.set["Language"] = std::string("ja");
    desk.locales.languages = {"de"};
    start();
    desk.notifications.post({std::string(kCurrentLocaleDidChange)});
    EXPECT_EQ(exitTitle(), "ja:Exit");
    controller->resetLanguageSetting();
    EXPECT_EQ(stored(), std::nullopt);
    EXPECT_EQ(exitTitle(), "ja:Exit");
    controller->localeDidChanged({});
    EXPECT_EQ(exitTitle(), "de:Exit");
}

// Only a hand writes them so.
TEST_F(ControllerLanguageTest, AnIdentifierThatDiffersInItsCaseAloneFindsItsTable) {
    wantEverything();
    desk.defaults.set["Language"] = std::string("EN");
    startWithUnit();
    EXPECT_EQ(exitTitle(), "Exit");
    EXPECT_THAT(itemsOf(submenu("Language")), Contains("* English"));
    desk.defaults.set["Language"] = std::string("jA");
    controller->localeDidChanged({});
    EXPECT_EQ(exitTitle(), "ja:Exit");
    desk.defaults.set.erase("Language");
    desk.locales.languages = {"DE"};
    controller->localeDidChanged({});
    EXPECT_EQ(exitTitle(), "de:Exit");
}

TEST_F(ControllerLanguageTest, AnIdentifierWithoutATableIsEnglishAndTold) {
    desk.defaults.set["Language"] =
        std::string("FR"); // a language of the program, which lacks its table here
    start();
    controller->localeDidChanged({});
    EXPECT_EQ(exitTitle(), "Exit");
    EXPECT_THAT(log.lines(), Contains("Application: there is no language \"FR\"; the menu is in English"));
}

TEST_F(ControllerLanguageTest, AMissingLanguageListEndsTheProgramWithItsName) {
    desk.bundle.dictionaries.erase("Language.plist");
    const auto expectEnd = [this](const char* lastWords) {
        try {
            controller->awakeFromNib();
            FAIL() << "the menu was made";
        } catch (const ProcessExit& exit) {
            EXPECT_NE(exit.status, 0);
        }
        EXPECT_THAT(log.lines().back(), EndsWith(lastWords));
    };
    desk.locales.languages = {"ja"};
    expectEnd("Language.plist has no language for the identifier \"ja\"");
    desk.defaults.set["Language"] = std::string("de");
    expectEnd(
        "Language.plist has no language for the identifier \"de\" (chosen by \"Language\" in the settings)");
}

TEST_F(ControllerLanguageTest, ListsAreReadOnceAndTablesAtEachMenu) {
    wantEverything();
    startWithUnit();
    desk.bundle.asked.clear();
    desk.bundle.information.entries.clear();
    controller->localeDidChanged({});
    controller->localeDidChanged({});
    EXPECT_THAT(desk.bundle.asked, ElementsAre("English.strings", "English.strings"));
    EXPECT_EQ(submenu("Language").actions().size(), 3);
}

TEST_F(ControllerLanguageTest, HelpOpensTheDocumentOfTheChoiceAlone) {
    desk.bundle.files["enu.htm"] = "/bundle/resources/enu.htm";
    desk.bundle.files["jpn.htm"] = "/bundle/resources/jpn.htm";
    desk.defaults.set["Help Menu"] = true;
    desk.locales.languages = {"ja"};
    startWithUnit();
    item("ja:Help").trigger();
    desk.defaults.set["Language"] = std::string("ja");
    item("ja:Help").trigger();
    controller->resetLanguageSetting();
    item("ja:Help").trigger();
    EXPECT_THAT(desk.workspace.opened, ElementsAre("/bundle/resources/enu.htm", "/bundle/resources/jpn.htm",
                                                   "/bundle/resources/enu.htm"));
}

TEST_F(ControllerLanguageTest, AMissingHelpDocumentIsNamed) {
    start();
    desk.defaults.set["Language"] = std::string("fr");
    controller->help();
    EXPECT_THAT(desk.workspace.opened, IsEmpty());
    EXPECT_EQ(log.lines().back(), "Application: the help document fra.htm is missing");
}

} // namespace
} // namespace lightpen
