// SPDX-License-Identifier: MIT
// The camera settings, and commands to the unit: building and sending them.
#include "device/EventGeneratorNX7.h"

#include <algorithm>

#include "device/SharedState.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr std::uint32_t kCommandTimeoutMs = 100;

} // namespace

// Settings: nothing here is sent

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

// Commands

ReportBuffer EventGeneratorNX7::commandFromCurrentSetting() const {
    ReportBuffer command = sharedState.emptyCommand();
    writeSettingsCommand(command, {.imageProcessMode = imageProcessMode(),
                                   .imageShrinkTrigger = imageShrinkTrigger(),
                                   .IRFilterGrounded = IRFilterGrounded(),
                                   .maskCalibration = maskCalibration(),
                                   .mask = mask(),
                                   .brightness = brightness(),
                                   .unitJustAdded = _deviceMode == 0,
                                   .threshold = threshold(),
                                   .forcedExposure = forcedExposure()});
    return command;
}

void EventGeneratorNX7::printCommand(const std::uint8_t* command) const {
    logLine("Event n:1325 Command \nbyte 0:%x, \nbyte1:%x \nbyte2:%x, \nbyte3:%x, \nbyte4:%x, \nbyte5: %x, "
            "\nbyte6:%x",
            command[0], command[1], command[2], command[3], command[4], command[5], command[6]);
}

// Replaces the front of the output buffer; what lies behind it stays. Without a buffer there is nothing to
// replace, and later nothing to send.
void EventGeneratorNX7::putIntoOutputBuffer(const ReportBuffer& command) {
    const std::lock_guard hold(_outputBytes);
    if (!_outputReportBuffer)
        return;
    const auto length = static_cast<std::size_t>(std::max(sharedState.reportCopyLength.load(), 0));
    ReportBuffer& output = *_outputReportBuffer;
    output.resize(std::max(output.size(), length));
    std::copy_n(command.begin(), std::min(length, command.size()), output.begin());
}

// The front of the output buffer that setReport sends; no value when the buffer is missing or empty.
std::optional<ReportBuffer> EventGeneratorNX7::outputReport() {
    const std::lock_guard hold(_outputBytes);
    if (!_outputReportBuffer || _outputReportBuffer->empty())
        return std::nullopt;
    const std::size_t size = std::min<std::size_t>(sharedState.reportSize, _outputReportBuffer->size());
    return ReportBuffer(_outputReportBuffer->begin(),
                        _outputReportBuffer->begin() + static_cast<std::ptrdiff_t>(size));
}

IOReturn EventGeneratorNX7::doCommandFromOutputBuffer() {
    const auto report = outputReport();
    if (!report) {
        logLine("Event n:1385 doCommandFromOutputBuffer error. command size is ZERO.");
        return kIOReturnSuccess;
    }
    const auto device = _pphidDeviceInterface.load();
    return device ? device->setReport(IOHIDReportType::output, 0, *report, kCommandTimeoutMs)
                  : kIOReturnNoDevice;
}

IOReturn EventGeneratorNX7::doFlashCommandFromOutputBuffer() {
    const auto device = _pphidDeviceInterface.load();
    const auto report = outputReport();
    if (!device || !report) {
        // The text names the other routine, by design.
        logLine("Event n:1367 doCommandFromOutputBuffer error. command size is ZERO.");
        return kIOReturnSuccess;
    }
    return device->setReport(IOHIDReportType::output, 0, *report, kIOHIDNoTimeout);
}

void EventGeneratorNX7::sendSettings(const char* failureMessage) {
    putIntoOutputBuffer(commandFromCurrentSetting());
    if (doCommandFromOutputBuffer() != kIOReturnSuccess)
        logLine("%s", failureMessage);
}

void EventGeneratorNX7::removeIRFilter() {
    if (!isDevicePlugIn())
        return;
    setIRFilterGrounded(false);
    sendSettings("Event n:1303 removeIRFilter not success");
}

void EventGeneratorNX7::putIRFilter() {
    if (!isDevicePlugIn())
        return;
    setIRFilterGrounded(true);
    sendSettings("Event n:1315 putIRFilter not success");
}

void EventGeneratorNX7::updateTwoValueToDevice() {
    if (!isDevicePlugIn()) {
        logLine("Event n:1958 device is not plugged.");
        return;
    }
    sendSettings("Event n:1965 update values faied");
    // Each settings update writes the calibration once more, by design.
    writeCalibrationToFlash(_calibrationPoints);
}

} // namespace lightpen
