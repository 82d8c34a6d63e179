// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

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

// Whether the default exists and is true. Main thread, like the defaults themselves.
bool isSet(std::string_view key);
// The text of the default; empty when it is absent or something else than a text.
std::optional<std::string> storedText(std::string_view key);

} // namespace lightpen
