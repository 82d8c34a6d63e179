// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "calibration/KVRCalibrationCenter.h"
#include "device/EventGeneratorNX7.h"

namespace lightpen {

// The application's controller: owns the calibration centre, starts the driver and brings the two together
// when a unit is there. Main thread.
class LightPenNX7Controller final : public EventGeneratorNX7DeviceCallbackProtocol,
                                    public std::enable_shared_from_this<LightPenNX7Controller> {
public:
    // Makes the calibration centre, starts the driver (which takes seconds when a unit is there) and
    // registers with it. The controller must be owned by a shared pointer.
    void awakeFromNib();

    // The stored calibration goes to the centre and the centre to the driver: the pen moves the pointer from
    // now on.
    void deviceDidAddCallback(EventGeneratorNX7& driver) override;
    void deviceDidRemoveCallback(EventGeneratorNX7& driver) override;
    void noiseDetectedCallback(EventGeneratorNX7& driver) override;

    // Whether a unit is open.
    bool deviceConnected() const { return deviceConnected_; }

private:
    std::shared_ptr<KVRCalibrationCenter> calibrationCenter_;
    bool deviceConnected_ = false;
};

} // namespace lightpen
