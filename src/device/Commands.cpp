// SPDX-License-Identifier: MIT
// Commands to the unit: building and sending them, and the start of HID mode.
#include "device/EventGeneratorNX7.h"

#include <algorithm>

#include "device/SharedState.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr std::uint32_t kCommandTimeoutMs = 100;

} // namespace

CameraSettings EventGeneratorNX7::currentSettings() const {
    return {.imageProcessMode = imageProcessMode(),
            .imageShrinkTrigger = imageShrinkTrigger(),
            .IRFilterGrounded = IRFilterGrounded(),
            .maskCalibration = maskCalibration(),
            .mask = mask(),
            .brightness = brightness(),
            .unitJustAdded = _deviceMode == 0,
            .threshold = threshold(),
            .forcedExposure = forcedExposure()};
}

ReportBuffer EventGeneratorNX7::commandFromCurrentSetting() const {
    ReportBuffer command = scratchBuffer(sharedState.reportSize, sharedState.reportCopyLength);
    writeSettingsCommand(command, currentSettings());
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

// The front of the output buffer that setReport sends; none when the buffer is missing or empty.
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

void EventGeneratorNX7::startHIDMode() {
    _stopThread = false;
    // A second unit arrives beside the open one.
    if (_hidDevice)
        Platform::current().registry.IOObjectRelease(_hidDevice);
    _hidDevice = getOruHWService();
    if (_hidDevice == 0) {
        logLine("Event n:2074 hiddevice null.");
        _isStaring = false;
        return;
    }
    _inputReportElements = fetchInputReportElements(_hidDevice);
    const auto elements = _inputReportElements.load();
    logLine("Event n:1982 _inputReportElements:%s",
            elements ? describe(Property(*elements)).c_str() : "(null)");
    createHIDDeviceInterface();
    if (!_pphidDeviceInterface.load()) {
        logLine("Event n:2071 hid interface null.");
        return;
    }
    if (const IOReturn result = openHIDInterface(); result != kIOReturnSuccess) {
        logLine("Event n:2068 open device failed. %d", result);
        return;
    }
    _calibrationPoints = _calibrationPointsFromFlash();
    logLine("Event n:2033 _calibrationPointsFromFlash: %s", describe(_calibrationPoints).c_str());
    // The image queue is there already when a second unit arrives beside an open one: no thread starts for
    // it, so nobody else would end the wait for the thread.
    if (setUpHIDQueueAndCallback() == -1)
        _isStaring = false;
}

} // namespace lightpen
