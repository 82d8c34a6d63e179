// SPDX-License-Identifier: MIT
#include "emulated/DrawnGesture.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lightpen {

namespace {

// In the time that the mouse took.
void follow(Hand& hand, ScreenPoint from, ScreenPoint to, Microseconds time) {
    const double distance = std::hypot(to.x - from.x, to.y - from.y);
    if (distance == 0)
        hand.stay(time);
    else
        hand.moveTo(to,
                    time > Microseconds::zero() ? distance / (static_cast<double>(time.count()) * 1e-6) : 0);
}

} // namespace

void DrawnGesture::press(CameraPoint place, Microseconds now) {
    path_ = {{place, now}};
}

void DrawnGesture::move(CameraPoint place, Microseconds now) {
    if (underWay())
        path_.push_back({place, now});
}

bool DrawnGesture::still() const {
    const CameraPoint first = path_.front().point;
    return std::all_of(path_.begin(), path_.end(), [&](const Place& place) {
        return std::hypot(place.point.x - first.x, place.point.y - first.y) <= kStill;
    });
}

std::optional<Hand> DrawnGesture::release(CameraPoint place, Microseconds now, const Optics& optics) {
    if (!underWay())
        return std::nullopt;
    move(place, now);
    const bool wasStill = still();
    const std::vector<Place> path = std::exchange(path_, {});
    const ScreenPoint first = optics.unproject(path.front().point);
    const Microseconds held = now - path.front().time;
    Hand hand;
    hand.wait(kPause);
    if (wasStill)
        return held < kHold ? hand.tap(first, kTapContact) : hand.hold(first, std::max(held, kLeastHold));
    hand.press(first).stay(kRest);
    for (std::size_t i = 1; i < path.size(); ++i)
        follow(hand, optics.unproject(path[i - 1].point), optics.unproject(path[i].point),
               path[i].time - path[i - 1].time);
    return hand.stay(kRest).lift();
}

} // namespace lightpen
