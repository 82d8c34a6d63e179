// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace lightpen {

struct PropertyListEntry;
struct PropertyListValue;
using PropertyListArray = std::vector<PropertyListValue>;

// Keys and values in the order of the file.
struct PropertyListDictionary {
    std::vector<PropertyListEntry> entries;
    // The value of the first such key; null when there is none.
    const PropertyListValue* find(std::string_view key) const;
};

// A value of a property list; arrays and dictionaries hold others.
struct PropertyListValue {
    std::variant<bool, std::int64_t, double, std::string, PropertyListArray, PropertyListDictionary> value;

    // The value as this type; null when it is of another.
    template <class Type>
    const Type* as() const {
        return std::get_if<Type>(&value);
    }
};

// A key with its value; no std::pair, which asks for more than is known yet of a value that holds entries.
struct PropertyListEntry {
    std::string first;
    PropertyListValue second;
};

inline const PropertyListValue* PropertyListDictionary::find(std::string_view key) const {
    for (const auto& [name, value] : entries)
        if (name == key)
            return &value;
    return nullptr;
}

} // namespace lightpen
