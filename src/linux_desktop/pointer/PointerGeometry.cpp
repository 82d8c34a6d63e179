// SPDX-License-Identifier: MIT
#include "linux_desktop/pointer/PointerGeometry.h"

#include <algorithm>
#include <cmath>

namespace lightpen {

namespace {

int pixelOnAxis(int origin, double scale, std::int16_t point) {
    return origin + static_cast<int>(std::lround(scale * point));
}

// Desktops divide the axis into as many equal steps as there are pixels; the middle of a step stays in it
// however they round.
int axisValue(int pixel, int start, int length) {
    const double step = std::clamp(pixel - start, 0, length - 1) + 0.5;
    return static_cast<int>(std::lround(step * PointerGeometry::kAxisMaximum / length));
}

} // namespace

PointerGeometry::PointerGeometry(PixelPoint mainScreen, double scale, PixelRect desktop)
    : mainScreen_(mainScreen), scale_(scale), desktop_(desktop) {}

PixelPoint PointerGeometry::pixelAt(IOGPoint point) const {
    return {pixelOnAxis(mainScreen_.x, scale_, point.x), pixelOnAxis(mainScreen_.y, scale_, point.y)};
}

AxisPoint PointerGeometry::axisAt(IOGPoint point) const {
    if (!known())
        return {};
    const PixelPoint pixel = pixelAt(point);
    return {axisValue(pixel.x, desktop_.x, desktop_.width), axisValue(pixel.y, desktop_.y, desktop_.height)};
}

} // namespace lightpen
