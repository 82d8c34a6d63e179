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
    // How far its picture is turned, counter-clockwise: 0 to 3, as the window system counts. Only differences
    // mean something; always 0 where the window system does not say.
    int quarterTurns = 0;
    friend bool operator==(const Screen&, const Screen&) = default;
};

// For a user who has given the option "--screen" no name.
inline constexpr const char* kScreenProblem = "--screen takes the name of a screen.";

} // namespace lightpen
