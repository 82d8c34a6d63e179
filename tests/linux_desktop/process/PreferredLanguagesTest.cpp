// SPDX-License-Identifier: MIT
#include "linux_desktop/process/PreferredLanguages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace lightpen {
namespace {

using testing::ElementsAre;

using Strings = std::vector<std::string>;

Strings ofLang(const std::string& lang) {
    return preferredLanguages({"", "", lang, ""});
}

TEST(PreferredLanguages, AreTheBareLanguageOfTheLocale) {
    EXPECT_THAT(ofLang("es_MX.UTF-8"), ElementsAre("es"));
    EXPECT_THAT(ofLang("de_AT@euro"), ElementsAre("de"));
    EXPECT_THAT(ofLang("pt_BR"), ElementsAre("pt"));
    EXPECT_THAT(ofLang("en_GB.utf8"), ElementsAre("en"));
    EXPECT_THAT(ofLang("uk"), ElementsAre("uk"));
    EXPECT_THAT(ofLang("FR_fr"), ElementsAre("fr"));
    EXPECT_THAT(ofLang("sr_RS@latin"), ElementsAre("sr"));
    EXPECT_THAT(ofLang("ast_ES.UTF-8"), ElementsAre("ast"));
}

TEST(PreferredLanguages, TellChineseApartByItsScript) {
    for (const char* traditional : {"zh_TW.UTF-8", "zh_HK", "zh_MO.utf8", "zh_TW.Big5", "zh-Hant",
                                    "zh_Hant_CN", "zh-hant-sg", "cmn_TW.UTF-8"})
        EXPECT_THAT(ofLang(traditional), ElementsAre("zh-Hant")) << traditional;
    for (const char* simplified : {"zh_CN.UTF-8", "zh_SG", "zh", "zh_CN.GB18030", "zh-Hans", "zh_Hans_HK",
                                   "zh_MY.UTF-8", "zh_CN@pinyin"})
        EXPECT_THAT(ofLang(simplified), ElementsAre("zh-Hans")) << simplified;
}

TEST(PreferredLanguages, AreEnglishWhereNothingIsSet) {
    for (const char* none : {"", "C", "POSIX", "C.UTF-8", "C.utf8"})
        EXPECT_THAT(ofLang(none), ElementsAre("en")) << none;
}

TEST(PreferredLanguages, AreEnglishWhereTheNameIsNone) {
    for (const char* none : {"german", "x", "_DE", ".UTF-8", "@euro", "1234", "d\xc3\xa9_DE", "../../etc"})
        EXPECT_THAT(ofLang(none), ElementsAre("en")) << none;
}

TEST(PreferredLanguages, FollowTheStrongestVariable) {
    EXPECT_THAT(preferredLanguages({"fr_FR", "it_IT", "de_DE", ""}), ElementsAre("fr"));
    EXPECT_THAT(preferredLanguages({"", "it_IT", "de_DE", ""}), ElementsAre("it"));
    EXPECT_THAT(preferredLanguages({"C", "it_IT", "de_DE", ""}), ElementsAre("en"));
}

TEST(PreferredLanguages, PutTheListOfLanguagesBeforeTheLocale) {
    EXPECT_THAT(preferredLanguages({"", "", "de_DE.UTF-8", "ja:zh_TW:de"}),
                ElementsAre("ja", "zh-Hant", "de"));
    EXPECT_THAT(preferredLanguages({"", "", "nl_NL", "pt_BR:pt:en"}), ElementsAre("pt", "en", "nl"));
    EXPECT_THAT(preferredLanguages({"", "", "nl_NL", "::klingon:C:"}), ElementsAre("en", "nl"));
}

TEST(PreferredLanguages, TheListDoesNotCountInTheCLocale) {
    EXPECT_THAT(preferredLanguages({"", "", "C", "ja:de"}), ElementsAre("en"));
    EXPECT_THAT(preferredLanguages({"", "", "", "ja:de"}), ElementsAre("en"));
    EXPECT_THAT(preferredLanguages({"C.UTF-8", "", "de_DE", "ja"}), ElementsAre("en"));
}

TEST(PreferredLanguages, AreThoseOfTheEnvironment) {
    setenv("LC_ALL", "a", 1);
    setenv("LC_MESSAGES", "b", 1);
    setenv("LANG", "c", 1);
    setenv("LANGUAGE", "d", 1);
    LocaleVariables variables = localeVariablesOfTheEnvironment();
    EXPECT_EQ(variables.all + variables.messages + variables.lang + variables.language, "abcd");
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG", "LANGUAGE"})
        unsetenv(name);
    variables = localeVariablesOfTheEnvironment();
    EXPECT_EQ(variables.all + variables.messages + variables.lang + variables.language, "");
}

} // namespace
} // namespace lightpen
