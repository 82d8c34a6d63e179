// SPDX-License-Identifier: MIT
#include "linux_desktop/process/LinuxLocales.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen {
namespace {

using testing::ElementsAre;

using Strings = std::vector<std::string>;

// The values of LC_ALL, LC_MESSAGES, LANG and LANGUAGE; empty means not set.
Strings languagesOf(const char* all, const char* messages, const char* lang, const char* language) {
    QProcessEnvironment variables;
    const auto set = [&](const char* name, const char* value) {
        if (*value)
            variables.insert(QString::fromUtf8(name), QString::fromUtf8(value));
    };
    set("LC_ALL", all);
    set("LC_MESSAGES", messages);
    set("LANG", lang);
    set("LANGUAGE", language);
    return LinuxLocales::languagesIn(variables);
}

Strings ofLang(const char* lang) {
    return languagesOf("", "", lang, "");
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
    EXPECT_THAT(languagesOf("fr_FR", "it_IT", "de_DE", ""), ElementsAre("fr"));
    EXPECT_THAT(languagesOf("", "it_IT", "de_DE", ""), ElementsAre("it"));
    EXPECT_THAT(languagesOf("C", "it_IT", "de_DE", ""), ElementsAre("en"));
}

TEST(PreferredLanguages, PutTheListOfLanguagesBeforeTheLocale) {
    EXPECT_THAT(languagesOf("", "", "de_DE.UTF-8", "ja:zh_TW:de"), ElementsAre("ja", "zh-Hant", "de"));
    EXPECT_THAT(languagesOf("", "", "nl_NL", "pt_BR:pt:en"), ElementsAre("pt", "en", "nl"));
    EXPECT_THAT(languagesOf("", "", "nl_NL", "::klingon:C:"), ElementsAre("en", "nl"));
}

TEST(PreferredLanguages, TheListDoesNotCountInTheCLocale) {
    EXPECT_THAT(languagesOf("", "", "C", "ja:de"), ElementsAre("en"));
    EXPECT_THAT(languagesOf("", "", "", "ja:de"), ElementsAre("en"));
    EXPECT_THAT(languagesOf("C.UTF-8", "", "de_DE", "ja"), ElementsAre("en"));
}

} // namespace
} // namespace lightpen
