// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace lightpen {

// The user default that names the screen with the picture, as its output is called ("HDMI-1"). Without it, or
// while there is no such screen, it is the desktop's primary one.
inline constexpr std::string_view kMainScreenKey = "Main Screen";

// To be posted in the process when that default has changed, so that it counts at once.
inline constexpr std::string_view kMainScreenWasChosen = "kMainScreenWasChosen";

} // namespace lightpen
