// SPDX-License-Identifier: MIT
#include "emulated/TargetSeeker.h"

#include <cmath>

namespace lightpen {

namespace {

double distance(ScreenPoint one, ScreenPoint other) {
    return std::hypot(one.x - other.x, one.y - other.y);
}

} // namespace

std::optional<ScreenPoint> TargetSeeker::look(std::optional<ScreenPoint> seen, Microseconds now) {
    if (!seen) {
        resting_.reset();
        return std::nullopt;
    }
    if (!resting_ || distance(resting_->place, *seen) >= kStill)
        resting_ = Sight{*seen, now};
    if (now - resting_->time < kRest)
        return std::nullopt;
    const bool there = touched_ && distance(touched_->place, *seen) <= kElsewhere;
    if (there && now - touched_->time < kPatience)
        return std::nullopt;
    touched_ = Sight{*seen, now};
    return seen;
}

} // namespace lightpen
