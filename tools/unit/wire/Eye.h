// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Time.h"
#include "unit/wire/Vision.h"

namespace lightpen {

// The unit's camera: an emulated one, or any other that can say where it sees lights.
struct Eye {
    virtual ~Eye() = default;
    // What lies before the camera at this time, which never goes back. Called with the unit's lock held, on
    // whatever thread drives the unit: it must not wait for another thread.
    virtual Scene look(Microseconds time) = 0;
};

} // namespace lightpen
