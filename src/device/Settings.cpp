// SPDX-License-Identifier: MIT
// The camera settings as properties; nothing here is sent.
#include "device/EventGeneratorNX7.h"

#include "platform/Log.h"

namespace lightpen {

void EventGeneratorNX7::setImageProcessMode(bool value) {
    _imageProcessMode = value;
}

void EventGeneratorNX7::setImageShrinkTrigger(bool value) {
    _imageShrinkTrigger = value;
}

void EventGeneratorNX7::setAE(bool value) {
    _AE = value;
}

void EventGeneratorNX7::setIRFilterGrounded(bool value) {
    _IRFilterGrounded = value;
}

void EventGeneratorNX7::setMaskCalibration(bool value) {
    _maskCalibration = value;
}

void EventGeneratorNX7::setMask(bool value) {
    _mask = value;
}

void EventGeneratorNX7::setBrightness(bool value) {
    _brightness = value;
}

void EventGeneratorNX7::setVGAout(bool value) {
    _VGAout = value;
}

void EventGeneratorNX7::setForcedExposure(std::int32_t value) {
    if (_forcedExposure == value)
        return;
    _forcedExposure = value;
    logLine("Event n:1291 set forcedExposure: %d", value);
}

void EventGeneratorNX7::setThreshold(std::int32_t value) {
    if (_threshold == value)
        return;
    _threshold = value;
    logLine("Event n:758 set threshold: %d", value);
}

void EventGeneratorNX7::setToDefault() {
    _deviceMode = 1;
    setImageProcessMode(false);
    setImageShrinkTrigger(false);
    setIRFilterGrounded(true);
    setMaskCalibration(false);
    setMask(false);
    setBrightness(true);
    setVGAout(true);
    setAE(false);
}

void EventGeneratorNX7::setOutputReportBuffer(ReportBufferRef buffer) {
    const std::lock_guard hold(_outputBytes);
    _outputReportBuffer = std::move(buffer);
}

void EventGeneratorNX7::setInputReportBuffer(ReportBufferRef buffer) {
    _inputReportBuffer = std::move(buffer);
}

} // namespace lightpen
