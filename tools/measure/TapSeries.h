// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "emulated/ScreenCapture.h"
#include "measure/Accuracy.h"
#include "measure/Recording.h"
#include "platform/Platform.h"
#include "unit/CameraUnit.h"

namespace lightpen {

// Lets the emulated hand tap at these places, one after the other, and adds what became of each to the taps.
// Neighbours in the list are further apart than what a camera could mistake for each other. The pointer is
// where the X server says that it is. A contact is long enough for the camera and the driver to see it,
// however busy the machine. Returns what went wrong, empty when nothing did. Main thread.
std::string tapAt(const std::vector<ScreenPoint>& places, CameraUnit& unit, Recording& recording,
                  ScreenCapture& eyes, Platform& platform, std::vector<Tap>& taps,
                  Microseconds contact = std::chrono::milliseconds(60));

} // namespace lightpen
