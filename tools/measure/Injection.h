// SPDX-License-Identifier: MIT
// Notes what the driver gives out on its way to the desktop.
#pragma once

#include <memory>
#include <mutex>

#include "device/Protocols.h"
#include "measure/Recording.h"
#include "platform/Notifications.h"
#include "platform/PointerButtons.h"
#include "platform/PointerEvents.h"

namespace lightpen {

class EventGeneratorNX7;

// A pointer that notes each event that has an effect and hands all of them on.
class RecordedPointer final : public PointerEvents {
public:
    // Both outlive this object.
    RecordedPointer(PointerEvents& pointer, Recording& recording)
        : pointer_(pointer), recording_(recording) {}

    IOReturn IOServiceOpen(io_service_t service, std::uint32_t type, io_connect_t& connection) override;
    IOReturn IOHIDPostEvent(io_connect_t connection, std::uint32_t eventType, IOGPoint location,
                            const NXMouseEventData& data, std::uint32_t eventDataVersion,
                            std::uint32_t eventFlags, std::uint32_t options) override;
    void releaseButtons() override;

private:
    PointerEvents& pointer_;
    Recording& recording_;
    std::mutex mutex_;
    PointerButtons buttons_;
    IOGPoint place_;
};

// A mapping that notes what this one is asked and answers. The recording outlives it.
std::shared_ptr<KVRCalibrationProtocol> noted(Recording& recording,
                                              std::shared_ptr<KVRCalibrationProtocol> mapping);

// As long as it lives, the driver's mapping is noted. A calibration that ends meanwhile ends that.
class HeardMapping {
public:
    // Both outlive this object.
    HeardMapping(Recording& recording, EventGeneratorNX7& driver);
    ~HeardMapping();
    HeardMapping(const HeardMapping&) = delete;
    HeardMapping& operator=(const HeardMapping&) = delete;

private:
    EventGeneratorNX7& driver_;
    const std::shared_ptr<KVRCalibrationProtocol> before_;
};

// Notifications that are noted and handed on.
class RecordedBroadcast final : public DistributedNotificationCenter {
public:
    // Both outlive this object.
    RecordedBroadcast(DistributedNotificationCenter& center, Recording& recording)
        : center_(center), recording_(recording) {}
    void postNotificationName(std::string_view name) override;

private:
    DistributedNotificationCenter& center_;
    Recording& recording_;
};

} // namespace lightpen
