// SPDX-License-Identifier: MIT
// What the user is told without asking: the condition of the pen, and notices.
#include "app/LightPenNX7Controller.h"

#include <algorithm>

#include <QClipboard>
#include <QGuiApplication>
#include <QStringList>

#include "app/DefaultsReading.h"
#include "app/StatusItem.h"
#include "calibration/CalibratedScreen.h"
#include "calibration/CalibrationQuality.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

using State = PenCondition::State;

constexpr std::size_t kCorners = 4;
// How long a panel may take to come, and a permission behind a node or a login.
constexpr Microseconds kPanelPatience = std::chrono::seconds(10);
constexpr Microseconds kPermissionPatience = std::chrono::seconds(3);
// The units that were in use here, the latest first, each by its serial number.
constexpr std::string_view kKnownUnitsKey = "Known Units";
constexpr qsizetype kMostKnownUnits = 16;

bool isGood(const PointList& points) {
    return points.size() != kCorners || leastCornerShare(points) >= kLeastGoodShare;
}

// A unit may call itself anything, or nothing.
QString wordFor(const std::string& serialNumber) {
    QString word;
    for (const char letter : serialNumber)
        if (letter > ' ' && letter < 0x7F)
            word += QLatin1Char(letter);
    return word.isEmpty() ? QStringLiteral("-") : word;
}

// Whether the unit in use is here for the first time. It is known from now on, beyond the program's end:
// nobody wants to be told at each plug before each lesson.
bool isNewUnit() {
    UserDefaults& defaults = Platform::current().defaults;
    const QString unit = wordFor(EventGeneratorNX7::unitSerialNumber());
    QStringList known = QString::fromStdString(textForKey(defaults, kKnownUnitsKey))
                            .split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (known.contains(unit))
        return false;
    known.prepend(unit);
    defaults.setObject(kKnownUnitsKey, known.mid(0, kMostKnownUnits).join(QLatin1Char(' ')).toStdString());
    return true;
}

// Whether the present screen has the shape of the one on which these points were touched, as far as anybody
// remembers.
bool fits(const PointListRef& points, const std::optional<Screen>& screen) {
    if (!points || !screen)
        return true;
    const auto made = calibratedScreen(EventGeneratorNX7::unitSerialNumber(), *points);
    return !made || haveOneShape(*made, {screen->frame.size, screen->quarterTurns});
}

} // namespace

// The condition

void LightPenNX7Controller::followCondition() {
    NotificationCenter& notifications = Platform::current().notifications;
    notifications.addObserver(this, kPenConditionDidChange, &condition_,
                              [this](const Notification&) { conditionDidChange(); });
    notifications.addObserver(this, kUnitAccessDidChange, nullptr,
                              [this](const Notification&) { updateCondition(); });
    notifications.addObserver(this, kProgramCameraDidChange, nullptr, [this](const Notification&) {
        if (controllerState.menuMode.load() == MenuMode{0})
            return;
        showToolTip();
        offerToCancel();
    });
}

// Before the first menu there are no texts to tell it with.
void LightPenNX7Controller::updateCondition() {
    if (controllerState.menuMode.load() == MenuMode{0})
        return;
    const UnitAccess& access = Platform::current().shell.unitAccess;
    PenCondition::Facts facts = condition_.facts();
    facts.hasTheSeat = access.hasTheSeat;
    facts.permissionCommand = access.permissionCommand;
    facts.unitInUse = deviceConnected_;
    facts.strayLight = EventGeneratorNX7::seesStrayLight();
    // A session takes the calibration out of force as long as it runs.
    if (!calibrationCenter_->inSession()) {
        facts.calibrated = !calibrationCenter_->calibrators()->empty();
        facts.calibrationFits =
            fits(calibrationCenter_->calibrationPoints(), calibrationCenter_->calibrationScreen());
    }
    condition_.set(std::move(facts));
}

// For a moment at which what is under way is not yet in force.
void LightPenNX7Controller::updateConditionLater() {
    Platform::current().runLoop.performOnMainThread({this, "updateCondition", {}, [self = weak_from_this()] {
                                                         if (const auto controller = self.lock())
                                                             controller->updateCondition();
                                                     }});
}

void LightPenNX7Controller::conditionDidChange() {
    showToolTip();
    const State state = condition_.state();
    if (state == State::noPermission)
        performLater("tellOfPermission", kPermissionPatience, &LightPenNX7Controller::tellOfPermission);
    else if (state == State::strayLight)
        tellOfStrayLight();
    else if (state == State::ready || state == State::notCalibrated || state == State::calibrationDoesNotFit)
        tellOfUnit();
}

// Notices

void LightPenNX7Controller::performLater(const char* selector, Microseconds delay,
                                         void (LightPenNX7Controller::*operation)()) {
    RunLoop& loop = Platform::current().runLoop;
    loop.cancelPreviousPerformRequests(this, selector, {});
    loop.performAfterDelay({this,
                            selector,
                            {},
                            [self = weak_from_this(), operation] {
                                if (const auto controller = self.lock())
                                    (*controller.*operation)();
                            }},
                           delay);
}

void LightPenNX7Controller::tellOnce(std::string_view titleKey, UserNotice notice) {
    if (!told_.insert(titleKey).second)
        return;
    notice.title = text(titleKey);
    Platform::current().shell.notices.show(std::move(notice));
}

UserNotice::Action LightPenNX7Controller::noticeAction(std::string_view labelKey, NoticeOperation operation) {
    return {text(labelKey), [self = weak_from_this(), operation = std::move(operation)] {
                if (const auto controller = self.lock())
                    operation(*controller);
            }};
}

// By then there may be no unit to calibrate any more.
UserNotice::Action LightPenNX7Controller::offerToCalibrate(std::string_view labelKey) {
    return noticeAction(labelKey, [](auto& self) {
        if (self.deviceConnected_)
            self.calibration("notice");
    });
}

void LightPenNX7Controller::tellOfUnit() {
    const State state = condition_.state();
    const bool isNew = isNewUnit();
    if (state == State::notCalibrated)
        tellOnce(PenCondition::textKey(state), {.text = text(PenCondition::adviceKey(state)),
                                                .actions = {offerToCalibrate(kCalibrationKey)}});
    else if (state == State::calibrationDoesNotFit)
        tellOnce(PenCondition::textKey(state), {.text = text(PenCondition::adviceKey(state)),
                                                .actions = {offerToCalibrate(kCalibrateAgainKey)}});
    else if (isNew)
        tellOnce(PenCondition::textKey(state),
                 {.text = text("The camera unit holds a calibration. If the pen misses its place, calibrate "
                               "again."),
                  .actions = {offerToCalibrate(kCalibrateAgainKey)},
                  .goesByItself = true});
}

// Under Wayland a program may only fill the clipboard while it has the keyboard; the window offers the
// command too.
void LightPenNX7Controller::tellOfPermission() {
    if (condition_.state() != State::noPermission)
        return;
    const std::string command = condition_.detail();
    tellOnce(PenCondition::textKey(State::noPermission),
             {.text = text(PenCondition::adviceKey(State::noPermission)) + '\n' + command,
              .actions = {noticeAction("Copy the command", [command](auto& self) {
                  QGuiApplication::clipboard()->setText(QString::fromStdString(command));
                  if (QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
                      self.showHome();
              })}});
}

void LightPenNX7Controller::tellOfStrayLight() {
    tellOnce(PenCondition::textKey(State::strayLight),
             {.text = text(PenCondition::adviceKey(State::strayLight)),
              .actions = {noticeAction("Camera picture", [](auto& self) {
                  if (self.condition_.state() == State::strayLight)
                      self.showPreviewWindow(true);
              })}});
}

void LightPenNX7Controller::watchForPanel() {
    performLater("tellOfNoPanel", kPanelPatience, &LightPenNX7Controller::tellOfNoPanel);
}

// A user who starts the program for the first time has seen nothing of it yet.
void LightPenNX7Controller::tellOfNoPanel() {
    if (statusItem_->isInPanel())
        return;
    if (Platform::current().systemUI.isScreenCovered() || calibrates())
        return watchForPanel();
    if (!isSet(kWindowShownKey))
        return showHome();
    UserNotice notice{.text =
                          text("The pen works without it. A second start of the program opens its window.")};
    notice.actions.push_back(noticeAction("Open the window", [](auto& self) { self.showHome(); }));
    tellOnce("No panel shows the menu of the pen", std::move(notice));
}

// A session takes any four touches. Three of them close to one line map most of the screen far from the pen.
void LightPenNX7Controller::tellOfCalibration(const PointListRef& points, const PointListRef& before,
                                              bool stored) {
    if (!points)
        return;
    // Another unit, or another calibration, is none of this notice's business.
    const auto action = [&](std::string_view label, const NoticeOperation& perform) {
        return noticeAction(label, [points, perform](auto& self) {
            if (self.deviceConnected_ && self.calibrationCenter_->calibrationPoints() == points)
                perform(self);
        });
    };
    UserNotice notice;
    const bool good = stored && isGood(*points);
    if (!good)
        notice.actions.push_back(action(kCalibrateAgainKey, [](auto& self) { self.calibration("notice"); }));
    if (before)
        notice.actions.push_back(
            action("Keep the one before", [before](auto& self) { self.restoreCalibration(before); }));
    if (good) {
        notice.text = text("The camera unit keeps it, also when it is unplugged.");
        notice.goesByItself = true;
        return tellOnce("The calibration is stored", std::move(notice));
    }
    notice.title = text(stored ? "The calibration may be wrong" : "The calibration was not stored");
    notice.text = text(
        stored ? "Three of the places that you touched are close to one line. The pen may miss its place."
               : "The camera unit did not take it. The pen works with it until the unit is unplugged.");
    Platform::current().shell.notices.show(std::move(notice));
}

void LightPenNX7Controller::restoreCalibration(const PointListRef& points) {
    logLine("Application: the calibration before is in force again");
    const bool stored = EventGeneratorNX7::sharedEventGeneratorNX7()->writeCalibrationToFlash(points);
    calibrationCenter_->setCalibrationPoints(points);
    updateCondition();
    if (stored)
        keepCalibrationBefore(nullptr);
    else
        tellOfCalibration(points, points, stored);
}

} // namespace lightpen
