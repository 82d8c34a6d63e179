// SPDX-License-Identifier: MIT
#include "webcam/CameraCalibration.h"

#include <string_view>
#include <utility>

#include "app/home/CalibrationWillBegin.h"
#include "calibration/KVRCalibrationWindow.h"
#include "platform/Log.h"
#include "webcam/CalibrationScreen.h"

namespace lightpen::webcam {

namespace {

constexpr const char* kLook = "lookAtCamera";
// More often than any camera sends pictures.
constexpr Microseconds kLookAgain{10'000};
constexpr SystemUIOptions kDarkOptions =
    kUIOptionDisableSystemMenu | kUIOptionDisableProcessSwitch | kUIOptionDisableHide;
constexpr std::string_view kTouchKey = "If a film belongs on the lens, put it on. Then touch the middle of "
                                       "the cross with the pen. %1 leaves the "
                                       "calibration as it is.";

// The lens' number that the dots tell; the one before where they tell none that is better.
double lensOf(const DotPass& pass, double before) {
    if (pass.state() == DotPass::State::blind) {
        logLine("Camera: it does not see the dots for its lens; the lens' number stays %.4f", before);
        return before;
    }
    const auto dots = pass.dots();
    const LensEstimate estimate = estimateLens(dots, pass.width(), pass.height(), before);
    if (!estimate.known) {
        logLine("Camera: %zu dots tell no better number of its lens, which stays %.4f", dots.size(), before);
        return before;
    }
    const double k = estimate.lens.k();
    logLine("Camera: the number of its lens is %.4f; %zu dots fit to %.2f pixels", k, dots.size(),
            estimate.error);
    return k;
}

} // namespace

CameraCalibration::CameraCalibration(Platform& platform, std::function<WebcamUnit*()> unit,
                                     std::function<void(WebcamUnit&)> keep)
    : platform_(platform), unitThatLooks_(std::move(unit)), keep_(std::move(keep)) {
    NotificationCenter& notifications = platform_.notifications;
    notifications.addObserver(this, kCalibrationWillBegin, nullptr, [this](const Notification&) { end(); });
    notifications.addObserver(this, kScreenWasCovered, nullptr,
                              [this](const Notification&) { endSince("the screen was covered"); });
    notifications.addObserver(this, kScreensDidChange, nullptr, [this](const Notification&) {
        if (frameOfScreen() != frame_)
            endSince("its screen has changed");
    });
    for (const std::string_view over : {kCalibrationWillBegin, kCalibrationDidCanceled})
        notifications.addObserver(this, over, nullptr, [this](const Notification&) { giveUpTrial(); });
}

CameraCalibration::~CameraCalibration() {
    platform_.notifications.removeObserver(this);
    end();
}

CalibrationScreen& CameraCalibration::screen() {
    if (!screen_) {
        screen_ = std::make_unique<CalibrationScreen>();
        screen_->onEnd = [this] { end(); };
        screen_->onOtherSize = [this] { endSince("its window has changed its size"); };
    }
    return *screen_;
}

ScreenRect CameraCalibration::frameOfScreen() const {
    const auto screen = platform_.desktop.mainScreen();
    return screen ? screen->frame : ScreenRect();
}

void CameraCalibration::begin(What what) {
    const bool was = underWay();
    what_ = what;
    frame_ = frameOfScreen();
    since_ = platform_.clock.now();
    if (was != underWay())
        platform_.notifications.post({std::string(kProgramCameraDidChange)});
}

void CameraCalibration::lookLater() {
    platform_.runLoop.performAfterDelay({this, kLook, {}, [this] { look(); }}, kLookAgain);
}

void CameraCalibration::look() {
    if (unitThatLooks_() != unit_)
        return endSince("its unit is gone");
    switch (what_) {
    case What::nothing:
        return;
    case What::desktop:
        if (platform_.clock.now() - since_ >= kDesktopLook)
            coverDesktop();
        break;
    case What::dots:
        lookAtDots();
        break;
    case What::touch:
        lookAtTouch();
        break;
    }
    if (underWay())
        lookLater();
}

// What the user has not done is told.
void CameraCalibration::endSince(const char* reason) {
    if (underWay())
        logLine("Camera: %s; what it measures around a calibration ends", reason);
    end();
}

void CameraCalibration::end() {
    if (!underWay())
        return;
    const bool measured = what_ != What::touch;
    platform_.runLoop.cancelPreviousPerformRequests(this, kLook, {});
    closeScreen();
    goOn_ = nullptr;
    pass_.reset();
    if (measured) {
        unit_->eye().watch(false);
        giveUpTrial();
    }
    begin(What::nothing);
}

void CameraCalibration::closeScreen() {
    if (!screen_ || screen_->isHidden())
        return;
    if (what_ == What::dots)
        platform_.systemUI.SetSystemUIMode(modeBefore_, optionsBefore_);
    screen_->hide();
}

void CameraCalibration::giveUpTrial() {
    if (unit_)
        unit_->giveUpTrial();
}

// The lens

void CameraCalibration::measureLens(std::function<void()> goOn) {
    end();
    unit_ = unitThatLooks_();
    if (!unit_ || platform_.systemUI.isScreenCovered())
        return goOn();
    goOn_ = std::move(goOn);
    unit_->tryCorrection({.lens = unit_->memory().correction.lens});
    unit_->eye().watch(true);
    seenPicture_ = 0;
    begin(What::desktop);
    lookLater();
}

void CameraCalibration::coverDesktop() {
    platform_.systemUI.GetSystemUIMode(modeBefore_, optionsBefore_);
    platform_.systemUI.SetSystemUIMode(kUIModeAllHidden, kDarkOptions);
    platform_.systemUI.activateIgnoringOtherApps();
    begin(What::dots);
    screen().showDark();
}

void CameraCalibration::lookAtDots() {
    const Microseconds now = platform_.clock.now();
    // A window comes to its size after it is shown.
    const Size size{double(screen_->width()), double(screen_->height())};
    if (!pass_ || (!pass_->shown() && pass_->window() != size))
        pass_.emplace(size, screen_->dotWidth(), now);
    const auto watched = unit_->eye().watched();
    if (watched && std::exchange(seenPicture_, watched->number) != watched->number)
        pass_->see(watched->lights, now);
    else
        pass_->wait(now);
    if (pass_->state() == DotPass::State::goesOn)
        return screen_->showDot(pass_->shown());
    measured();
}

void CameraCalibration::measured() {
    unit_->tryCorrection({.lens = lensOf(*pass_, unit_->memory().correction.lens)});
    closeScreen();
    pass_.reset();
    begin(What::nothing);
    // The targets are looked for without a look at the desktop between: the room's lamps stay known.
    WebcamUnit& unit = *unit_;
    std::exchange(goOn_, nullptr)();
    unit.eye().watch(false);
}

// The lamp

void CameraCalibration::askForTouch(const HomeTexts& text) {
    end();
    unit_ = unitThatLooks_();
    if (unit_ && unit_->keepTrial())
        keep_(*unit_);
    if (!unit_ || platform_.systemUI.isScreenCovered())
        return;
    touch_ = {};
    begin(What::touch);
    screen().showCross(text(kTouchKey));
    platform_.systemUI.activateIgnoringOtherApps();
    lookLater();
}

void CameraCalibration::lookAtTouch() {
    const Microseconds now = platform_.clock.now();
    // The words on the screen ask for the film, behind which a pen may be dimmer than the screen was before
    // it.
    unit_->eye().forgetShown();
    if (const auto pen = touch_.look(unit_->eye().look(now).pen))
        return take(*pen);
    if (now - since_ >= kTouchPatience)
        end();
}

void CameraCalibration::take(CameraPoint pen) {
    const CameraPoint before = unit_->eye().correction().lamp;
    const auto points = unit_->flash()->points();
    const LampFinding found =
        points ? findLamp({pen.x + before.x, pen.y + before.y}, *points) : LampFinding();
    switch (found.kind) {
    case LampFinding::Kind::implausible:
        logLine("Camera: the cross was not touched, or the camera was moved; nothing is corrected");
        return; // the next touch may be one of the cross
    case LampFinding::Kind::none:
        logLine("Camera: the pen's light is where it touches");
        break;
    case LampFinding::Kind::shifted:
        logLine("Camera: the pen's light is %.1f units right of its tip and %.1f below; that is undone",
                found.shift.x, found.shift.y);
        unit_->correctLamp(found.shift);
        keep_(*unit_);
        break;
    }
    end();
}

} // namespace lightpen::webcam
