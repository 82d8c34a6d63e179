// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Geometry.h"

namespace lightpen::webcam {

// What is undone of what a camera sees, before the unit hears of it. It belongs to a calibration, whose
// points were seen with it.
struct SightCorrection {
    double lens = 0;       // LensModel's k
    CameraPoint lamp = {}; // from the place that a pen touches to where its light is seen, camera units

    friend bool operator==(const SightCorrection&, const SightCorrection&) = default;
};

} // namespace lightpen::webcam
