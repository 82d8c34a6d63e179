// SPDX-License-Identifier: MIT
#pragma once

#include <QPixmap>

namespace lightpen {

// What a calibration target shows where the application's own pictures are missing: for a person a ring with
// a cross-hair on white, for the camera itself a bright disc on black. Drawn for the screen's own resolution;
// 64 by 64 points.
enum class TargetImage { calib, automatic };
QPixmap targetImage(TargetImage image);

} // namespace lightpen
