// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace lightpen {

// The variables that say in which language programs are to speak, by their values; empty means not set.
struct LocaleVariables {
    std::string all;      // LC_ALL
    std::string messages; // LC_MESSAGES
    std::string lang;     // LANG
    std::string language; // LANGUAGE: a list with colons, for all but the C locale
};

// Those of this process.
LocaleVariables localeVariablesOfTheEnvironment();

// The languages that the variables ask for, the preferred one first, each once: "es" for es_MX.UTF-8, Chinese
// by its script ("zh-Hant" for zh_TW and zh_Hant). Names that are none are passed over; "en" for the C locale
// and where nothing is left.
std::vector<std::string> preferredLanguages(const LocaleVariables& variables);

} // namespace lightpen
