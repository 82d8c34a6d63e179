// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "calibration/KVRCalibrationCenter.h"
#include "device/EventGeneratorNX7.h"
#include "platform/Notifications.h"

namespace lightpen {

// The application's controller: owns the calibration centre, starts the driver, brings the two together when
// a unit is there, and has the user calibrate it. Main thread.
class LightPenNX7Controller final : public EventGeneratorNX7DeviceCallbackProtocol,
                                    public std::enable_shared_from_this<LightPenNX7Controller> {
public:
    LightPenNX7Controller() = default;
    ~LightPenNX7Controller() override;
    LightPenNX7Controller(const LightPenNX7Controller&) = delete;
    LightPenNX7Controller& operator=(const LightPenNX7Controller&) = delete;

    // Makes the calibration centre, starts the driver (which takes seconds when a unit is there) and
    // registers with it. The controller must be owned by a shared pointer.
    void awakeFromNib();

    // Starts a calibration with four targets: an automatic one when the default "Auto Calibration" is true.
    // The sender is only logged.
    void calibration(const std::string& sender);
    // Stores the points in the unit, which takes a while, and has the pen move the pointer with them.
    void calibrationDidComplete(const Notification& notification);

    // The stored calibration goes to the centre and the centre to the driver: the pen moves the pointer from
    // now on. A session under way is cancelled, since its points came from another unit.
    void deviceDidAddCallback(EventGeneratorNX7& driver) override;
    // A session under way is cancelled. Also called on the point thread.
    void deviceDidRemoveCallback(EventGeneratorNX7& driver) override;
    void noiseDetectedCallback(EventGeneratorNX7& driver) override;

    // Whether a unit is open.
    bool deviceConnected() const { return deviceConnected_; }

private:
    std::shared_ptr<KVRCalibrationCenter> calibrationCenter_;
    SharedFlag deviceConnected_{false};
};

} // namespace lightpen
