// SPDX-License-Identifier: MIT
// What a mapped point means: where it lies, and what a touch that is under way does with it. Pure.
#pragma once

#include <cstdint>

#include "platform/Geometry.h"

namespace lightpen {

// Left and right are looked at first: beyond a corner counts as a side.
enum ScreenRegion : std::int32_t {
    kRegionLeft = 0,
    kRegionRight = 1,
    kRegionTop = 2,
    kRegionBottom = 3,
    kRegionInside = 4
};

// The region of a point on a screen of this size; the edges belong to the screen.
ScreenRegion regionOfPoint(ScreenPoint point, Size screen);

// The driver keeps it as a number; any other value is an error and changes nothing.
enum PenState : std::int32_t { kPenUp = 0, kPenDown = 1, kPenDrag = 2 };

// A stroke may wander this far from its anchor, in points, and still become a right click.
inline constexpr double kLongPressRadius = 10.0;

//   state        point inside                                does
//   up           -                                           press          -> down
//   down, drag   further than the radius from its anchor     leaveAnchor    -> drag
//   down, drag   no anchor ((0, 0)), or within the radius    drag           -> drag
//   other        -                                           error          unchanged
struct PenStep {
    // What the table says that the point does.
    enum class Kind { press, leaveAnchor, drag, error };
    Kind kind = Kind::error;
    double distance = 0; // from the anchor, in points; 0 where none is measured
    friend bool operator==(const PenStep&, const PenStep&) = default;
};

// What a point inside the screen does in this state. The anchor is where the stroke began, (0, 0) for none.
PenStep penStep(std::int32_t state, ScreenPoint anchor, ScreenPoint point);

} // namespace lightpen
