// SPDX-License-Identifier: MIT
// The preview window and the debug window.
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "app/DebugWindow.h"
#include "app/LightPenNX7Controller.h"
#include "app/PreviewWindow.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

constexpr std::string_view kStrayLightMessage =
    "Strong lighting in the environment may cause light pen to stop functioning normally or sliding door "
    "doesn't close properly. Please open the sliding door, then confirm the detection range.";

} // namespace

// The windows belong to this object and do not outlive it.
void LightPenNX7Controller::wireWindows() {
    window->onExit = [this] { invokePreview("previewExitButton"); };
    window->onDetectAgain = [this] { previewTimerFired("previewDetectAgainButton"); };
    debugWindow->onButton = [this] { debugWindowButton("debugWindow"); };
}

void LightPenNX7Controller::constructPreviewWindow() {
    const std::string* message = displayString(kStrayLightMessage);
    logLine("Light n:310 %s", message ? message->c_str() : "(null)");
    previewMessage->setText(displayText(kStrayLightMessage));
    previewExitButton->setText(displayText("Exit"));
    previewDetectAgainButton->setText(displayText("Detect again!"));
    window->setWindowTitle(displayText("Camera picture"));
    debugWindow->setTexts(displayText("Debug"), displayText("Threshold"), displayText("Forced Exposure"),
                          displayText("Send to the unit"));
}

void LightPenNX7Controller::showPreviewWindow(bool show) {
    logLine("Light n:389 ");
    if (show) {
        window->makeKeyAndOrderFront();
    } else {
        window->orderOut();
        EventGeneratorNX7::sharedEventGeneratorNX7()->startPointQueue();
    }
}

void LightPenNX7Controller::invokePreview(const std::string&) {
    showPreviewWindow(!window->isVisible());
}

void LightPenNX7Controller::previewTimerFired(const std::string&) {
    logLine("Light n:386 fired");
    imageView->setImage(EventGeneratorNX7::sharedEventGeneratorNX7()->previewImage());
}

void LightPenNX7Controller::showDebugWindow(const EventGeneratorNX7& driver, bool present) {
    debugWindow->show();
    debugWindow->raise();
    if (!present)
        return;
    thresholdsTextField->setText(QString::number(driver.threshold()));
    faeTextField->setText(QString::number(driver.forcedExposure()));
}

void LightPenNX7Controller::debugWindowButton(const std::string&) {
    logLine("Light n:847 ");
    EventGeneratorNX7::sharedEventGeneratorNX7()->updateTwoValueToDevice();
}

} // namespace lightpen
