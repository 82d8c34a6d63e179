// SPDX-License-Identifier: MIT
#include "linux_desktop/process/PreferredLanguages.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <QByteArray>

namespace lightpen {

namespace {

constexpr const char* kFallback = "en";
constexpr const char* kTraditional = "zh-Hant";
constexpr const char* kSimplified = "zh-Hans";

char lowered(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char letter) { return lowered(letter); });
    return result;
}

std::vector<std::string> split(std::string_view text, std::string_view separators) {
    std::vector<std::string> parts;
    for (;;) {
        const auto end = text.find_first_of(separators);
        parts.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos)
            return parts;
        text.remove_prefix(end + 1);
    }
}

bool isLanguage(std::string_view text) {
    return (text.size() == 2 || text.size() == 3) &&
           std::all_of(text.begin(), text.end(), [](char letter) { return letter >= 'a' && letter <= 'z'; });
}

bool isTheCLocale(std::string_view name) {
    const auto plain = name.substr(0, name.find('.'));
    return plain == "C" || plain == "POSIX";
}

// The script where it is said, else the one of the place; most places write the simplified one.
std::string chinese(const std::vector<std::string>& parts) {
    const auto has = [&](std::string_view part) {
        return std::find(parts.begin(), parts.end(), part) != parts.end();
    };
    if (has("hant"))
        return kTraditional;
    const bool traditionalPlace = has("tw") || has("hk") || has("mo");
    return traditionalPlace && !has("hans") ? kTraditional : kSimplified;
}

// The language of a locale's name, language_TERRITORY.codeset@modifier; empty when it is no such name.
std::string languageOf(std::string_view locale) {
    if (isTheCLocale(locale))
        return kFallback;
    const auto parts = split(lowered(locale.substr(0, locale.find_first_of(".@"))), "_-");
    const std::string& language = parts.front();
    if (!isLanguage(language))
        return {};
    return language == "zh" || language == "cmn" ? chinese(parts) : language;
}

} // namespace

LocaleVariables localeVariablesOfTheEnvironment() {
    return {qgetenv("LC_ALL").toStdString(), qgetenv("LC_MESSAGES").toStdString(),
            qgetenv("LANG").toStdString(), qgetenv("LANGUAGE").toStdString()};
}

std::vector<std::string> preferredLanguages(const LocaleVariables& variables) {
    const std::array strongestFirst{variables.all, variables.messages, variables.lang};
    const auto set = std::find_if(strongestFirst.begin(), strongestFirst.end(),
                                  [](const std::string& value) { return !value.empty(); });
    if (set == strongestFirst.end() || isTheCLocale(*set))
        return {kFallback};
    auto names = split(variables.language, ":");
    names.push_back(*set);
    std::vector<std::string> languages;
    for (const std::string& name : names) {
        const std::string language = languageOf(name);
        if (!language.empty() && std::find(languages.begin(), languages.end(), language) == languages.end())
            languages.push_back(language);
    }
    if (languages.empty())
        languages.emplace_back(kFallback);
    return languages;
}

} // namespace lightpen
