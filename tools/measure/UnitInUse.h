// SPDX-License-Identifier: MIT
// A unit that the driver of this process takes into use, and lets go of. Main thread.
#pragma once

#include "app/LightPenNX7Controller.h"
#include "platform/Platform.h"
#include "unit/CameraUnit.h"

namespace lightpen {

// Waits until the pen of a unit that is in use counts; false when it does not come to that. The unit's first
// reports, which bring that about, last for a second. Where this process stood still meanwhile, a touch there
// brings it about, which itself goes nowhere.
bool waitUntilPenIsHeard(Platform& platform, CameraUnit& unit, ScreenPoint place);
// Plugs the unit in and waits until the driver has opened it and its pen counts, as above; false when it does
// not.
bool takeIntoUse(Platform& platform, const LightPenNX7Controller& controller, CameraUnit& unit,
                 ScreenPoint place);
// Waits until the driver has noticed that its unit is gone, the pauses of the removal included; false when it
// does not.
bool waitUntilRemoved(Platform& platform, const LightPenNX7Controller& controller);

} // namespace lightpen
