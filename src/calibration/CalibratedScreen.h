// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "calibration/TargetGrid.h"
#include "device/PointList.h"
#include "platform/Geometry.h"
#include "platform/Screen.h"

namespace lightpen {

// The screen on which a calibration's targets stood. A unit stores the camera points alone, which stand for
// targets at fixed distances from the edges of that screen. The picture stays the same piece of wall when the
// screen changes its size or is turned, so the points stay right as long as somebody knows what they stood
// for.
struct CalibratedScreen {
    Size size; // in points, of the window with the targets
    int quarterTurns = 0;
    friend bool operator==(const CalibratedScreen&, const CalibratedScreen&) = default;
};

// Whether the picture has the same shape on both, once one is turned as the other is: the sides are in the
// same proportion, to two parts in a hundred.
bool haveOneShape(const CalibratedScreen& one, const CalibratedScreen& other);

// Writes into the settings what the points of this unit were made on. The unit is known by its serial number,
// which may be empty. The last eight are kept. Main thread.
void rememberCalibratedScreen(const std::string& unit, const PointList& points,
                              const CalibratedScreen& screen);
// What was remembered for this unit and these points, of which there may be more behind those that were
// remembered; none where nothing was. Main thread.
std::optional<CalibratedScreen> calibratedScreen(const std::string& unit, const PointList& points);

// The cell's rectangle and corners as they lie on the screen of now. Pure; the cell itself where the screen
// is as it was.
TargetCell cellOnScreen(const TargetCell& cell, const CalibratedScreen& then, const CalibratedScreen& now);

} // namespace lightpen
