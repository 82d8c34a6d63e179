// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "measure/PlayedSession.h"
#include "unit/room/Optics.h"

namespace lightpen {

// How one calibration is to be played.
struct CalibrationScene {
    std::string pose; // of the camera, in words
    Optics optics;    // and what it sees
    SessionKind session = SessionKind::byHand;
    double noise = 0; // of the sensor, in camera units
};

// A camera far beside the middle, by hand and automatically; with all set: three poses, each also with noise
// of one camera unit. Every picture fills more than half of the camera's width. Pure.
std::vector<CalibrationScene> calibrationScenes(Size screen, bool all);

} // namespace lightpen
