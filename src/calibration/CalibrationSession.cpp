// SPDX-License-Identifier: MIT
// A session from its start to its end.
#include "calibration/KVRCalibrationCenter.h"

#include "calibration/CalibrationSteps.h"
#include "calibration/KVRCalibrationTarget.h"
#include "calibration/KVRCalibrationWindow.h"
#include "calibration/ViewAnimation.h"
#include "device/EventGeneratorNX7.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

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
    // What still comes for an earlier session finds its own points, and changes nothing here.
    stopAnimation();
    _canProcessLightPenSignal = false;
    _calibrationPoints = std::make_shared<const PointList>();
    session_ = std::make_shared<CollectedPoints>(_totalPoints);
    makeWindow();
    _calibrationWindow->setBackgroundColor(automatic ? kBlackColor : kWhiteColor);
    if (_calibrationTarget)
        _calibrationTarget->setFrameOrigin(firstTargetOrigin(screenSize(), targetSize()));
    _calibrationStep = 0;
    _canProcessLightPenSignal = true;
    driver().setDelegate(shared_from_this());
    if (automatic) {
        driver().removeIRFilter();
        systemUI().activateIgnoringOtherApps();
    }
    _calibrationWindow->makeKeyAndOrderFront();
    if (automatic)
        autoCalibration = true;
}

// A session that another one follows without an end has kept what the user had; it is not lost.
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
    }
    _calibrationWindow->setCalibrationScreen(calibrationScreen());
    if (_calibrationTarget)
        _calibrationTarget->addToSuperview(_calibrationWindow->contentView());
}

Size KVRCalibrationCenter::screenSize() const {
    const auto screen = calibrationScreen();
    return screen ? screen->frame.size : Size();
}

StepLayout KVRCalibrationCenter::stepLayout() const {
    return {{_rows, _columns}, screenSize(), targetSize()};
}

WindowPoint KVRCalibrationCenter::targetOriginOfStep(std::int64_t step) const {
    const WindowPoint origin = lightpen::targetOriginOfStep(stepLayout(), step);
    logLine("KVR n:515 targetOriginOfStep %s", NSStringFromPoint(origin).c_str());
    return origin;
}

// Steps

void KVRCalibrationCenter::nextTarget() {
    const SessionRef session = session_;
    if (!session)
        return;
    ++_calibrationStep;
    logLine("KVR n:628 calibrationStep : %d", _calibrationStep);
    if (_calibrationStep >= _totalPoints)
        complete(*session);
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

void KVRCalibrationCenter::playBeep() const {
    if (_calibrationBeep)
        _calibrationBeep->play();
}

void KVRCalibrationCenter::timerFired(const std::string& timer) {
    logLine("KVR n:416 timerFired : %s", timer.c_str());
    nextTarget();
}

// End

void KVRCalibrationCenter::complete(const CollectedPoints& session) {
    const PointListRef points = session.points();
    _calibrationPoints = points;
    endSession();
    if (autoCalibration) {
        showCursor();
        driver().putIRFilter();
        autoCalibration = false;
    }
    closeWindow();
    _calibrationWindow.reset();
    restoreSystemUI();
    createCalibrator();
    Platform::current().notifications.post(
        {std::string(kCalibrationCompleted), this, {{std::string(kCalibrationPoints), points}}});
}

void KVRCalibrationCenter::calibrationDidCancel(const Notification& notification) {
    logLine("KVR n:744 %s", describe(notification).c_str());
    endSession();
    Platform::current().runLoop.cancelPreviousPerformRequests(this, "timerFired", calibrationTimer);
    closeWindow();
    restoreSystemUI();
    setCalibrationPoints(driver().calibrationPointsFromFlash());
    if (autoCalibration) {
        driver().putIRFilter();
        autoCalibration = false;
    }
}

void KVRCalibrationCenter::endSession() {
    session_ = nullptr;
    stopAnimation();
}

void KVRCalibrationCenter::closeWindow() {
    if (_calibrationWindow)
        _calibrationWindow->closeWindow();
}

void KVRCalibrationCenter::restoreSystemUI() {
    systemUI().SetSystemUIMode(_oldMode, _oldOptions);
}

void KVRCalibrationCenter::windowWillClose(const Notification&) {
    logLine("KVR n:737 close window, autoCalibration:%d", autoCalibration);
    if (autoCalibration)
        showCursor();
}

void KVRCalibrationCenter::cancelSession() {
    if (const SessionRef session = session_)
        performForSession(session, "cancelCalibration", &KVRCalibrationCenter::cancelByWindow);
}

void KVRCalibrationCenter::cancelByWindow() {
    if (_calibrationWindow)
        _calibrationWindow->cancelCalibration();
}

// Dies with the session, and with the centre.
void KVRCalibrationCenter::performForSession(const SessionRef& session, const char* selector,
                                             void (KVRCalibrationCenter::*operation)()) {
    auto perform = [weak = weak_from_this(), session, operation] {
        const auto center = weak.lock();
        if (center && center->session_.load() == session)
            ((*center).*operation)();
    };
    Platform::current().runLoop.performOnMainThread({this, selector, {}, std::move(perform)});
}

} // namespace lightpen
