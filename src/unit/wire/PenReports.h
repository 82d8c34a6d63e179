// SPDX-License-Identifier: MIT
// The reports of the pen:
//
//   byte 0       1 2      3 4      5 ...
//        0 or 1  X low,   Y low,   0
//                high     high
//
// Byte 1 is 0 when there is no spot, so a spot never has an X whose low byte is 0.
#pragma once

#include "platform/Geometry.h"
#include "unit/wire/UnitReport.h"

namespace lightpen {

inline constexpr int kCameraWidth = 2560;
inline constexpr int kCameraHeight = 1920;

// The X that a report carries for a spot, in whole camera units. A spot beside the range, on either side of
// it, is reported with a value above the range. With avoidZeroLowByte set, a value whose low byte is 0 is
// replaced by a neighbour of it that lies inside the range.
int reportedX(double x, bool avoidZeroLowByte);
// Likewise for Y, which has no forbidden values.
int reportedY(double y);

// The first five bytes of the report for a spot.
ReportBytes spotReport(CameraPoint spot, bool avoidZeroLowByte);
// The first five bytes of the report for no spot.
ReportBytes noSpotReport();

} // namespace lightpen
