// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "platform/Geometry.h"
#include "platform/Time.h"

namespace lightpen {

// How a person touches one target after the other: looks until the target rests, touches it, and waits for
// it to be elsewhere. A target that stays where it was touched is touched again after a while. Pure.
class TargetSeeker {
public:
    static constexpr Microseconds kRest{250'000};
    static constexpr Microseconds kPatience{3'000'000};
    // In points: what moves less than this rests, and what is further from the touched place is elsewhere.
    static constexpr double kStill = 0.5;
    static constexpr double kElsewhere = 5;

    // What is seen at this time, none for no target. Returns the place to touch, once for each touch.
    std::optional<ScreenPoint> look(std::optional<ScreenPoint> seen, Microseconds now);

private:
    struct Sight {
        ScreenPoint place;
        Microseconds time{};
    };
    std::optional<Sight> resting_; // since when it has been at that place
    std::optional<Sight> touched_;
};

} // namespace lightpen
