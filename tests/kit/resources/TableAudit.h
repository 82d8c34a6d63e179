// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace lightpen {

struct Language {
    std::string key;        // names its string table, and is the English text of its name
    std::string identifier; // of its locale
};

// For the name of a test of it: "TraditionalChinese".
std::string nameOfLanguage(const testing::TestParamInfo<Language>& language);

// All languages of the application, in the order of its menu.
const std::vector<Language>& applicationLanguages();

// The English texts that each table translates: those of menus and windows, then the languages' names.
const std::vector<std::string>& tableKeys();

// The longest of them, which warns of stray light.
inline constexpr const char* kStrayLightMessage =
    "Strong lighting in the environment may cause light pen to stop functioning normally or sliding door "
    "doesn't close properly. Please open the sliding door, then confirm the detection range.";

// Keys and texts of one table, in the order of its file.
using StringTable = std::vector<std::pair<std::string, std::string>>;
// The text of the first such key; empty when there is none.
std::string textOf(const StringTable& table, std::string_view key);

// What a speaker of the language or the menus would stumble over, a line each; empty when there is nothing.
// The identifier must be one of the application's languages.
std::vector<std::string> problemsOf(const StringTable& table, const std::string& identifier);

} // namespace lightpen
