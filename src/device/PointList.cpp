// SPDX-License-Identifier: MIT
#include "device/PointList.h"

namespace lightpen {

std::string describe(const PointListRef& points) {
    if (!points)
        return "(null)";
    std::string text = "(";
    for (const CameraPoint& point : *points)
        text += (text.size() > 1 ? ", " : "") + NSStringFromPoint(point);
    return text + ")";
}

} // namespace lightpen
