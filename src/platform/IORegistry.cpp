// SPDX-License-Identifier: MIT
#include "platform/IORegistry.h"

namespace lightpen {

std::string describe(const PropertyDictionary& dictionary) {
    std::string text = "{";
    for (const auto& [key, value] : dictionary.entries)
        text += key + " = " + describe(value) + "; ";
    return text + "}";
}

std::string describe(const Property& property) {
    if (const auto* number = std::get_if<std::int64_t>(&property))
        return std::to_string(*number);
    if (const auto* string = std::get_if<std::string>(&property))
        return *string;
    std::string text = "(";
    for (const auto& entry : std::get<std::vector<PropertyDictionary>>(property))
        text += (text.size() > 1 ? ", " : "") + describe(entry);
    return text + ")";
}

MatchingDictionary IOServiceMatching(std::string_view className) {
    return {std::string(className), {}};
}

} // namespace lightpen
