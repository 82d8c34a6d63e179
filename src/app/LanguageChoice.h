// SPDX-License-Identifier: MIT
// Which language, which table, which help document: values in, values out.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "platform/PropertyList.h"

namespace lightpen {

// The languages there are, in the order in which they are tried.
inline constexpr std::array<std::string_view, 16> kSupportedIdentifiers{
    "en", "zh-Hant", "zh-Hans", "de", "fr", "es", "it", "pt", "nl", "sv", "ko", "ru", "ja", "pl", "th", "uk"};

// The language of whoever has none of them.
inline constexpr std::string_view kFallbackIdentifier = "en";

// -1, 0 or 1 as the first text comes before the second, is equal to it, or comes behind it; letters of the
// Latin alphabet count the same whether small or capital.
int compareIgnoringCase(std::string_view first, std::string_view second);

// The wanted identifier, as it is written, if it is among the supported ones; "en" otherwise. The result of
// each comparison goes to standard output.
std::string chooseIdentifier(const std::string& wanted);

// The text of the key; null when there is none.
const std::string* textFor(const PropertyListDictionary& dictionary, std::string_view key);

// The first key that has exactly this text; null when there is none.
const std::string* firstKeyFor(const PropertyListDictionary& dictionary, std::string_view text);

// The language of the identifier: the first key with exactly this one, else the first whose identifier
// differs in nothing but its case, as a hand may have written it; null when there is none.
const std::string* languageKeyFor(const PropertyListDictionary& languages, std::string_view identifier);

// The name of the help document for the language that the user chose; English without a choice. The
// comparison is exact, and a plain "de" has no document of its own.
std::string_view helpDocumentFor(const std::optional<std::string>& chosenIdentifier);

} // namespace lightpen
