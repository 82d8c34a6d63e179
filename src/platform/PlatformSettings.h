// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace lightpen {

// The user defaults that the platform itself reads. At the program's start, the way of the pointer ("uinput"
// or "xtest") and the place of the log ("stderr", "file" or "none"); without them it chooses.
inline constexpr std::string_view kPointerKey = "Pointer";
inline constexpr std::string_view kLogKey = "Log";
// And the screen with the picture, as its output is called ("HDMI-1"). Without it, or while there is no such
// screen, it is the desktop's primary one.
inline constexpr std::string_view kMainScreenKey = "Main Screen";

// To be posted in the process when the screen has been chosen anew, so that it counts at once.
inline constexpr std::string_view kMainScreenWasChosen = "kMainScreenWasChosen";

} // namespace lightpen
