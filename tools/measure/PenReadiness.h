// SPDX-License-Identifier: MIT
#pragma once

#include "device/EventGeneratorNX7.h"
#include "measure/Waiting.h"
#include "unit/CameraUnit.h"

namespace lightpen {

// Waits until the pen of a unit that is in use counts; false when it does not come to that. The unit's first
// reports, which bring that about, last for a second. Where this process stood still meanwhile, a touch there
// brings it about, which itself goes nowhere. Main thread.
inline bool waitUntilPenIsHeard(Platform& platform, CameraUnit& unit, ScreenPoint place) {
    constexpr Microseconds kPatience = std::chrono::seconds(4);
    constexpr Microseconds kContact = std::chrono::milliseconds(200);
    constexpr int kTouches = 3;
    for (int touch = 0; touch < kTouches && !waitUntil(platform, EventGeneratorNX7::hearsPen, kPatience);
         ++touch) {
        unit.touch(place);
        platform.runLoop.runFor(kContact);
        unit.lift();
    }
    return waitUntil(platform, EventGeneratorNX7::hearsPen, kPatience);
}

} // namespace lightpen
