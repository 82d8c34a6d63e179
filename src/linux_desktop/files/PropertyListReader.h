// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/PropertyList.h"

namespace lightpen {

// What a property list holds, or why it cannot be read.
struct PropertyListResult {
    std::optional<PropertyListDictionary> dictionary;
    std::string error;
};

// Reads an XML property list: a dictionary of flags, numbers, strings, arrays and dictionaries, nested 32
// deep at most.
PropertyListResult parsePropertyList(std::string_view text);
// The same from a file of 1 MiB at most; the error begins with its name.
PropertyListResult readPropertyList(const std::string& file);

} // namespace lightpen
