// SPDX-License-Identifier: MIT
#include "kit/resources/ResourceFiles.h"

#include <regex>
#include <set>

#include <gmock/gmock.h>

#include "kit/TemporaryDirectory.h"

namespace lightpen {

std::string shippedFile(const std::string& name) {
    return LIGHTPEN_RESOURCE_SOURCES "/" + name;
}

std::vector<std::string> repeatedKeys(const std::string& text) {
    static const std::regex key("<key>([^<]*)</key>");
    std::set<std::string> seen;
    std::vector<std::string> repeated;
    for (std::sregex_iterator match(text.begin(), text.end(), key), end; match != end; ++match)
        if (!seen.insert((*match)[1]).second)
            repeated.push_back((*match)[1]);
    return repeated;
}

PropertyListDictionary shippedList(const std::string& name) {
    auto result = readPropertyList(shippedFile(name));
    EXPECT_TRUE(result.dictionary) << result.error;
    EXPECT_THAT(repeatedKeys(readFile(shippedFile(name))), testing::IsEmpty()) << name;
    return std::move(result.dictionary).value_or(PropertyListDictionary());
}

StringTable textsOf(const PropertyListDictionary& list) {
    StringTable texts;
    for (const auto& [key, value] : list.entries) {
        const auto* text = value.as<std::string>();
        EXPECT_TRUE(text) << key << " is no text";
        if (text)
            texts.emplace_back(key, *text);
    }
    return texts;
}

StringTable shippedTable(const std::string& language) {
    return textsOf(shippedList(language + ".strings"));
}

} // namespace lightpen
