// SPDX-License-Identifier: MIT
// Any bytes as a property list: a dictionary no deeper than it may be, or a reason.
#include <algorithm>
#include <cstdint>
#include <string_view>

#include "kit/AnyBytes.h"
#include "linux_desktop/files/PropertyListReader.h"

namespace {

using lightpen::require;

constexpr int kDeepest = 32;

// How many arrays and dictionaries are in each other at the deepest place.
int depthOf(const lightpen::PropertyListValue& value) {
    int deepest = -1;
    if (const auto* array = value.as<lightpen::PropertyListArray>())
        for (const auto& element : *array)
            deepest = std::max(deepest, depthOf(element));
    if (const auto* dictionary = value.as<lightpen::PropertyListDictionary>())
        for (const auto& entry : dictionary->entries)
            deepest = std::max(deepest, depthOf(entry.second));
    return deepest + 1;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto result = lightpen::parsePropertyList(text);
    require(result.dictionary.has_value() == result.error.empty());
    if (result.dictionary)
        require(depthOf({*result.dictionary}) <= kDeepest + 1);
    return 0;
}
