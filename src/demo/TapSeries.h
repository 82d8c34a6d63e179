// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "demo/Accuracy.h"
#include "demo/MappingRecord.h"
#include "demo/ScreenCapture.h"
#include "emulator/CameraUnit.h"
#include "platform/Platform.h"

namespace lightpen {

// Lets the emulated hand tap at these places, one after the other, and adds what became of each to the taps.
// The pointer is where the X server says that it is. Returns what went wrong, empty when nothing did. Main
// thread.
std::string tapAt(const std::vector<ScreenPoint>& places, CameraUnit& unit, MappingRecord& record,
                  ScreenCapture& eyes, Platform& platform, std::vector<Tap>& taps);

} // namespace lightpen
