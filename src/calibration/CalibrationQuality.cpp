// SPDX-License-Identifier: MIT
#include "calibration/CalibrationQuality.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace lightpen {

namespace {

// Twice the area, positive in the one sense of turning and negative in the other.
double turned(CameraPoint a, CameraPoint b, CameraPoint c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

} // namespace

double leastCornerShare(const PointList& points) {
    if (points.size() != 4)
        return 0;
    // The list goes row by row, the quadrilateral around.
    const std::array corners{points[0], points[1], points[3], points[2]};
    const double whole =
        turned(corners[0], corners[1], corners[2]) + turned(corners[0], corners[2], corners[3]);
    if (!std::isfinite(whole) || whole == 0)
        return 0;
    double least = 1;
    for (std::size_t i = 0; i < corners.size(); ++i)
        least = std::min(least, turned(corners[i], corners[(i + 1) % 4], corners[(i + 2) % 4]) / whole);
    return least;
}

} // namespace lightpen
