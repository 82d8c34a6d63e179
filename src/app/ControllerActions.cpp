// SPDX-License-Identifier: MIT
// What the user chooses from the menu or in the windows, and a calibration's end.
#include "app/LightPenNX7Controller.h"

#include <any>

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "app/AboutPanel.h"
#include "app/DebugWindow.h"
#include "app/DefaultsReading.h"
#include "app/LanguageChoice.h"
#include "app/MenuItems.h"
#include "app/PreviewWindow.h"
#include "app/ResourceImages.h"
#include "app/home/CalibrationWillBegin.h"
#include "calibration/KVRCalibrationTarget.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr int kMenuTargets = 4;
// Lets the unit finish writing its flash before the next command.
constexpr Microseconds kFlashPause = std::chrono::milliseconds(500);
constexpr std::uint32_t kReadPairingTable = 'R';
constexpr std::string_view kTouchKey = "Touch each target with the pen. Escape ends the calibration.";

PointListRef pointsOf(const Notification& notification) {
    const auto found = notification.userInfo.find(kCalibrationPoints);
    const auto* points =
        found == notification.userInfo.end() ? nullptr : std::any_cast<PointListRef>(&found->second);
    return points ? *points : nullptr;
}

// The calibration of what a flash read yields, which has more behind it; null without one.
PointListRef firstFourOf(const PointListRef& points) {
    if (!points || points->size() < kMenuTargets)
        return nullptr;
    return std::make_shared<const PointList>(points->begin(), points->begin() + kMenuTargets);
}

} // namespace

void LightPenNX7Controller::calibration(const std::string& sender) {
    logLine("Light n:646 ");
    calibrate(isSet(kAutoCalibrationKey), sender);
}

bool LightPenNX7Controller::calibrates() {
    const auto* camera = cameraCalibration();
    return calibrationCenter_->inSession() || (camera && camera->underWay());
}

// What the camera measures first belongs to the session that follows, and none goes on meanwhile.
void LightPenNX7Controller::calibrate(bool automatic, const std::string& sender) {
    Platform::current().notifications.post({std::string(kCalibrationWillBegin)});
    const auto* camera = automatic ? cameraCalibration() : nullptr;
    if (!camera)
        return showTargets(automatic, sender);
    calibrationCenter_->cancelSession();
    camera->before([self = weak_from_this(), sender] {
        if (const auto controller = self.lock())
            controller->showTargets(true, sender);
    });
}

void LightPenNX7Controller::showTargets(bool automatic, const std::string& sender) {
    calibratesAutomatically_ = automatic;
    const QPixmap image = resourceImage(automatic ? "auto" : "calib");
    // A target without its picture stays the plain button that it was made as.
    if (const auto target = calibrationCenter_->calibrationTarget(); target && !image.isNull()) {
        const QSizeF size = image.deviceIndependentSize();
        target->setFrameSize({size.width(), size.height()});
        target->setImage(image);
        target->setBordered(false);
    }
    calibrationCenter_->setTotalPoints(kMenuTargets);
    calibrationCenter_->setCancelLabel(text(kCancelKey));
    calibrationCenter_->setTouchHint(text(kTouchKey));
    if (automatic)
        calibrationCenter_->startAutoCalibration();
    else
        calibrationCenter_->startCalibration();
    logLine("Light n:688 calibration : %s", sender.c_str());
}

void LightPenNX7Controller::calibrationDidComplete(const Notification& notification) {
    EventGeneratorNX7& driver = *EventGeneratorNX7::sharedEventGeneratorNX7();
    const PointListRef points = pointsOf(notification);
    const PointListRef before = firstFourOf(driver.calibrationPointsFromFlash());
    const bool stored = driver.writeCalibrationToFlash(points);
    calibrationCenter_->setCalibrationPoints(points);
    driver.setDelegate(nullptr);
    driver.setCalibrationCenter(calibrationCenter_);
    logLine("Light n:637 calibrationDidComplete:%s", describe(notification).c_str());
    updateCondition();
    tellOfCalibration(points, before, stored);
    keepCalibrationBefore(before);
    Platform::current().clock.sleep(kFlashPause);
    if (EventGeneratorNX7::wirelessPointsFromFlash() == 0)
        driver.Nx9commd(kReadPairingTable);
    if (const auto* camera = cameraCalibration(); camera && stored && calibratesAutomatically_)
        camera->after([this](std::string_view key) { return displayText(key); });
}

// The exposure is the unit's own; the marks only tell which distance it fits.
void LightPenNX7Controller::distance(const QAction& sender) {
    logLine("Light n:707 ");
    EventGeneratorNX7& driver = *EventGeneratorNX7::sharedEventGeneratorNX7();
    driver.updateTwoValueToDevice();
    Platform::current().defaults.setObject(kProjectionDistanceKey, std::int64_t{sender.data().toInt()});
    const std::int32_t exposure = driver.forcedExposure();
    markDistances(exposure);
    showValue(shownExposure_, QString::number(exposure));
    logLine("Light n:737 distance : %s", describe(sender).c_str());
}

void LightPenNX7Controller::markDistances(std::int32_t exposure) const {
    const QPointer<QAction> items[] = {distanceItem3, distanceItem2, distanceItem1};
    for (const auto& item : items) {
        if (!item)
            continue;
        const auto threshold = integerAt(thresholds, item->data().toInt());
        item->setChecked(threshold && *threshold == exposure);
    }
}

void LightPenNX7Controller::switchLanguage(const QAction& sender) {
    logLine("Light n:751 switchLanguage : %s", describe(sender).c_str());
    const std::string title = titleOf(sender);
    const std::string* key = firstKeyFor(stringDict, title);
    const std::string* identifier = key ? textFor(languageDict, *key) : nullptr;
    if (identifier)
        Platform::current().defaults.setObject(kLocaleIdentifierKey, *identifier);
    else
        logLine("Application: no language is called \"%s\"", title.c_str());
}

void LightPenNX7Controller::resetLanguageSetting() {
    logLine("Light n:111 ");
    Platform::current().defaults.removeObjectForKey(kLocaleIdentifierKey);
}

void LightPenNX7Controller::help() {
    const auto chosen = stored<std::string>(kLocaleIdentifierKey);
    logLine("Light n:118 [[NSUserDefaults standardUserDefaults] objectForKey:kLocaleIdentifierKey]: %s",
            chosen ? chosen->c_str() : "(null)");
    const std::string_view name = helpDocumentFor(chosen);
    ApplicationShell& shell = Platform::current().shell;
    if (const auto path = shell.bundle.pathForResource(name, "htm"))
        shell.workspace.openFile(*path);
    else
        logLine("Application: the help document %s.htm is missing", name);
}

void LightPenNX7Controller::about(const std::string& sender) {
    logLine("Light n:741 about : %s", sender.c_str());
    orderFrontStandardAboutPanel(
        {.copyright = versionText(EventGeneratorNX7::wirelessPointsFromFlash(), controllerState.boardVersion,
                                  controllerState.cmosVersion),
         .applicationName = "NX9 Driver",
         .applicationIcon = resourceIcon("Picture 1"),
         .button = displayText("OK").toStdString()});
}

void LightPenNX7Controller::exit(const std::string& sender) {
    logLine("Light n:746 exit : %s", sender.c_str());
    Platform::current().runLoop.terminate(EXIT_SUCCESS);
}

// The windows. They belong to this object and do not outlive it.

PreviewWindow& LightPenNX7Controller::madePreviewWindow() {
    if (window)
        return *window;
    window = std::make_unique<PreviewWindow>();
    imageView = window->imageView();
    previewMessage = window->previewMessage();
    previewExitButton = window->previewExitButton();
    previewDetectAgainButton = window->previewDetectAgainButton();
    window->onExit = [this] { invokePreview("previewExitButton"); };
    window->onDetectAgain = [this] { previewTimerFired("previewDetectAgainButton"); };
    titlePreviewWindow();
    return *window;
}

DebugWindow& LightPenNX7Controller::madeDebugWindow() {
    if (debugWindow)
        return *debugWindow;
    debugWindow = std::make_unique<DebugWindow>();
    thresholdsTextField = debugWindow->thresholdsTextField();
    faeTextField = debugWindow->faeTextField();
    debugWindow->onButton = [this] { debugWindowButton("debugWindow"); };
    thresholdsTextField->setText(shownThreshold_);
    faeTextField->setText(shownExposure_);
    titleDebugWindow();
    return *debugWindow;
}

void LightPenNX7Controller::titlePreviewWindow() {
    if (!window)
        return;
    previewMessage->setText(displayText(PenCondition::kStrayLightMessage));
    previewExitButton->setText(displayText("Exit"));
    previewDetectAgainButton->setText(displayText("Detect again!"));
    window->setWindowTitle(displayText("Camera picture"));
    imageView->setWaitingText(displayText("No picture yet"));
}

void LightPenNX7Controller::titleDebugWindow() {
    if (debugWindow)
        debugWindow->setTexts(displayText("Debug"), displayText("Threshold"), displayText("Forced Exposure"),
                              displayText("Send to the unit"));
}

void LightPenNX7Controller::showValue(QString& kept, const QString& value) {
    kept = value;
    if (debugWindow)
        (&kept == &shownThreshold_ ? thresholdsTextField : faeTextField)->setText(value);
}

void LightPenNX7Controller::showPreviewWindow(bool show) {
    logLine("Light n:389 ");
    if (show) {
        madePreviewWindow().makeKeyAndOrderFront();
    } else {
        if (window)
            window->orderOut();
        EventGeneratorNX7::sharedEventGeneratorNX7()->startPointQueue();
    }
}

void LightPenNX7Controller::invokePreview(const std::string&) {
    showPreviewWindow(!window || !window->isVisible());
}

void LightPenNX7Controller::previewTimerFired(const std::string&) {
    logLine("Light n:386 fired");
    const PreviewImageRef image = EventGeneratorNX7::sharedEventGeneratorNX7()->previewImage();
    if (window)
        imageView->setImage(image);
}

void LightPenNX7Controller::showDebugWindow(const EventGeneratorNX7& driver, bool present) {
    madeDebugWindow().show();
    debugWindow->raise();
    if (!present)
        return;
    showValue(shownThreshold_, QString::number(driver.threshold()));
    showValue(shownExposure_, QString::number(driver.forcedExposure()));
}

void LightPenNX7Controller::debugWindowButton(const std::string&) {
    logLine("Light n:847 ");
    EventGeneratorNX7::sharedEventGeneratorNX7()->updateTwoValueToDevice();
}

} // namespace lightpen
