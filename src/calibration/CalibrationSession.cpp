// SPDX-License-Identifier: MIT
// A session from its start to its end: the touches, the way to the next target, completion and cancel.
#include "calibration/KVRCalibrationCenter.h"

#include <algorithm>
#include <utility>

#include "calibration/KVRCalibrationTarget.h"
#include "calibration/KVRCalibrationWindow.h"
#include "calibration/ViewAnimation.h"
#include "device/EventGeneratorNX7.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

// 0.8 of single precision, to the microsecond.
constexpr Microseconds kMoveDuration =
    std::chrono::duration_cast<Microseconds>(std::chrono::duration<double>(static_cast<double>(0.8F)));
// The first target stands at the same place in every grid.
constexpr TargetGrid kAnyGrid{2, 2};

constexpr const char* kEndWhenUntouched = "endWhenUntouched";

constexpr SystemUIOptions kSessionOptions =
    kUIOptionDisableSystemMenu | kUIOptionDisableProcessSwitch | kUIOptionDisableHide;

SystemUI& systemUI() {
    return Platform::current().systemUI;
}

EventGeneratorNX7& driver() {
    return *EventGeneratorNX7::sharedEventGeneratorNX7();
}

void showCursor() {
    systemUI().CGDisplayShowCursor(systemUI().CGMainDisplayID());
}

} // namespace

// Start

void KVRCalibrationCenter::startCalibration() {
    beginSession(Kind::manual);
}

void KVRCalibrationCenter::startAutoCalibration() {
    beginSession(Kind::automatic);
}

void KVRCalibrationCenter::beginSession(Kind kind) {
    const bool automatic = kind == Kind::automatic;
    if (automatic)
        systemUI().CGDisplayHideCursor(systemUI().CGMainDisplayID());
    takeOverSystemUI();
    // Late calls for an earlier session still hold its points, so they change nothing here.
    stopAnimation();
    _canProcessLightPenSignal = false;
    _calibrationScreen = calibrationScreen();
    session_ = std::make_shared<CollectedPoints>(_totalPoints);
    makeWindow();
    _calibrationWindow->setBackgroundColor(automatic ? kBlackColor : kWhiteColor);
    _calibrationWindow->setWayOut(automatic ? std::nullopt : std::optional(cancelLabel_));
    _calibrationWindow->setTouchHint(automatic ? std::string() : touchHint_);
    _calibrationStep = 0;
    placeFirstTarget();
    _canProcessLightPenSignal = true;
    driver().setDelegate(shared_from_this());
    if (automatic) {
        driver().removeIRFilter();
        systemUI().activateIgnoringOtherApps();
    }
    _calibrationWindow->makeKeyAndOrderFront();
    if (automatic)
        autoCalibration = true;
    lastTouch_ = Platform::current().clock.now();
    endWhenUntouched(session_, kPatience);
    if (sessionChanged_)
        sessionChanged_();
}

// A session that replaces another one keeps the mode that the user had before the first.
void KVRCalibrationCenter::takeOverSystemUI() {
    if (!session_.load())
        systemUI().GetSystemUIMode(_oldMode, _oldOptions);
    systemUI().SetSystemUIMode(kUIModeAllHidden, kSessionOptions);
}

void KVRCalibrationCenter::makeWindow() {
    if (!_calibrationWindow) {
        _calibrationWindow = std::make_shared<KVRCalibrationWindow>();
        _calibrationWindow->setDelegate(
            [this](const Notification& notification) { windowWillClose(notification); });
        _calibrationWindow->onResize = [this] { windowDidResize(); };
    }
    _calibrationWindow->setCalibrationScreen(calibrationScreen());
    if (_calibrationTarget)
        _calibrationTarget->addToSuperview(_calibrationWindow->contentView());
}

void KVRCalibrationCenter::placeFirstTarget() {
    if (_calibrationTarget)
        _calibrationTarget->setFrameOrigin(
            lightpen::targetOriginOfStep({kAnyGrid, sizeForTargets(), targetSize()}, 0));
}

// A desktop may give the window another size than it says the screen has. The targets stand where the window
// really is, so that its size decides, and it is remembered with the touches.
Size KVRCalibrationCenter::sizeForTargets() const {
    return session_.load() && _calibrationWindow ? _calibrationWindow->contentSize() : screenOfNow().size;
}

// Touches of targets in windows of different sizes do not go together.
void KVRCalibrationCenter::windowDidResize() {
    const SessionRef session = session_;
    if (!session)
        return;
    if (session->points()->empty())
        placeFirstTarget();
    else
        cancelSession("its window has changed its size");
}

void KVRCalibrationCenter::checkScreenOfSession() {
    if (!_calibrationScreen)
        return;
    const auto screens = Platform::current().desktop.screens();
    const auto found = std::ranges::find(screens, _calibrationScreen->name, &Screen::name);
    if (found == screens.end())
        cancelSession("its screen has left");
    else if (found->frame.size != _calibrationScreen->frame.size ||
             found->quarterTurns != _calibrationScreen->quarterTurns)
        cancelSession("its screen has changed");
}

WindowPoint KVRCalibrationCenter::originOfStep(std::int64_t step) const {
    return lightpen::targetOriginOfStep({{_rows, _columns}, sizeForTargets(), targetSize()}, step);
}

WindowPoint KVRCalibrationCenter::targetOriginOfStep(std::int64_t step) const {
    const WindowPoint origin = originOfStep(step);
    logLine("KVR n:515 targetOriginOfStep %s", NSStringFromPoint(origin).c_str());
    return origin;
}

// A touch and the next target

void KVRCalibrationCenter::lightPenCallbackAtPoint(CameraPoint point, EventGeneratorNX7&) {
    const SessionRef session = session_;
    if (!session || point.x == -1 || point.y == -1)
        return;
    lastTouch_ = Platform::current().clock.now();
    if (!_canProcessLightPenSignal)
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
        performForSession(session, "nextTarget", &KVRCalibrationCenter::nextTarget);
        logLine("KVR n:935 lightPenCallbackAtPoint:%s", point);
    }
}

void KVRCalibrationCenter::nextTarget() {
    const SessionRef session = session_;
    if (!session)
        return;
    ++_calibrationStep;
    logLine("KVR n:628 calibrationStep : %d", _calibrationStep);
    if (_calibrationStep >= _totalPoints)
        complete(*session);
    else if (!_calibrationWindow->shows({originOfStep(_calibrationStep), targetSize()}))
        cancelSession("its window does not show the whole screen");
    else if (autoCalibration)
        showTarget();
    else
        startAnimation();
}

void KVRCalibrationCenter::showTarget() {
    const WindowPoint origin = targetOriginOfStep(_calibrationStep);
    if (_calibrationTarget)
        _calibrationTarget->setFrameOrigin(origin);
    playBeep();
    _calibrationWindow->display();
}

// A glide that is replaced before its end must not let touches in on the way.
void KVRCalibrationCenter::startAnimation() {
    _canProcessLightPenSignal = false;
    stopAnimation();
    const WindowPoint origin = targetOriginOfStep(_calibrationStep);
    const auto target = _calibrationTarget;
    const WindowPoint start = target ? target->frame().origin : WindowPoint();
    const auto setFrameOrigin = [target](WindowPoint place) {
        if (target)
            target->setFrameOrigin(place);
    };
    // A session stops its glide when it ends, so no glide reports to a later session.
    const auto didEnd = [weak = weak_from_this()](const ViewAnimation& animation) {
        if (const auto center = weak.lock())
            center->animationDidEnd(animation);
    };
    animation_ = std::make_shared<ViewAnimation>(ViewAnimation::Description{setFrameOrigin, start, origin},
                                                 kMoveDuration, didEnd);
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

void KVRCalibrationCenter::playBeep() const {
    if (_calibrationBeep)
        _calibrationBeep->play();
}

// End

void KVRCalibrationCenter::complete(const CollectedPoints& session) {
    const PointListRef points = session.points();
    _calibrationPoints = points;
    rememberCalibratedScreen(EventGeneratorNX7::unitSerialNumber(), *points,
                             {sizeForTargets(), _calibrationScreen ? _calibrationScreen->quarterTurns : 0});
    endSession();
    if (autoCalibration) {
        showCursor();
        driver().putIRFilter();
        autoCalibration = false;
    }
    closeWindow();
    _calibrationWindow.reset();
    systemUI().SetSystemUIMode(_oldMode, _oldOptions);
    createCalibrator();
    Platform::current().notifications.post(
        {std::string(kCalibrationCompleted), this, {{std::string(kCalibrationPoints), points}}});
}

void KVRCalibrationCenter::calibrationDidCancel(const Notification& notification) {
    logLine("KVR n:744 %s", describe(notification).c_str());
    endSession();
    Platform::current().runLoop.cancelPreviousPerformRequests(this, "timerFired", calibrationTimer);
    closeWindow();
    systemUI().SetSystemUIMode(_oldMode, _oldOptions);
    setCalibrationPoints(driver().calibrationPointsFromFlash());
    if (autoCalibration) {
        driver().putIRFilter();
        autoCalibration = false;
    }
}

void KVRCalibrationCenter::endSession() {
    session_ = nullptr;
    Platform::current().runLoop.cancelPreviousPerformRequests(this, kEndWhenUntouched, {});
    stopAnimation();
    if (sessionChanged_)
        sessionChanged_();
}

void KVRCalibrationCenter::closeWindow() {
    if (_calibrationWindow)
        _calibrationWindow->closeWindow();
}

void KVRCalibrationCenter::windowWillClose(const Notification&) {
    logLine("KVR n:737 close window, autoCalibration:%d", autoCalibration);
    if (autoCalibration)
        showCursor();
}

void KVRCalibrationCenter::cancelSession(const char* reason) {
    if (const SessionRef session = session_)
        performForSession(session, "cancelCalibration", [reason](KVRCalibrationCenter& self) {
            if (reason)
                logLine("Calibration: %s; it ends", reason);
            if (self._calibrationWindow)
                self._calibrationWindow->cancelCalibration();
        });
}

void KVRCalibrationCenter::programEnds() {
    if (autoCalibration)
        driver().putIRFilter();
}

// A touch only notes its time: it may come on another thread, and many do.
void KVRCalibrationCenter::endWhenUntouched(const SessionRef& session, Microseconds wait) {
    auto look = forSession(session, [session](KVRCalibrationCenter& self) {
        const Microseconds left = self.lastTouch_.load() + kPatience - Platform::current().clock.now();
        if (left > Microseconds::zero())
            return self.endWhenUntouched(session, left);
        self.cancelSession("nobody has touched the screen for three minutes");
    });
    Platform::current().runLoop.performAfterDelay({this, kEndWhenUntouched, {}, std::move(look)}, wait);
}

// Nothing happens once the session, or the centre, is gone.
std::function<void()> KVRCalibrationCenter::forSession(const SessionRef& session,
                                                       std::function<void(KVRCalibrationCenter&)> operation) {
    return [weak = weak_from_this(), session, operation = std::move(operation)] {
        const auto center = weak.lock();
        if (center && center->session_.load() == session)
            operation(*center);
    };
}

void KVRCalibrationCenter::performForSession(const SessionRef& session, const char* selector,
                                             std::function<void(KVRCalibrationCenter&)> operation) {
    Platform::current().runLoop.performOnMainThread(
        {this, selector, {}, forSession(session, std::move(operation))});
}

} // namespace lightpen
