// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/IOHID.h"
#include "platform/ReportFanOut.h"
#include "platform/ServiceRegistry.h"
#include "platform/Time.h"
#include "unit/bus/SoftwareUnit.h"

namespace lightpen {

// One time that a unit is plugged in, from its arrival to its removal: its HID interfaces and what the
// registry shows of them. Thread-safe but for the registry's services.
class EmulatedConnection : public std::enable_shared_from_this<EmulatedConnection> {
public:
    static constexpr int kInterfaces = 4;

    // Called before each answer of a queue, without any lock held.
    using PollHook = std::function<void()>;

    // The clock outlives it; the location stands in the paths of its services.
    EmulatedConnection(std::shared_ptr<SoftwareUnit> unit, Clock& clock, std::string location, PollHook poll);

    // What the registry shows: the HID services, high interface numbers first, then the USB device, so that
    // its arrival finds all of them.
    std::vector<ServiceDescription> services();

    // To every started queue of the pen's interface.
    void deliver(const UnitReport& report);
    // The unit is gone: the queues get their last report, and all else fails with kIOReturnNoDevice.
    void vanish();
    bool gone() const { return gone_.load(); } // for good

    const std::shared_ptr<SoftwareUnit>& unit() const { return unit_; }
    Clock& clock() { return clock_; }
    // A queue of one interface; only that of the pen ever gets reports. Null when the unit is gone.
    IOHIDQueueRef newQueue(int interfaceNumber);

    // The services in the registry, while it shows them. Main thread.
    std::vector<io_service_t> published;

private:
    ServiceDescription hidService(int interfaceNumber);
    ServiceDescription usbDevice() const;

    const std::shared_ptr<SoftwareUnit> unit_;
    Clock& clock_;
    const std::string location_;
    const PollHook poll_;
    std::atomic<bool> gone_{false};
    std::array<std::unique_ptr<ReportFanOut>, kInterfaces> fanOuts_;
};

// One opened HID interface of a plugged-in unit.
class EmulatedInterface final : public IOHIDDeviceInterface122 {
public:
    // Not open yet.
    EmulatedInterface(std::shared_ptr<EmulatedConnection> connection, int interfaceNumber)
        : connection_(std::move(connection)), interfaceNumber_(interfaceNumber) {}

    IOReturn open(std::uint32_t flags) override;
    IOReturn close() override;
    IOReturn setReport(IOHIDReportType type, std::uint32_t reportID, std::span<const std::uint8_t> report,
                       std::uint32_t timeoutMs) override;
    IOHIDQueueRef allocQueue() override;

private:
    IOReturn waitUntilTaken(std::span<const std::uint8_t> report, std::uint32_t timeoutMs);

    const std::shared_ptr<EmulatedConnection> connection_;
    const int interfaceNumber_;
    std::atomic<bool> open_{false};
};

} // namespace lightpen
