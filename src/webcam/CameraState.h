// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

#include "webcam/camera/CameraProblem.h"

namespace lightpen::webcam {

// How the program's camera is, for people.
enum class CameraState {
    off,
    looking,
    lookingAsItLikes, // its exposure is its own
    absent,
    busy,
    notPermitted,
    unusable,
};

// What a problem makes of it; without one, whether the exposure can be set.
CameraState stateOf(CameraProblem::Kind problem, bool manualExposure = true);
// What is to be said of it in one line: a key of the string tables.
std::string_view textKey(CameraState state);

} // namespace lightpen::webcam
