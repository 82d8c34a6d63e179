// SPDX-License-Identifier: MIT
#include "app/LanguageChoice.h"

#include <utility>

#include <QByteArrayView>

#include "platform/Log.h"

namespace lightpen {

namespace {

constexpr std::string_view kEnglishHelp = "enu";
constexpr std::pair<std::string_view, std::string_view> kHelpDocuments[] = {
    {"zh-Hant", "cht"}, {"zh-Hans", "chs"}, {"ja", "jpn"},   {"it", "ita"},
    {"es", "esp"},      {"fr", "fra"},      {"de-CH", "deu"}};

} // namespace

int compareIgnoringCase(std::string_view first, std::string_view second) {
    // Not QString's: the letters of every locale would count then, and the Turkish "I" is no capital "i".
    const int order = QByteArrayView(first).compare(second, Qt::CaseInsensitive);
    return order < 0 ? -1 : static_cast<int>(order > 0);
}

std::string chooseIdentifier(const std::string& wanted) {
    for (const std::string_view supported : kSupportedIdentifiers) {
        const int order = compareIgnoringCase(supported, wanted);
        printText("Light n:387 j=%d\n", order);
        if (order == 0)
            return wanted;
    }
    return std::string(kFallbackIdentifier);
}

const std::string* textFor(const PropertyListDictionary& dictionary, std::string_view key) {
    const PropertyListValue* value = dictionary.find(key);
    return value ? value->as<std::string>() : nullptr;
}

const std::string* firstKeyFor(const PropertyListDictionary& dictionary, std::string_view text) {
    for (const auto& [key, value] : dictionary.entries)
        if (const auto* candidate = value.as<std::string>(); candidate && *candidate == text)
            return &key;
    return nullptr;
}

const std::string* languageKeyFor(const PropertyListDictionary& languages, std::string_view identifier) {
    if (const std::string* key = firstKeyFor(languages, identifier))
        return key;
    for (const auto& [key, value] : languages.entries)
        if (const auto* candidate = value.as<std::string>();
            candidate && compareIgnoringCase(*candidate, identifier) == 0)
            return &key;
    return nullptr;
}

std::string_view helpDocumentFor(const std::optional<std::string>& chosenIdentifier) {
    if (chosenIdentifier)
        for (const auto& [identifier, document] : kHelpDocuments)
            if (*chosenIdentifier == identifier)
                return document;
    return kEnglishHelp;
}

} // namespace lightpen
