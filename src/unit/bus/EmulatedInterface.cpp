// SPDX-License-Identifier: MIT
#include "unit/bus/EmulatedInterface.h"

#include <algorithm>
#include <utility>

namespace lightpen {

namespace {

// How long a host that cannot get rid of a report waits before it tries again.
constexpr Microseconds kRetry{1'000};

constexpr IOHIDElementCookie cookieOf(int interfaceNumber) {
    return static_cast<IOHIDElementCookie>(0x10 + interfaceNumber);
}

} // namespace

EmulatedConnection::EmulatedConnection(std::shared_ptr<SoftwareUnit> unit, Clock& clock, std::string location,
                                       PollHook poll)
    : unit_(std::move(unit)), clock_(clock), location_(std::move(location)), poll_(std::move(poll)) {
    const std::size_t length = unit_->description().reportLength;
    for (int number = 0; number < kInterfaces; ++number)
        fanOuts_[static_cast<std::size_t>(number)] =
            std::make_unique<ReportFanOut>(clock_, cookieOf(number), length);
}

ServiceDescription EmulatedConnection::hidService(int interfaceNumber) {
    const UnitDescription& unit = unit_->description();
    PropertyDictionary element;
    element.entries["ReportID"] = std::int64_t{0};
    element.entries["ElementCookie"] = std::int64_t{cookieOf(interfaceNumber)};
    ServiceDescription service;
    service.className = "IOHIDDevice";
    service.path = location_ + "/IOUSBInterface@" + std::to_string(interfaceNumber) + "/IOHIDDevice";
    service.properties.entries["VendorID"] = std::int64_t{unit.vendorID};
    service.properties.entries["ProductID"] = std::int64_t{unit.productID};
    service.properties.entries["Manufacturer"] = unit.vendorName;
    if (!unit.serialNumber.empty())
        service.properties.entries["SerialNumber"] = unit.serialNumber;
    service.properties.entries["InputReportElements"] = std::vector{element};
    service.plugIn = [weak = weak_from_this(), interfaceNumber]() -> IOHIDDeviceInterfaceRef {
        const auto connection = weak.lock();
        if (!connection || connection->gone())
            return nullptr;
        return std::make_shared<EmulatedInterface>(connection, interfaceNumber);
    };
    return service;
}

ServiceDescription EmulatedConnection::usbDevice() const {
    const UnitDescription& unit = unit_->description();
    ServiceDescription service;
    service.className = "IOUSBDevice";
    service.path = location_;
    service.properties.entries["idVendor"] = std::int64_t{unit.vendorID};
    service.properties.entries["idProduct"] = std::int64_t{unit.productID};
    service.properties.entries["USB Vendor Name"] = unit.vendorName;
    return service;
}

std::vector<ServiceDescription> EmulatedConnection::services() {
    std::vector<ServiceDescription> services;
    for (int number = kInterfaces - 1; number >= 0; --number)
        services.push_back(hidService(number));
    services.push_back(usbDevice());
    return services;
}

void EmulatedConnection::deliver(const UnitReport& report) {
    fanOuts_[kUnitPenInterfaceNumber]->deliver(report.bytes);
}

void EmulatedConnection::vanish() {
    gone_.store(true);
    for (const auto& fanOut : fanOuts_)
        fanOut->vanish();
}

IOHIDQueueRef EmulatedConnection::newQueue(int interfaceNumber) {
    if (gone())
        return nullptr;
    auto queue = std::make_shared<IOHIDQueueInterface>([weak = weak_from_this()] {
        const auto connection = weak.lock();
        if (!connection)
            return;
        if (connection->poll_)
            connection->poll_();
        // Nobody who asks for a report must depend on when a thread of the unit gets its turn.
        connection->unit_->advance(connection->clock_.now());
    });
    return fanOuts_[static_cast<std::size_t>(interfaceNumber)]->add(std::move(queue));
}

IOReturn EmulatedInterface::open(std::uint32_t) {
    if (connection_->gone())
        return kIOReturnNoDevice;
    open_.store(true);
    return kIOReturnSuccess;
}

IOReturn EmulatedInterface::close() {
    return open_.exchange(false) ? kIOReturnSuccess : kIOReturnNotOpen;
}

IOHIDQueueRef EmulatedInterface::allocQueue() {
    return connection_->newQueue(interfaceNumber_);
}

IOReturn EmulatedInterface::setReport(IOHIDReportType type, std::uint32_t reportID,
                                      std::span<const std::uint8_t> report, std::uint32_t timeoutMs) {
    if (connection_->gone())
        return kIOReturnNoDevice;
    if (!open_.load())
        return kIOReturnNotOpen;
    if (type != IOHIDReportType::output || reportID != 0)
        return kIOReturnUnsupported;
    // Its other interfaces listen to nobody.
    if (interfaceNumber_ != kUnitPenInterfaceNumber || report.empty())
        return kIOReturnSuccess;
    return waitUntilTaken(report, timeoutMs);
}

IOReturn EmulatedInterface::waitUntilTaken(std::span<const std::uint8_t> report, std::uint32_t timeoutMs) {
    SoftwareUnit& unit = *connection_->unit();
    Clock& clock = connection_->clock();
    const Microseconds start = clock.now();
    const Microseconds patience =
        timeoutMs == kIOHIDNoTimeout ? Microseconds::max() : std::chrono::milliseconds(timeoutMs);
    while (!connection_->gone()) {
        const Microseconds now = clock.now();
        const auto result = unit.output(report, now);
        if (result == SoftwareUnit::Output::taken)
            return kIOReturnSuccess;
        if (result == SoftwareUnit::Output::gone)
            break;
        const Microseconds waited = now - start;
        if (waited >= patience) {
            unit.outputLater(report);
            return kIOReturnTimeout;
        }
        clock.sleep(std::min(kRetry, patience - waited));
    }
    return kIOReturnNoDevice;
}

} // namespace lightpen
