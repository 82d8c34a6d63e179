// SPDX-License-Identifier: MIT
#include "kit/device/DriverFixture.h"

#include "matching/RBIOServiceMatchingServer.h"

namespace lightpen {

ReportBytes penReport(int x, int y) {
    const auto low = [](int word) { return static_cast<std::uint8_t>(word & 0xFF); };
    const auto high = [](int word) { return static_cast<std::uint8_t>((word >> 8) & 0xFF); };
    ReportBytes report(32);
    report[1] = low(x);
    report[2] = high(x);
    report[3] = low(y);
    report[4] = high(y);
    return report;
}

ReportBytes penUpReport() {
    return ReportBytes(32);
}

void RecordingCalibration::lightPenCallbackAtPoint(CameraPoint point, EventGeneratorNX7& fromObject) {
    const std::lock_guard hold(mutex_);
    points_.push_back(point);
    sender = &fromObject;
}

std::vector<CameraPoint> RecordingCalibration::takePoints() {
    const std::lock_guard hold(mutex_);
    return std::exchange(points_, {});
}

void RecordingDeviceDelegate::hear(const std::string& what, const EventGeneratorNX7& driver) {
    heard_.push_back(what);
    sender = &driver;
    if (then)
        then(what);
}

DriverFixture::DriverFixture() : driver(std::make_unique<EventGeneratorNX7>()) {
    // What desktops have: the service that takes pointer events.
    desk.registry.publish({"IOHIDSystem", "IOService:/IOHIDSystem", {}, {}});
}

// The process has one matching server, which would call a driver that is gone.
DriverFixture::~DriverFixture() {
    RBIOServiceMatchingServer::defaultServer().removeObserver(driver.get());
}

bool DriverFixture::resetSharedState() {
    sharedState = SharedState{};
    return true;
}

void DriverFixture::openUnit() {
    const std::int64_t cookie = unit.shape().cookie;
    driver->_inputReportElements = std::make_shared<const InputReportElements>(
        InputReportElements{{{{"ReportID", std::int64_t{0}}, {"ElementCookie", cookie}}}});
    driver->_pphidDeviceInterface = unit.openDevice();
}

RecordingPointer::Posted DriverFixture::event(std::uint32_t type, int x, int y, std::int32_t click,
                                              std::uint8_t pressure) {
    NXMouseEventData data;
    data.eventNum = 1;
    data.click = click;
    data.pressure = pressure;
    return {type, {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y)}, data};
}

} // namespace lightpen
