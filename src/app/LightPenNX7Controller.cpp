// SPDX-License-Identifier: MIT
// The controller's making, and what the driver tells it.
#include "app/LightPenNX7Controller.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "app/DebugWindow.h"
#include "app/PreviewWindow.h"
#include "app/ResourceImages.h"
#include "app/StatusItem.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr const char* kNoValue = "-1";

} // namespace

LightPenNX7Controller::LightPenNX7Controller()
    : window(std::make_unique<PreviewWindow>()), imageView(window->imageView()),
      previewMessage(window->previewMessage()), previewExitButton(window->previewExitButton()),
      previewDetectAgainButton(window->previewDetectAgainButton()),
      debugWindow(std::make_unique<DebugWindow>()), thresholdsTextField(debugWindow->thresholdsTextField()),
      faeTextField(debugWindow->faeTextField()) {
    thresholdsTextField->setText(kNoValue);
    faeTextField->setText(kNoValue);
    wireWindows();
}

LightPenNX7Controller::~LightPenNX7Controller() {
    logLine("Light n:380 ");
    if (calibrationCenter_)
        Platform::current().notifications.removeObserver(this);
}

void LightPenNX7Controller::readDeviceInformation(const EventGeneratorNX7& driver) {
    controllerState.cmosVersion = driver.cmosVerFromFlash();
    controllerState.boardVersion = driver.venerPointsFromFlash();
}

void LightPenNX7Controller::statMenu(EventGeneratorNX7& driver) {
    readDeviceInformation(driver);
    logLine("Light n:140 veners: %x", static_cast<unsigned>(controllerState.boardVersion.load()));
    logLine("Light n:143 wireless: %d", EventGeneratorNX7::wirelessPointsFromFlash());
    controllerState.menuMode = MenuMode::full;
    rebuildMenu(MenuMode::full);
}

void LightPenNX7Controller::deviceDidAddCallback(EventGeneratorNX7& driver) {
    logLine("Light n:794 ");
    deviceConnected_ = true;
    showStatusImage("connect");
    calibrationCenter_->cancelSession();
    calibrationCenter_->setCalibrationPoints(driver.calibrationPointsFromFlash());
    driver.setCalibrationCenter(calibrationCenter_);
    thresholdsTextField->setText(QString::number(driver.threshold()));
    const std::int32_t exposure = driver.forcedExposure();
    logLine("Light n:799 value deviceDidAddCallback: %d", exposure);
    faeTextField->setText(QString::number(exposure));
    markDistances(exposure);
}

void LightPenNX7Controller::deviceDidRemoveCallback(EventGeneratorNX7&) {
    logLine("Light n:883 ");
    deviceConnected_ = false;
    controllerState.menuMode = MenuMode::exitOnly;
    calibrationCenter_->cancelSession();
    if (std::this_thread::get_id() == mainThread_) {
        showDeviceRemoved();
    } else {
        Platform::current().runLoop.performOnMainThread(
            {this, "showDeviceRemoved", {}, [self = weak_from_this()] {
                 // A unit that has arrived meanwhile stays shown.
                 const auto controller = self.lock();
                 if (controller && !controller->deviceConnected())
                     controller->showDeviceRemoved();
             }});
    }
    logLine("Light n:774 ");
}

void LightPenNX7Controller::showDeviceRemoved() {
    showStatusImage("disconn");
    thresholdsTextField->setText(kNoValue);
    faeTextField->setText(kNoValue);
    rebuildMenu(MenuMode::exitOnly);
}

void LightPenNX7Controller::showStatusImage(std::string_view name) {
    statusItem->setImage(resourceIcon(name));
    showToolTip();
}

void LightPenNX7Controller::showToolTip() {
    statusItem->setToolTip(displayText(deviceConnected_ ? "The camera unit is connected" : "No camera unit"));
}

// A desktop may have refused the keyboard to the key window when it was made; now the user turns to this
// program.
void LightPenNX7Controller::menuOpened() {
    if (const auto menu = statusItem->menu())
        validateItems(*menu);
    EventGeneratorNX7::askForPairingKeys();
}

void LightPenNX7Controller::noiseDetectedCallback(EventGeneratorNX7&) {
    logLine("Light n:784 noiseDetectedCallback");
    showPreviewWindow(true);
}

} // namespace lightpen
