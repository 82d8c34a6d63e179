// SPDX-License-Identifier: MIT
#include "device/EventGeneratorNX7.h"

#include "device/SharedState.h"
#include "platform/Log.h"

namespace lightpen {

using DeviceOperation = EventGeneratorNX7DeviceCallbackProtocol::Operation;

void EventGeneratorNX7::setDelegate(std::shared_ptr<EventGeneratorNX7CallbackProtocol> delegate) {
    const std::lock_guard hold(_lock);
    _delegate = std::move(delegate);
}

void EventGeneratorNX7::setCalibrationCenter(std::shared_ptr<KVRCalibrationProtocol> calibrationCenter) {
    const std::lock_guard hold(_lock);
    _calibrationCenter = std::move(calibrationCenter);
}

void EventGeneratorNX7::setApDelegate(
    std::shared_ptr<EventGeneratorNX7ApplicationCallbackProtocol> apDelegate) {
    _apDelegate = std::move(apDelegate);
}

bool EventGeneratorNX7::exitCalib() {
    _delegate = nullptr;
    return false;
}

std::shared_ptr<EventGeneratorNX7DeviceCallbackProtocol> EventGeneratorNX7::deviceDelegate() {
    sharedState.deviceDelegateQueried = 1;
    sharedState.mouseArmed = sharedState.disarmedPollCount <= 0 ? sharedState.unitOpen.load() : 0;
    return _deviceDelegate;
}

void EventGeneratorNX7::setDeviceDelegate(
    std::shared_ptr<EventGeneratorNX7DeviceCallbackProtocol> newDelegate) {
    _deviceDelegate = std::move(newDelegate);
    // Through the getter: with a unit that was there from the start this is the first question, which starts
    // the polling.
    const auto delegate = deviceDelegate();
    const bool hearsOfNoise = delegate && delegate->respondsTo(DeviceOperation::noiseDetectedCallback);
    logLine("Event n:721 _hasNoise:%d, has implement:%d", _hasNoise.load(), hearsOfNoise);
    if (_hasNoise && hearsOfNoise) {
        logLine("Event n:724 Noise Detected.");
        delegate->noiseDetectedCallback(*this);
        _hasNoise = false;
    }
    if (delegate && sharedState.strayLightLevel > 0) {
        delegate->noiseDetectedCallback(*this);
        if (delegate->respondsTo(DeviceOperation::deviceDidRemoveCallback))
            delegate->deviceDidRemoveCallback(*this);
    }
}

bool EventGeneratorNX7::isUnitOpen() {
    return sharedState.unitOpen == 1;
}

bool EventGeneratorNX7::hearsPen() {
    return isUnitOpen() && sharedState.mouseArmed == 1;
}

} // namespace lightpen
