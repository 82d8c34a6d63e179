// SPDX-License-Identifier: MIT
#include "measure/UnitInUse.h"

#include "device/EventGeneratorNX7.h"
#include "measure/Waiting.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr Microseconds kPatience = seconds(20); // for an arrival or a removal
constexpr Microseconds kArmingPatience = seconds(4);
constexpr Microseconds kContact = milliseconds(200);
constexpr int kTouches = 3;
constexpr Microseconds kRemovalPauses = seconds(1); // they come after its announcement

} // namespace

bool waitUntilPenIsHeard(Platform& platform, CameraUnit& unit, ScreenPoint place) {
    for (int touch = 0;
         touch < kTouches && !waitUntil(platform, EventGeneratorNX7::hearsPen, kArmingPatience); ++touch) {
        unit.touch(place);
        platform.runLoop.runFor(kContact);
        unit.lift();
    }
    return waitUntil(platform, EventGeneratorNX7::hearsPen, kArmingPatience);
}

bool takeIntoUse(Platform& platform, const LightPenNX7Controller& controller, CameraUnit& unit,
                 ScreenPoint place) {
    unit.plug();
    const auto open = [&] { return controller.deviceConnected() && EventGeneratorNX7::isUnitOpen(); };
    return waitUntil(platform, open, kPatience) && waitUntilPenIsHeard(platform, unit, place);
}

bool waitUntilRemoved(Platform& platform, const LightPenNX7Controller& controller) {
    const auto gone = [&] { return !controller.deviceConnected() && !EventGeneratorNX7::isUnitOpen(); };
    const bool noticed = waitUntil(platform, gone, kPatience);
    platform.runLoop.runFor(kRemovalPauses);
    return noticed;
}

} // namespace lightpen
