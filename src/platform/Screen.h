// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "platform/Geometry.h"

namespace lightpen {

// One of the desktop's screens.
struct Screen {
    // As the output is called ("HDMI-1"); no two screens share a name. Empty for one that is not the
    // desktop's.
    std::string name;
    // In points, counted from the main screen's top-left corner; screens to its left have a negative x.
    ScreenRect frame;
    // How far its picture is turned against the panel that shows it, counter-clockwise: 0 to 3.
    int quarterTurns = 0;
    friend bool operator==(const Screen&, const Screen&) = default;
};

// For a user who has given the option "--screen" no name.
inline constexpr const char* kScreenProblem = "--screen takes the name of a screen.";

} // namespace lightpen
