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

std::string testName(const testing::TestParamInfo<Language>& parameter) {
    std::string name = parameter.param.key;
    std::erase(name, ' ');
    return name;
}

class StringTablesTest : public testing::TestWithParam<Language> {};

TEST_P(StringTablesTest, HasNothingToStumbleOver) {
    EXPECT_THAT(problemsOf(shippedTable(GetParam().key), GetParam().identifier), IsEmpty());
}

TEST_P(StringTablesTest, IsThatOfNoOtherLanguage) {
    const StringTable table = shippedTable(GetParam().key);
    for (const Language& other : applicationLanguages()) {
        if (other.key == GetParam().key)
            continue;
        EXPECT_THAT(problemsBetween(table, shippedTable(other.key)), IsEmpty()) << other.key;
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

INSTANTIATE_TEST_SUITE_P(Of, StringTablesTest, testing::ValuesIn(applicationLanguages()), testName);

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

// A text in the French table, and what is found to be wrong with it.
struct BadForm {
    const char* key;
    const char* text;
    const char* problem;
};

class TableAuditFormTest : public testing::TestWithParam<BadForm> {};

TEST_P(TableAuditFormTest, IsSeen) {
    const auto& [key, text, problem] = GetParam();
    EXPECT_THAT(problemsOf(changed("French", key, text), "fr"), Contains(HasSubstr(problem)));
}

INSTANTIATE_TEST_SUITE_P(, TableAuditFormTest,
                         testing::Values(BadForm{"Exit", "", "is empty"},
                                         BadForm{"Exit", " Quitter", "begins or ends with a space"},
                                         BadForm{"Exit", "Quitter\u00A0", "begins or ends with a space"},
                                         BadForm{"Exit", "Tout  quitter", "two spaces"},
                                         BadForm{"Exit", "Quitter\ttout", "none of writing"},
                                         BadForm{"Exit", "Quitter\xFFtout", "none of writing"},
                                         BadForm{"Exit", "Arre\u0302ter", "accents apart"},
                                         BadForm{"Exit", "&Quitter", "menus swallow"},
                                         BadForm{"Exit", "Quitter %d", "placeholders"},
                                         BadForm{"Exit", "Quitter %1", "placeholders"},
                                         BadForm{"Exit", "Quitter\u2026", "ellipsis"},
                                         BadForm{"About...", "\u00C0 propos", "ellipsis"},
                                         BadForm{"About...", "\u00C0 propos...", "three full stops"}));

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

// A text in a language's table that its speakers would not take for theirs.
struct BadLetters {
    const char* language;
    const char* identifier;
    const char* text;
    const char* problem;
};

class TableAuditLettersTest : public testing::TestWithParam<BadLetters> {};

TEST_P(TableAuditLettersTest, AreSeen) {
    const auto& [language, identifier, text, problem] = GetParam();
    EXPECT_THAT(problemsOf(changed(language, "Debug", text), identifier), Contains(HasSubstr(problem)));
}

INSTANTIATE_TEST_SUITE_P(
    , TableAuditLettersTest,
    testing::Values(BadLetters{"German", "de", "Prüfung ç", "another language, ç"},
                    BadLetters{"Ukrainian", "uk", "Налагодження ы", "another language, ы"},
                    BadLetters{"Ukrainian", "uk", "Ъ налагодження", "another language, Ъ"},
                    BadLetters{"Ukrainian", "uk", "Налагодження э", "another language, э"},
                    BadLetters{"Russian", "ru", "Отладкa", "another language, a"}, // a Latin one
                    BadLetters{"Russian", "ru", "Їжак", "another language, Ї"},
                    BadLetters{"Traditional Chinese", "zh-Hant", "调試", "another language, 调"},
                    BadLetters{"Simplified Chinese", "zh-Hans", "调試", "another language, 試"},
                    BadLetters{"Japanese", "ja", "디버그", "no letter of the language"},
                    BadLetters{"Thai", "th", "12", "no letter of the language"},
                    BadLetters{"Korean", "ko", "Debugging", "no letter of the language"}));

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
    const StringTable polish = shippedTable("Polish");
    EXPECT_THAT(problemsBetween(polish, polish), ElementsAre(HasSubstr("one language's message")));
}

} // namespace
} // namespace lightpen
