// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "kit/resources/TableAudit.h"
#include "linux_desktop/files/PropertyListReader.h"

namespace lightpen {

// The path of a file or folder below resources/ of the source tree.
std::string shippedFile(const std::string& name);

// The keys that a property list's text has more than once. Its reader keeps only one of them.
std::vector<std::string> repeatedKeys(const std::string& text);

// A property list from there; a test failure that names the file when it has a key twice, and an empty one
// when it cannot be read. Its dictionaries must not be nested.
PropertyListDictionary shippedList(const std::string& name);

// The texts of a list; a test failure for each value that is none, which is then left out.
StringTable textsOf(const PropertyListDictionary& list);

// The string table of a language key.
StringTable shippedTable(const std::string& language);

} // namespace lightpen
