// SPDX-License-Identifier: MIT
#include "platform/PropertyList.h"

namespace lightpen {

const PropertyListValue* PropertyListDictionary::find(std::string_view key) const {
    for (const auto& [name, value] : entries)
        if (name == key)
            return &value;
    return nullptr;
}

} // namespace lightpen
