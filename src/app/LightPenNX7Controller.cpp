// SPDX-License-Identifier: MIT
#include "app/LightPenNX7Controller.h"

#include <any>

#include "app/TargetImage.h"
#include "calibration/KVRCalibrationTarget.h"
#include "device/SharedState.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr std::int64_t kMenuTargets = 4;
constexpr std::uint32_t kTargetBezelStyle = 2;
// Lets the unit finish writing its flash before the next command.
constexpr Microseconds kFlashPause = std::chrono::milliseconds(500);
constexpr std::uint32_t kReadPairingTable = 'R';

std::optional<Screen> mainScreen() {
    const auto screens = Platform::current().desktop.screens();
    return screens.empty() ? std::nullopt : std::optional(screens.front());
}

bool isSet(std::string_view key) {
    const auto value = Platform::current().defaults.objectForKey(key);
    const bool* flag = value ? std::get_if<bool>(&*value) : nullptr;
    return flag && *flag;
}

PointListRef pointsOf(const Notification& notification) {
    const auto found = notification.userInfo.find(kCalibrationPoints);
    const auto* points =
        found == notification.userInfo.end() ? nullptr : std::any_cast<PointListRef>(&found->second);
    return points ? *points : nullptr;
}

} // namespace

LightPenNX7Controller::~LightPenNX7Controller() {
    if (calibrationCenter_)
        Platform::current().notifications.removeObserver(this);
}

void LightPenNX7Controller::awakeFromNib() {
    calibrationCenter_ =
        std::make_shared<KVRCalibrationCenter>(0, kClearColor, kTargetBezelStyle, mainScreen());
    Platform::current().notifications.addObserver(
        this, kCalibrationCompleted, nullptr,
        [this](const Notification& notification) { calibrationDidComplete(notification); });
    EventGeneratorNX7& driver = *EventGeneratorNX7::sharedEventGeneratorNX7();
    if (driver.isDevicePlugIn())
        deviceDidAddCallback(driver);
    driver.setDeviceDelegate(shared_from_this());
}

void LightPenNX7Controller::calibration(const std::string& sender) {
    logLine("Light n:646 ");
    const bool automatic = isSet("Auto Calibration");
    const QPixmap image = targetImage(automatic ? TargetImage::automatic : TargetImage::calib);
    if (const auto target = calibrationCenter_->calibrationTarget()) {
        const QSizeF size = image.deviceIndependentSize();
        target->setFrameSize({size.width(), size.height()});
        target->setImage(image);
        target->setBordered(false);
    }
    calibrationCenter_->setTotalPoints(kMenuTargets);
    if (automatic)
        calibrationCenter_->startAutoCalibration();
    else
        calibrationCenter_->startCalibration();
    logLine("Light n:688 calibration : %s", sender.c_str());
}

void LightPenNX7Controller::calibrationDidComplete(const Notification& notification) {
    EventGeneratorNX7& driver = *EventGeneratorNX7::sharedEventGeneratorNX7();
    const PointListRef points = pointsOf(notification);
    driver.writeCalibrationToFlash(points);
    calibrationCenter_->setCalibrationPoints(points);
    driver.setDelegate(nullptr);
    driver.setCalibrationCenter(calibrationCenter_);
    logLine("Light n:637 calibrationDidComplete:%s", describe(notification).c_str());
    Platform::current().clock.sleep(kFlashPause);
    if (sharedState.wireless == 0)
        driver.Nx9commd(kReadPairingTable);
}

void LightPenNX7Controller::deviceDidAddCallback(EventGeneratorNX7& driver) {
    logLine("Light n:794 ");
    deviceConnected_ = true;
    calibrationCenter_->cancelSession();
    calibrationCenter_->setCalibrationPoints(driver.calibrationPointsFromFlash());
    driver.setCalibrationCenter(calibrationCenter_);
}

void LightPenNX7Controller::deviceDidRemoveCallback(EventGeneratorNX7&) {
    logLine("Light n:883 ");
    deviceConnected_ = false;
    calibrationCenter_->cancelSession();
    logLine("Light n:774 ");
}

// There is no preview window yet that could warn of stray light.
void LightPenNX7Controller::noiseDetectedCallback(EventGeneratorNX7&) {}

} // namespace lightpen
