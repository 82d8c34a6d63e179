// SPDX-License-Identifier: MIT
#include "app/LanguageChoice.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/RecordingLog.h"

namespace lightpen {
namespace {

std::string resultsOf(const std::string& wanted, std::string& chosen) {
    const RecordingLog log;
    chosen = chooseIdentifier(wanted);
    return log.output();
}

TEST(LanguageChoiceTest, ComparesWithoutRegardToSmallAndCapital) {
    EXPECT_EQ(compareIgnoringCase("en", "EN"), 0);
    EXPECT_EQ(compareIgnoringCase("zh-Hant", "ZH-HANT"), 0);
    EXPECT_EQ(compareIgnoringCase("de", "Fr"), -1);
    EXPECT_EQ(compareIgnoringCase("FR", "de"), 1);
    EXPECT_EQ(compareIgnoringCase("de", "de-CH"), -1);
    EXPECT_EQ(compareIgnoringCase("de", ""), 1);
    EXPECT_EQ(compareIgnoringCase("", ""), 0);
}

TEST(LanguageChoiceTest, StopsAtTheFirstThatIsEqualAndTellsEachComparison) {
    std::string chosen;
    // "en", "zh-Hant", "zh-Hans", "de", "fr" against "fr".
    EXPECT_EQ(resultsOf("fr", chosen), "Light n:387 j=-1\nLight n:387 j=1\nLight n:387 j=1\n"
                                       "Light n:387 j=-1\nLight n:387 j=0\n");
    EXPECT_EQ(chosen, "fr");
    EXPECT_EQ(resultsOf("en", chosen), "Light n:387 j=0\n");
}

TEST(LanguageChoiceTest, TriesAllSixteenBeforeItFallsBackToEnglish) {
    for (const char* unknown : {"", "en-US", "pt-BR", "zh", "zh_Hant", "xx"}) {
        std::string chosen;
        const std::string results = resultsOf(unknown, chosen);
        EXPECT_EQ(chosen, "en") << unknown;
        EXPECT_EQ(std::count(results.begin(), results.end(), '\n'), 16) << unknown;
        EXPECT_EQ(results.find("j=0"), std::string::npos) << unknown;
    }
}

TEST(LanguageChoiceTest, KeepsTheWantedOneAsItIsWritten) {
    const RecordingLog log;
    for (const char* wanted : {"EN", "Zh-hANS", "uk", "ja"})
        EXPECT_EQ(chooseIdentifier(wanted), wanted);
}

TEST(LanguageChoiceTest, FindsTextsAndTheFirstKeyOfAText) {
    PropertyListDictionary table;
    table.entries = {{"number", {std::int64_t{7}}},
                     {"Second", {std::string("two")}},
                     {"Twin", {std::string("two")}},
                     {"Empty", {std::string()}}};
    ASSERT_NE(textFor(table, "Twin"), nullptr);
    EXPECT_EQ(*textFor(table, "Twin"), "two");
    EXPECT_EQ(textFor(table, "number"), nullptr);
    EXPECT_EQ(textFor(table, "twin"), nullptr);
    ASSERT_NE(firstKeyFor(table, "two"), nullptr);
    EXPECT_EQ(*firstKeyFor(table, "two"), "Second");
    EXPECT_EQ(*firstKeyFor(table, ""), "Empty");
    EXPECT_EQ(firstKeyFor(table, "TWO"), nullptr);
    EXPECT_EQ(firstKeyFor({}, "two"), nullptr);
}

TEST(LanguageChoiceTest, HelpGoesByTheChoiceToTheLetter) {
    const std::pair<const char*, const char*> documents[] = {
        {"zh-Hant", "cht"}, {"zh-Hans", "chs"}, {"ja", "jpn"}, {"it", "ita"},    {"es", "esp"}, {"fr", "fra"},
        {"de-CH", "deu"},   {"de", "enu"},      {"JA", "enu"}, {"de-ch", "enu"}, {"uk", "enu"}, {"", "enu"}};
    for (const auto& [identifier, document] : documents)
        EXPECT_EQ(helpDocumentFor(identifier), document) << identifier;
    EXPECT_EQ(helpDocumentFor(std::nullopt), "enu");
}

} // namespace
} // namespace lightpen
