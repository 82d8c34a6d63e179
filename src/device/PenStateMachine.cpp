// SPDX-License-Identifier: MIT
#include "device/PenStateMachine.h"

#include <cmath>

namespace lightpen {

ScreenRegion regionOfPoint(ScreenPoint point, Size screen) {
    if (point.x < 0)
        return kRegionLeft;
    if (point.x > screen.width)
        return kRegionRight;
    if (point.y < 0)
        return kRegionTop;
    if (point.y > screen.height)
        return kRegionBottom;
    return kRegionInside;
}

PenStep penStep(std::int32_t state, ScreenPoint anchor, ScreenPoint point) {
    if (state == kPenUp)
        return {PenStep::Kind::press, 0};
    if (state != kPenDown && state != kPenDrag)
        return {PenStep::Kind::error, 0};
    if (anchor == ScreenPoint{})
        return {PenStep::Kind::drag, 0};
    const double dx = point.x - anchor.x;
    const double dy = point.y - anchor.y;
    const double distance = std::sqrt(dx * dx + dy * dy);
    return {distance > kLongPressRadius ? PenStep::Kind::leaveAnchor : PenStep::Kind::drag, distance};
}

} // namespace lightpen
