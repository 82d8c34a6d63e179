// SPDX-License-Identifier: MIT
// The help documents: complete, self-contained, in their own language, and true to what the program shows and
// reads.
#include <filesystem>
#include <ostream>
#include <set>

#include <QRegularExpression>
#include <QString>

#include <gmock/gmock.h>

#include "kit/TemporaryDirectory.h"
#include "kit/resources/HelpDocument.h"
#include "kit/resources/ResourceFiles.h"
#include "linux_desktop/files/XdgDefaults.h"

namespace lightpen {
namespace {

using testing::Contains;
using testing::ElementsAreArray;
using testing::HasSubstr;

struct HelpLanguage {
    std::string document;
    std::string tag;   // as browsers know it
    std::string table; // the language key

    friend void PrintTo(const HelpLanguage& language, std::ostream* out) { *out << language.document; }
};

const HelpLanguage kLanguages[] = {{"enu", "en", "English"},
                                   {"cht", "zh-Hant", "Traditional Chinese"},
                                   {"chs", "zh-Hans", "Simplified Chinese"},
                                   {"jpn", "ja", "Japanese"},
                                   {"ita", "it", "Italian"},
                                   {"esp", "es", "Spanish"},
                                   {"fra", "fr", "French"},
                                   {"deu", "de", "German"}};

const std::vector<std::string> kSections = {"start",    "camera",     "calibration", "pen",
                                            "distance", "language",   "light",       "pairing",
                                            "trouble",  "permission", "login"};

const char* const kMenuWords[] = {"Calibration",
                                  "Projection Distance",
                                  "Distance1",
                                  "Distance2",
                                  "Distance3",
                                  "Language",
                                  "Help",
                                  "About...",
                                  "Exit",
                                  "Detect again!",
                                  "Camera picture",
                                  "Cancel the calibration",
                                  "Settings",
                                  "Calibrate automatically",
                                  "The menu calibrates automatically",
                                  "Screen with the picture",
                                  "Start at login"};

// What a language that is not English has no word for.
const QRegularExpression kEnglishWord("(?<!\\pL)the(?!\\pL)", QRegularExpression::CaseInsensitiveOption);

// How many of a text's letters pass.
template <class Predicate>
double shareOfLetters(const QString& text, Predicate passes) {
    int letters = 0, passed = 0;
    for (const QChar character : text)
        if (character.isLetter()) {
            ++letters;
            passed += passes(character) ? 1 : 0;
        }
    return letters == 0 ? 0 : double(passed) / letters;
}

bool isEastAsian(QChar character) {
    const auto script = character.script();
    return script == QChar::Script_Han || script == QChar::Script_Hiragana ||
           script == QChar::Script_Katakana || character == QChar(0x30FC);
}

class HelpTest : public testing::TestWithParam<HelpLanguage> {
protected:
    HelpDocument document{shippedFile(GetParam().document + ".htm")};
};

INSTANTIATE_TEST_SUITE_P(All, HelpTest, testing::ValuesIn(kLanguages),
                         [](const auto& language) { return language.param.document; });

TEST_P(HelpTest, IsWellFormedAndSaysItsLanguage) {
    EXPECT_EQ(document.error, "");
    EXPECT_EQ(document.lang, GetParam().tag);
    EXPECT_EQ(document.charset, "utf-8");
    EXPECT_FALSE(document.prose.contains(QChar::ReplacementCharacter));
}

TEST_P(HelpTest, HasAllSectionsInTheirOrder) {
    std::vector<std::string> ids;
    for (const HelpSection& section : document.sections) {
        ids.push_back(section.id);
        EXPECT_GT(section.text.size(), 80) << section.id;
        EXPECT_THAT(document.links, Contains("#" + section.id)) << "the contents lead to each";
    }
    EXPECT_THAT(ids, ElementsAreArray(kSections));
    const std::set<std::string> unique(document.ids.begin(), document.ids.end());
    EXPECT_EQ(unique.size(), document.ids.size());
    EXPECT_EQ(HelpDocument(shippedFile("enu.htm")).ids, document.ids);
}

TEST_P(HelpTest, NeedsNothingFromElsewhere) {
    for (const char* element : {"script", "link", "iframe", "object", "embed"})
        EXPECT_FALSE(document.elements.contains(element)) << element;
    for (const std::string& attribute : document.attributes)
        EXPECT_FALSE(attribute.starts_with("on")) << attribute;
    EXPECT_FALSE(document.style.contains("url("));
    EXPECT_FALSE(document.style.contains("@import"));
}

TEST_P(HelpTest, LinksLeadSomewhere) {
    for (const std::string& link : document.links) {
        if (link.starts_with("#"))
            EXPECT_THAT(document.ids, Contains(link.substr(1)));
        else
            EXPECT_TRUE(std::filesystem::is_regular_file(shippedFile(link))) << link;
    }
    for (const HelpLanguage& other : kLanguages)
        if (other.document != GetParam().document) {
            EXPECT_THAT(document.links, Contains(other.document + ".htm"));
        }
}

TEST_P(HelpTest, PicturesExistAndAreDescribed) {
    EXPECT_GE(document.images.size(), 6u);
    for (const HelpImage& image : document.images) {
        EXPECT_TRUE(std::filesystem::is_regular_file(shippedFile(image.source))) << image.source;
        EXPECT_GT(image.alternative.size(), 5u) << image.source;
    }
}

// Else a reader looks for something that the menu does not have.
TEST_P(HelpTest, UsesTheMenusWords) {
    const StringTable table = shippedTable(GetParam().table);
    for (const char* key : kMenuWords)
        EXPECT_THAT(document.emphasized, Contains(textOf(table, key)));
    EXPECT_EQ(document.quoted.trimmed().toStdString(), textOf(table, kStrayLightMessage));
}

TEST_P(HelpTest, IsInItsOwnLanguage) {
    const double eastAsian = shareOfLetters(document.prose, isEastAsian);
    const bool expected = GetParam().tag.starts_with("zh") || GetParam().tag == "ja";
    EXPECT_GT(expected ? eastAsian : 1 - eastAsian, expected ? 0.8 : 0.98);
    if (GetParam().tag == "en")
        EXPECT_GT(document.prose.count(kEnglishWord), 100);
    else
        EXPECT_EQ(document.prose.count(kEnglishWord), 0);
    const double kana = shareOfLetters(
        document.prose, [](QChar character) { return character.script() == QChar::Script_Hiragana; });
    EXPECT_EQ(kana > 0.1, GetParam().tag == "ja");
}

// What it tells to type into the settings file does what it says.
TEST_P(HelpTest, SettingsAreWrittenAsTheyAreRead) {
    const TemporaryDirectory folder;
    const auto setting = [&](const std::string& block, const char* key) {
        const std::string file = folder.file("settings.ini");
        writeFile(file, block);
        return XdgDefaults(file).objectForKey(key);
    };
    ASSERT_EQ(document.commands.size(), 4u);
    EXPECT_EQ(setting(document.commands[0], "Auto Calibration"), DefaultsValue(true));
    EXPECT_EQ(setting(document.commands[3], "Launch At Start Up"), DefaultsValue(false));
    EXPECT_EQ(setting(document.commands[1], "Auto Calibration"), std::nullopt);
}

TEST_P(HelpTest, NamesTheRuleThatIsShipped) {
    const std::string rule = "packaging/70-lightpen-nx7*.rules";
    for (const char* name : {"", "-uinput"})
        EXPECT_TRUE(std::filesystem::is_regular_file(
            shippedFile("../packaging/70-lightpen-nx7" + std::string(name) + ".rules")));
    ASSERT_EQ(document.commands.size(), 4u);
    EXPECT_EQ(document.commands[1], "sudo cp " + rule + " /etc/udev/rules.d/");
    EXPECT_THAT(document.commands[2], HasSubstr("udevadm control --reload"));
}

TEST_P(HelpTest, IsNeitherAStubNorABook) {
    EXPECT_GT(document.size, 10'000);
    EXPECT_LT(document.size, 40'000);
}

TEST(HelpPictures, EachIsShownSomewhereAndSmall) {
    std::set<std::string> shown;
    for (const HelpLanguage& language : kLanguages)
        for (const HelpImage& image : HelpDocument(shippedFile(language.document + ".htm")).images)
            shown.insert(image.source);
    for (const auto& entry : std::filesystem::directory_iterator(shippedFile("help"))) {
        EXPECT_THAT(shown, Contains("help/" + entry.path().filename().string()));
        EXPECT_LT(entry.file_size(), 200'000u) << entry.path();
    }
}

// The audit itself: it must see what it is there for.
TEST(HelpPictures, CountsWholeWordsOnly) {
    EXPECT_EQ(QString("The other, the; bathe, thé").count(kEnglishWord), 2);
    EXPECT_EQ(QString().count(kEnglishWord), 0);
    EXPECT_EQ(shareOfLetters("ab光筆 1", isEastAsian), 0.5);
}

} // namespace
} // namespace lightpen
