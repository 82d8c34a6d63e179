// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string_view>

#include "platform/Platform.h"

namespace lightpen {

// The keys of the user's defaults that the controller reads.
inline constexpr std::string_view kLocaleIdentifierKey = "Language";
inline constexpr std::string_view kAutoCalibrationKey = "Auto Calibration";
inline constexpr std::string_view kProjectionDistanceSettingKey = "Projection Distance Setting";
inline constexpr std::string_view kProjectionDistanceKey = "Projection Distance";
inline constexpr std::string_view kLanguageSettingKey = "Language Setting";
inline constexpr std::string_view kHelpMenuKey = "Help Menu";
inline constexpr std::string_view kDebugWindowKey = "Debug Window";
inline constexpr std::string_view kPreviewWindowKey = "Preview Window";
inline constexpr std::string_view kLaunchAtStartUpKey = "Launch At Start Up";
inline constexpr std::string_view kWindowShownKey = "Window Shown";

// The default, if it exists and is of this type. Main thread, like the defaults themselves.
template <class Type>
std::optional<Type> stored(std::string_view key) {
    const auto value = Platform::current().defaults.objectForKey(key);
    const Type* typed = value ? std::get_if<Type>(&*value) : nullptr;
    return typed ? std::optional(*typed) : std::nullopt;
}

// Whether the default exists and is true.
inline bool isSet(std::string_view key) {
    return stored<bool>(key) == true;
}

} // namespace lightpen
