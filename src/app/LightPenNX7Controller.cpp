// SPDX-License-Identifier: MIT
#include "app/LightPenNX7Controller.h"

#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

void LightPenNX7Controller::awakeFromNib() {
    calibrationCenter_ =
        std::make_shared<KVRCalibrationCenter>(0, Platform::current().desktop.mainScreenFrame());
    EventGeneratorNX7& driver = *EventGeneratorNX7::sharedEventGeneratorNX7();
    if (driver.isDevicePlugIn())
        deviceDidAddCallback(driver);
    driver.setDeviceDelegate(shared_from_this());
}

void LightPenNX7Controller::deviceDidAddCallback(EventGeneratorNX7& driver) {
    logLine("Light n:794 ");
    deviceConnected_ = true;
    calibrationCenter_->setCalibrationPoints(driver.calibrationPointsFromFlash());
    driver.setCalibrationCenter(calibrationCenter_);
}

void LightPenNX7Controller::deviceDidRemoveCallback(EventGeneratorNX7&) {
    logLine("Light n:883 ");
    deviceConnected_ = false;
    logLine("Light n:774 ");
}

// There is no preview window yet that could warn of stray light.
void LightPenNX7Controller::noiseDetectedCallback(EventGeneratorNX7&) {}

} // namespace lightpen
