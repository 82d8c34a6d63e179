// SPDX-License-Identifier: MIT
#include "device/PenPipeline.h"

#include <algorithm>
#include <cmath>

namespace lightpen {

namespace {

using Kind = PenAction::Kind;

std::uint16_t wordAt(std::span<const std::uint8_t> report, std::size_t offset) {
    return static_cast<std::uint16_t>(report[offset] | (report[offset + 1] << 8));
}

PenResult pressAt(ScreenPoint point) {
    return {{kPenDown, point, point, true}, {{Kind::beginLongPress, point}, {Kind::press, point}}};
}

double distanceBetween(ScreenPoint a, ScreenPoint b) {
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    return std::sqrt(dx * dx + dy * dy);
}

PenResult dragTo(const Stroke& stroke, ScreenPoint point) {
    const double distance = stroke.anchor == ScreenPoint{} ? 0 : distanceBetween(stroke.anchor, point);
    if (distance > kLongPressRadius)
        return {{kPenDrag, point, {}, stroke.pressed},
                {{Kind::leaveAnchor, stroke.anchor, distance}, {Kind::drag, point}}};
    return {{kPenDrag, point, stroke.anchor, stroke.pressed}, {{Kind::stay, point}, {Kind::drag, point}}};
}

} // namespace

// The report

PenReport readPenReport(std::span<const std::uint8_t> report) {
    return {report[1] != 0, wordAt(report, 1), wordAt(report, 3)};
}

CameraPoint pointInCameraRange(const PenReport& report) {
    if (!report.lightSpot)
        return kPenUpPoint;
    const auto x = static_cast<std::int16_t>(report.x);
    const auto y = static_cast<std::int16_t>(report.y);
    if (x > kCameraMaximumX || y > kCameraMaximumY)
        return kFarAwayPoint;
    return {static_cast<double>(x), static_cast<double>(y)};
}

void writePenUpReport(std::vector<std::uint8_t>& report) {
    report.assign(std::max(report.size(), kPenReportBytes), 0);
    report[0] = 1;
}

// The screen

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

// The stroke

PenResult penMoves(const Stroke& stroke, ScreenPoint point, Size screen) {
    const ScreenRegion region = regionOfPoint(point, screen);
    if (region != kRegionInside)
        return {stroke, {{Kind::leaveScreen, point}}, region};
    // A degenerate mapping yields points that are nowhere. The stroke stays where a button event was last
    // posted, so that its release has a place.
    if (std::isnan(point.x) || std::isnan(point.y))
        return {stroke, {}};
    if (stroke.state == kPenUp)
        return pressAt(point);
    if (stroke.state == kPenDown || stroke.state == kPenDrag)
        return dragTo(stroke, point);
    return {stroke, {{Kind::fail, point}}};
}

PenResult penLifts(const Stroke& stroke) {
    if (stroke.state == kPenUp)
        return {stroke, {}};
    return {{kPenUp, {}, stroke.anchor, false},
            {{Kind::release, stroke.previous}, {Kind::cancelLongPress, stroke.anchor}}};
}

PenResult penFeeds(const Stroke& stroke, CameraPoint point) {
    PenResult result{stroke, {}};
    if (stroke.pressed) {
        result = penLifts(stroke);
        result.stroke.state = kPenDown;
    }
    if (point.x == -1 || point.y == -1) {
        result.stroke.state = kPenUp;
        result.stroke.previous = {};
    } else if (result.stroke.state == kPenUp) {
        result.stroke.state = kPenDown;
        result.touchesTarget = true;
    }
    return result;
}

} // namespace lightpen
