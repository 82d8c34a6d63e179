// SPDX-License-Identifier: MIT
// What the driver asks of the floors above it.
#pragma once

#include "platform/Geometry.h"

namespace lightpen {

class EventGeneratorNX7;

// Maps camera points to the screen. Called on the point thread.
class KVRCalibrationProtocol {
public:
    virtual ~KVRCalibrationProtocol() = default;
    // The screen point for a camera point; neither rounded nor cut to the screen.
    virtual ScreenPoint mapPointFrom(CameraPoint point) = 0;
};

// Takes the raw points of a calibration instead of the pointer. Called on the point thread.
class EventGeneratorNX7CallbackProtocol {
public:
    virtual ~EventGeneratorNX7CallbackProtocol() = default;
    // False: a touch goes nowhere, neither here nor to the pointer.
    virtual bool respondsToLightPenCallback() const { return true; }
    // One call for each touch, with the point where it began.
    virtual void lightPenCallbackAtPoint(CameraPoint point, EventGeneratorNX7& fromObject) = 0;
};

// Hears of the unit's arrival, its removal and stray light. Called on the main thread, but for the removal
// that announces a pairing, which comes from the point thread.
class EventGeneratorNX7DeviceCallbackProtocol {
public:
    // The operations below, by name.
    enum class Operation { noiseDetectedCallback, deviceDidAddCallback, deviceDidRemoveCallback, statMenu };

    virtual ~EventGeneratorNX7DeviceCallbackProtocol() = default;
    // Whether the object implements the operation; statMenu is optional.
    virtual bool respondsTo(Operation operation) const { return operation != Operation::statMenu; }
    // Stray light was found.
    virtual void noiseDetectedCallback(EventGeneratorNX7& driver) = 0;
    // A unit is open and its flash read.
    virtual void deviceDidAddCallback(EventGeneratorNX7& driver) = 0;
    // The unit has left, or counts as absent (stray light, pairing).
    virtual void deviceDidRemoveCallback(EventGeneratorNX7& driver) = 0;
    // Before deviceDidAddCallback: time to make the unit's menu.
    virtual void statMenu(EventGeneratorNX7&) {}

    // Calls deviceDidRemoveCallback where the object implements it.
    void tellOfRemoval(EventGeneratorNX7& driver) {
        if (respondsTo(Operation::deviceDidRemoveCallback))
            deviceDidRemoveCallback(driver);
    }
};

// Stored and returned only; nothing is ever asked of it.
class EventGeneratorNX7ApplicationCallbackProtocol {
public:
    virtual ~EventGeneratorNX7ApplicationCallbackProtocol() = default;
};

} // namespace lightpen
