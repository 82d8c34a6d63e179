// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/PropertyList.h"

namespace lightpen {

// The application's folder: its program, its information dictionary and its resources. Main thread.
class Bundle {
public:
    virtual ~Bundle() = default;
    // The absolute path of the program in it, whatever the folder is called ("LightPenNX7" where it is
    // installed).
    virtual std::string executablePath() const = 0;
    // The information dictionary's "CFBundleIdentifier"; none (and a log line) when that cannot be read.
    virtual std::optional<std::string> bundleIdentifier() const = 0;
    // The same of the application whose folder, or a file in whose folder, is at a path; none without a word
    // when there is none.
    virtual std::optional<std::string> bundleIdentifierAtPath(const std::string& path) const = 0;
    // An entry of the information dictionary; none when there is no such entry, and a log line that names the
    // file when the dictionary cannot be read.
    virtual std::optional<PropertyListValue> objectForInfoDictionaryKey(std::string_view key) const = 0;
    // The file of a resource such as "disconn" of type "svg"; none when there is no such file.
    virtual std::optional<std::string> pathForResource(std::string_view name,
                                                       std::string_view type) const = 0;
    // What the property list of this name and type holds; none (and a log line that names the file) when it
    // is missing or damaged.
    virtual std::optional<PropertyListDictionary>
    dictionaryWithContentsOfResource(std::string_view name, std::string_view type) const = 0;
    // The text that the platform's own localisation has for the key, in the language of the system; the key
    // itself when there is none.
    virtual std::string localizedStringForKey(std::string_view key) const = 0;
};

} // namespace lightpen
