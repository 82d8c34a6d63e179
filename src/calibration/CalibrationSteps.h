// SPDX-License-Identifier: MIT
// Where the target of each step stands, and when two touches are one. Pure functions.
#pragma once

#include <cstdint>

#include "calibration/TargetGrid.h"
#include "platform/Geometry.h"

namespace lightpen {

// What decides where targets stand; lengths in points.
struct StepLayout {
    TargetGrid grid;
    Size screen;
    Size target;
};

// The lower left corner of the target of a step, counted from 0, row by row from the upper left. Inner
// targets stand left of and below an even division by the margins. Steps between targets, and the whole x but
// for half the target, are of single precision. A grid without rows or columns to divide the screen by counts
// as one column, or as rows of no height.
WindowPoint targetOriginOfStep(const StepLayout& layout, std::int64_t step);

// The same for the first step of any grid that has two rows.
WindowPoint firstTargetOrigin(Size screen, Size target);

// Whether a touch repeats an earlier one: nearer than half the target on both axes. Camera units are
// compared with the target's points as they are; the differences are of single precision.
bool isSamePoint(CameraPoint earlier, CameraPoint point, Size target);

} // namespace lightpen
