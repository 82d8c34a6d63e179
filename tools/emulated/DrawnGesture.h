// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "platform/Geometry.h"
#include "platform/Time.h"
#include "unit/room/Hand.h"
#include "unit/room/Optics.h"

namespace lightpen {

// What the mouse draws in the camera's view between a press and its release, and what the pen then does: it
// taps where the mouse clicked, holds still where the mouse was held still, else goes the same way at the
// same pace. The pen's own doings move the mouse, so it never begins before the mouse has been let go of.
// Pure.
class DrawnGesture {
public:
    // A mouse that stays within this, in camera units, is still.
    static constexpr double kStill = 16;
    // A press that is held for so long becomes a hold instead of a tap.
    static constexpr Microseconds kHold{1'000'000};
    static constexpr Microseconds kTapContact{120'000};
    // Long enough for a right click.
    static constexpr Microseconds kLeastHold{2'500'000};
    // From the release to the pen's touch: the desktop is done with the mouse by then.
    static constexpr Microseconds kPause{300'000};
    // The pen rests so long where a stroke begins and ends, so that the driver sees both places.
    static constexpr Microseconds kRest{50'000};

    // Begins a new one. Times are of any monotonic clock.
    void press(CameraPoint place, Microseconds now);
    void move(CameraPoint place, Microseconds now);
    // Ends it; the gesture as the pen is to play it, its pause included. None when none was begun.
    std::optional<Hand> release(CameraPoint place, Microseconds now, const Optics& optics);

    // Between a press and its release.
    bool underWay() const { return !path_.empty(); }
    // Where the mouse was, and when.
    struct Place {
        CameraPoint point;
        Microseconds time{};
    };
    // What was drawn up to now.
    const std::vector<Place>& path() const { return path_; }

private:
    bool still() const;

    std::vector<Place> path_;
};

} // namespace lightpen
