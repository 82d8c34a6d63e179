// SPDX-License-Identifier: MIT
// What a touch does during a session, and the target's way to its next place.
#include "calibration/KVRCalibrationCenter.h"

#include "calibration/KVRCalibrationTarget.h"
#include "calibration/ViewAnimation.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

// 0.8 of single precision, to the microsecond.
constexpr Microseconds kMoveDuration =
    std::chrono::duration_cast<Microseconds>(std::chrono::duration<double>(static_cast<double>(0.8F)));

} // namespace

void KVRCalibrationCenter::lightPenCallbackAtPoint(CameraPoint point, EventGeneratorNX7&) {
    const SessionRef session = session_;
    if (!session || !_canProcessLightPenSignal || point.x == -1 || point.y == -1)
        return;
    switch (session->offer(point, targetSize())) {
    case CollectedPoints::Verdict::complete:
        return;
    case CollectedPoints::Verdict::samePoint:
        logLine("KVR n:928 The Same Point!!");
        if (const SoundRef sound = Platform::current().sounds.soundNamed("Submarine"))
            sound->play();
        return;
    case CollectedPoints::Verdict::taken:
        break;
    }
    performForSession(session, "nextTarget", &KVRCalibrationCenter::nextTarget);
    logLine("KVR n:935 lightPenCallbackAtPoint:%s", PointText(point).c_str());
}

bool KVRCalibrationCenter::shouldGenerateMouseEventAtPoint(ScreenPoint) const {
    return false;
}

// A glide that another one follows before its end must not let touches in on the way.
void KVRCalibrationCenter::startAnimation() {
    _canProcessLightPenSignal = false;
    stopAnimation();
    const WindowPoint origin = targetOriginOfStep(_calibrationStep);
    const auto target = _calibrationTarget;
    const WindowRect start = target ? target->frame() : WindowRect();
    const auto setFrame = [target](const WindowRect& frame) {
        if (target)
            target->setFrame(frame);
    };
    // The session stops it at its own end, so that it never reports to another one.
    const auto didEnd = [weak = weak_from_this()](const ViewAnimation& animation) {
        if (const auto center = weak.lock())
            center->animationDidEnd(animation);
    };
    animation_ = std::make_shared<ViewAnimation>(
        ViewAnimation::Description{setFrame, start, {origin, start.size}}, kMoveDuration, didEnd);
    animation_->startAnimation();
}

void KVRCalibrationCenter::animationDidEnd(const ViewAnimation&) {
    playBeep();
    _canProcessLightPenSignal = true;
}

void KVRCalibrationCenter::stopAnimation() {
    if (animation_)
        animation_->stopAnimation();
    animation_ = nullptr;
}

} // namespace lightpen
