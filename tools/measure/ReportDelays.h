// SPDX-License-Identifier: MIT
// How long a pen report takes until a window has the pointer event that it became. Pure.
#pragma once

#include <vector>

#include "measure/CanvasEvent.h"
#include "platform/Geometry.h"
#include "platform/Time.h"

namespace lightpen {

// A report of the pen with a spot.
struct SentReport {
    Microseconds time{}; // when the unit handed it to the bus
    ScreenPoint place;   // of the spot, on the screen
    bool first = false;  // of its touch
};

// An event belongs to the report whose place is nearest to the event's, among those of the half second before
// it, and only if it is within this distance in points. So the pen must not come by one place twice in that
// time, and should move on by about twice the distance from one report to the next.
inline constexpr double kNearEnough = 3;

// Milliseconds from a report to the move that it became, for each move that belongs to a report. Both lists
// in order of time.
std::vector<double> moveDelays(const std::vector<SentReport>& sent, const std::vector<CanvasEvent>& seen);

// Milliseconds from the first report of a touch to its press; a touch that was not seen as a press adds none.
std::vector<double> pressDelays(const std::vector<SentReport>& sent, const std::vector<CanvasEvent>& seen);

} // namespace lightpen
