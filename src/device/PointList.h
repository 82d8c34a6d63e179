// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/Geometry.h"

namespace lightpen {

// A calibration-points list: one raw camera point for each target, row by row from the top-left target. Once
// made it never changes, so threads may share it; null where there is none.
using PointList = std::vector<CameraPoint>;
using PointListRef = std::shared_ptr<const PointList>;

// "({x, y}, {x, y})", or "(null)".
inline std::string describe(const PointListRef& points) {
    if (!points)
        return "(null)";
    std::string text = "(";
    for (const CameraPoint& point : *points) {
        text += text.size() > 1 ? ", " : "";
        text += NSStringFromPoint(point);
    }
    return text + ")";
}

} // namespace lightpen
