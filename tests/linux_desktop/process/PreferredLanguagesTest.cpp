// SPDX-License-Identifier: MIT
#include "linux_desktop/process/LinuxLocales.h"

#include <gtest/gtest.h>

namespace lightpen {
namespace {

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

TEST(PreferredLanguages, FollowTheVariables) {
    struct {
        const char *all, *messages, *lang, *language;
        Strings expected;
    } const cases[] = {
        // The bare language of the locale.
        {"", "", "es_MX.UTF-8", "", {"es"}},
        {"", "", "de_AT@euro", "", {"de"}},
        {"", "", "pt_BR", "", {"pt"}},
        {"", "", "en_GB.utf8", "", {"en"}},
        {"", "", "uk", "", {"uk"}},
        {"", "", "FR_fr", "", {"fr"}},
        {"", "", "sr_RS@latin", "", {"sr"}},
        {"", "", "ast_ES.UTF-8", "", {"ast"}},
        // The strongest variable.
        {"fr_FR", "it_IT", "de_DE", "", {"fr"}},
        {"", "it_IT", "de_DE", "", {"it"}},
        {"C", "it_IT", "de_DE", "", {"en"}},
        // The list of languages comes before the locale, but does not count in the C locale.
        {"", "", "de_DE.UTF-8", "ja:zh_TW:de", {"ja", "zh-Hant", "de"}},
        {"", "", "nl_NL", "pt_BR:pt:en", {"pt", "en", "nl"}},
        {"", "", "nl_NL", "::klingon:C:", {"en", "nl"}},
        {"", "", "C", "ja:de", {"en"}},
        {"", "", "", "ja:de", {"en"}},
        {"C.UTF-8", "", "de_DE", "ja", {"en"}},
    };
    for (const auto& [all, messages, lang, language, expected] : cases)
        EXPECT_EQ(languagesOf(all, messages, lang, language), expected) << lang << ' ' << language;
}

TEST(PreferredLanguages, TellChineseApartByItsScript) {
    for (const char* traditional : {"zh_TW.UTF-8", "zh_HK", "zh_MO.utf8", "zh_TW.Big5", "zh-Hant",
                                    "zh_Hant_CN", "zh-hant-sg", "cmn_TW.UTF-8"})
        EXPECT_EQ(languagesOf("", "", traditional, ""), Strings{"zh-Hant"}) << traditional;
    for (const char* simplified : {"zh_CN.UTF-8", "zh_SG", "zh", "zh_CN.GB18030", "zh-Hans", "zh_Hans_HK",
                                   "zh_MY.UTF-8", "zh_CN@pinyin"})
        EXPECT_EQ(languagesOf("", "", simplified, ""), Strings{"zh-Hans"}) << simplified;
}

TEST(PreferredLanguages, AreEnglishWhereNothingIsSetOrTheNameIsNone) {
    for (const char* none : {"", "C", "POSIX", "C.UTF-8", "C.utf8", "german", "x", "_DE", ".UTF-8", "@euro",
                             "1234", "d\xc3\xa9_DE", "../../etc"})
        EXPECT_EQ(languagesOf("", "", none, ""), Strings{"en"}) << none;
}

} // namespace
} // namespace lightpen
