// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PointerEvents.h"
#include "platform/Shared.h"

namespace lightpen {

// A place on the desktop in the device's pixels, y downwards. The desktop's origin is the window system's.
struct PixelPoint {
    int x = 0;
    int y = 0;
    friend bool operator==(const PixelPoint&, const PixelPoint&) = default;
};

// From its upper left corner.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

// A place on the desktop as the two axes of an absolute pointer give it, 0..PointerGeometry::kAxisMaximum.
struct AxisPoint {
    int x = 0;
    int y = 0;
    friend bool operator==(const AxisPoint&, const AxisPoint&) = default;
};

// Where a point of the main screen lies on the whole desktop. Pure.
class PointerGeometry {
public:
    static constexpr int kAxisMaximum = 65535;

    // No desktop: known() is false.
    PointerGeometry() = default;
    // The pixel at the main screen's top-left corner, the pixels a point is wide (above 0), and the rectangle
    // of pixels that all screens together span.
    PointerGeometry(PixelPoint mainScreen, double scale, PixelRect desktop);

    // Whether there is a desktop to point at.
    bool known() const { return desktop_.width > 0 && desktop_.height > 0; }
    // The pixel nearest to the point, also beyond the desktop's edges.
    PixelPoint pixelAt(IOGPoint point) const;
    // The axes' values that lead to the middle of that pixel; a point outside counts as the nearest one
    // inside. (0, 0) without a desktop.
    AxisPoint axisAt(IOGPoint point) const;

    friend bool operator==(const PointerGeometry&, const PointerGeometry&) = default;

private:
    PixelPoint mainScreen_;
    double scale_ = 1;
    PixelRect desktop_;
};

// The geometry as the main thread keeps it up to date and the threads that post events read it.
using SharedGeometry = SharedRecord<PointerGeometry>;

} // namespace lightpen
