// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Time.h"
#include "unit/wire/Picture.h"
#include "unit/wire/Vision.h"

namespace lightpen {

// What a host sets that concerns the camera, in the unit's own measures.
struct EyeSettings {
    int threshold = 0; // 0 at power-up, until the host has sent its own
    int exposure = 0;  // likewise; the more, the longer
    bool filterOut = false;

    bool operator==(const EyeSettings&) const = default;
};

// The unit's camera: an emulated one, or any other that can say where it sees lights. All is called with the
// unit's lock held, on whatever thread drives the unit: it must not wait for another thread.
struct Eye {
    virtual ~Eye() = default;
    // What lies before the camera at this time, which never goes back.
    virtual Scene look(Microseconds time) = 0;
    // The small picture of what the camera sees, for the host to show. The manners of the protocol are not
    // its concern.
    virtual Picture picture(Microseconds time) = 0;
    // Whether a light that is not the pen's shines on the camera. The host asks when no pen is expected.
    virtual bool foreignLight(Microseconds time) { return look(time).strayLight.has_value(); }
    // The unit has got power, or the host has sent its settings: these hold from now on.
    virtual void set(const EyeSettings& /*settings*/) {}
};

} // namespace lightpen
