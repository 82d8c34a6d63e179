// SPDX-License-Identifier: MIT
#include "app/DefaultsReading.h"

#include "platform/Platform.h"

namespace lightpen {

bool isSet(std::string_view key) {
    const auto value = Platform::current().defaults.objectForKey(key);
    const bool* flag = value ? std::get_if<bool>(&*value) : nullptr;
    return flag && *flag;
}

std::optional<std::string> storedText(std::string_view key) {
    const auto value = Platform::current().defaults.objectForKey(key);
    const auto* text = value ? std::get_if<std::string>(&*value) : nullptr;
    return text ? std::optional(*text) : std::nullopt;
}

} // namespace lightpen
