// SPDX-License-Identifier: MIT
// The string tables of all languages as a speaker would proof-read them, as far as a program can.
#include <algorithm>
#include <filesystem>

#include <QLocale>

#include <gmock/gmock.h>

#include "kit/resources/ResourceFiles.h"
#include "kit/resources/TableAudit.h"

namespace lightpen {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class StringTablesTest : public testing::TestWithParam<Language> {};

TEST_P(StringTablesTest, HasNothingToStumbleOver) {
    EXPECT_THAT(problemsOf(shippedTable(GetParam().key), GetParam().identifier), IsEmpty());
}

TEST_P(StringTablesTest, IsThatOfNoOtherLanguage) {
    const std::string message = textOf(shippedTable(GetParam().key), kStrayLightMessage);
    for (const Language& other : applicationLanguages()) {
        EXPECT_EQ(message == textOf(shippedTable(other.key), kStrayLightMessage), other.key == GetParam().key)
            << other.key;
    }
}

// Qt knows them from the locale data of the world, with a region for some: "español de España".
TEST_P(StringTablesTest, CallsItsLanguageByItsOwnName) {
    const auto identifier = QString::fromStdString(GetParam().identifier);
    const std::string text = textOf(shippedTable(GetParam().key), GetParam().key);
    const QString name = QString::fromStdString(text);
    const QString known = QLocale(identifier).nativeLanguageName();
    EXPECT_FALSE(name.isEmpty());
    EXPECT_TRUE(known.contains(name, Qt::CaseInsensitive)) << text << " / " << known.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Of, StringTablesTest, testing::ValuesIn(applicationLanguages()), nameOfLanguage);

TEST(StringTables, ThereAreThoseOfTheMenuAndNoOthers) {
    std::vector<std::string> found;
    for (const auto& file : std::filesystem::directory_iterator(shippedFile("")))
        if (file.path().extension() == ".strings")
            found.push_back(file.path().stem());
    std::vector<std::string> expected;
    for (const Language& language : applicationLanguages())
        expected.push_back(language.key);
    EXPECT_THAT(found, testing::UnorderedElementsAreArray(expected));
}

// The proof-reader itself, with tables that have one fault each.

StringTable changed(const std::string& language, const std::string& key, const std::string& text) {
    StringTable table = shippedTable(language);
    for (auto& [entry, value] : table)
        if (entry == key)
            value = text;
    return table;
}

TEST(TableAudit, MissesKeysAndWondersAboutOthers) {
    StringTable table = shippedTable("German");
    std::erase_if(table, [](const auto& entry) { return entry.first == "Exit"; });
    table.emplace_back("Quit", "Verlassen");
    table.emplace_back("Help", "Beistand");
    EXPECT_THAT(problemsOf(table, "de"),
                UnorderedElementsAre("\"Exit\" is missing", "\"Quit\" is asked for by nothing",
                                     "\"Help\" is there more than once"));
}

// A text in a language's table, and what is found to be wrong with it.
struct BadText {
    const char* language;
    const char* identifier;
    const char* key;
    const char* text;
    const char* problem;
};

class TableAuditTextTest : public testing::TestWithParam<BadText> {};

TEST_P(TableAuditTextTest, IsSeen) {
    const auto& [language, identifier, key, text, problem] = GetParam();
    EXPECT_THAT(problemsOf(changed(language, key, text), identifier), Contains(HasSubstr(problem)));
}

INSTANTIATE_TEST_SUITE_P(
    OfBadForm, TableAuditTextTest,
    testing::Values(BadText{"French", "fr", "Exit", "", "is empty"},
                    BadText{"French", "fr", "Exit", " Quitter", "begins or ends with a space"},
                    BadText{"French", "fr", "Exit", "Quitter\u00A0", "begins or ends with a space"},
                    BadText{"French", "fr", "Exit", "Tout  quitter", "two spaces"},
                    BadText{"French", "fr", "Exit", "Quitter\ttout", "none of writing"},
                    BadText{"French", "fr", "Exit", "Quitter\xFFtout", "none of writing"},
                    BadText{"French", "fr", "Exit", "Arre\u0302ter", "accents apart"},
                    BadText{"French", "fr", "Exit", "&Quitter", "menus swallow"},
                    BadText{"French", "fr", "Exit", "Quitter %d", "placeholders"},
                    BadText{"French", "fr", "Exit", "Quitter %1", "placeholders"},
                    BadText{"French", "fr", "Exit", "Quitter\u2026", "ellipsis"},
                    BadText{"French", "fr", "About...", "\u00C0 propos", "ellipsis"},
                    BadText{"French", "fr", "About...", "\u00C0 propos...", "three full stops"}));

TEST(TableAudit, SeesWhatIsStillEnglish) {
    for (const char* text : {"Projection Distance", "Projection distance", "projection-distance"})
        EXPECT_THAT(problemsOf(changed("Swedish", "Projection Distance", text), "sv"),
                    ElementsAre(HasSubstr("is not translated")))
            << text;
    EXPECT_THAT(problemsOf(changed("Dutch", "Help", "Hulp"), "nl"),
                ElementsAre(HasSubstr("need not be permitted")));
    EXPECT_THAT(problemsOf(changed("English", "Help", "Assistance"), "en"),
                ElementsAre(HasSubstr("differs from its key")));
}

// What its speakers would not take for theirs.
INSTANTIATE_TEST_SUITE_P(
    OfOtherLetters, TableAuditTextTest,
    testing::Values(BadText{"German", "de", "Debug", "Prüfung ç", "another language, ç"},
                    BadText{"Ukrainian", "uk", "Debug", "Налагодження ы", "another language, ы"},
                    BadText{"Ukrainian", "uk", "Debug", "Ъ налагодження", "another language, Ъ"},
                    BadText{"Ukrainian", "uk", "Debug", "Налагодження э", "another language, э"},
                    BadText{"Russian", "ru", "Debug", "Отладкa", "another language, a"}, // a Latin one
                    BadText{"Russian", "ru", "Debug", "Їжак", "another language, Ї"},
                    BadText{"Traditional Chinese", "zh-Hant", "Debug", "调試", "another language, 调"},
                    BadText{"Simplified Chinese", "zh-Hans", "Debug", "调試", "another language, 試"},
                    BadText{"Japanese", "ja", "Debug", "디버그", "no letter of the language"},
                    BadText{"Thai", "th", "Debug", "12", "no letter of the language"},
                    BadText{"Korean", "ko", "Debug", "Debugging", "no letter of the language"}));

TEST(TableAudit, LeavesALanguageItsOwnLetters) {
    EXPECT_THAT(problemsOf(changed("German", "Debug", "Prüfgerät für Großes"), "de"), IsEmpty());
    EXPECT_THAT(problemsOf(changed("Russian", "Debug", "Объём, ещё, высь, это"), "ru"), IsEmpty());
    EXPECT_THAT(problemsOf(changed("Ukrainian", "Debug", "Ґанок, їжак, єнот"), "uk"), IsEmpty());
}

TEST(TableAudit, SeesALanguageThatIsNotWrittenInItsScripts) {
    StringTable table = shippedTable("Traditional Chinese");
    EXPECT_THAT(problemsOf(table, "ja"), Contains("a script of the language appears nowhere"));
}

TEST(TableAudit, SeesKeysThatAFileHasTwice) {
    EXPECT_THAT(repeatedKeys("<key>Exit</key><string>a</string><key>Help</key><key>Exit</key>"),
                ElementsAre("Exit"));
    EXPECT_THAT(repeatedKeys("<key>Exit</key><string>Exit</string><key>Exit </key>"), IsEmpty());
}

TEST(TableAudit, SeesTextsThatCannotBeToldApart) {
    EXPECT_THAT(problemsOf(changed("Spanish", "Spanish", "Idioma"), "es"),
                ElementsAre("\"Language\" has the same text as \"Spanish\": Idioma"));
}

} // namespace
} // namespace lightpen
