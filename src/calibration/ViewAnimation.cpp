// SPDX-License-Identifier: MIT
#include "calibration/ViewAnimation.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr Microseconds kFramePeriod = std::chrono::milliseconds(16);
constexpr const char* kSelector = "progress";

} // namespace

ViewAnimation::ViewAnimation(Description description, Microseconds duration, EndHandler animationDidEnd)
    : description_(std::move(description)), duration_(duration),
      animationDidEnd_(std::move(animationDidEnd)) {}

void ViewAnimation::startAnimation() {
    if (animating_)
        return;
    animating_ = true;
    start_ = Platform::current().clock.now();
    scheduleProgress({});
}

void ViewAnimation::stopAnimation() {
    animating_ = false;
    // The request holds a reference to this, so it may be the last thing done here.
    Platform::current().runLoop.cancelPreviousPerformRequests(this, kSelector, {});
}

void ViewAnimation::scheduleProgress(Microseconds elapsed) {
    Platform::current().runLoop.performAfterDelay(
        {this, kSelector, {}, [self = shared_from_this()] { self->progress(); }},
        std::clamp(duration_ - elapsed, Microseconds(), kFramePeriod));
}

void ViewAnimation::progress() {
    if (!animating_)
        return;
    const Microseconds elapsed = Platform::current().clock.now() - start_;
    const auto& [setFrameOrigin, start, end] = description_;
    if (elapsed < duration_) {
        const double share = static_cast<double>(elapsed.count()) / static_cast<double>(duration_.count());
        setFrameOrigin({std::lerp(start.x, end.x, share), std::lerp(start.y, end.y, share)});
        scheduleProgress(elapsed);
        return;
    }
    animating_ = false;
    setFrameOrigin(end);
    if (animationDidEnd_)
        animationDidEnd_(*this);
}

} // namespace lightpen
