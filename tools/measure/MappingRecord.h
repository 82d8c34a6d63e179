// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <mutex>
#include <optional>

#include "device/Protocols.h"
#include "platform/Geometry.h"
#include "platform/PointerEvents.h"

namespace lightpen {

class EventGeneratorNX7;

// Notes where the driver takes the pen to be, to all digits, and when it lifts it. It stands between the
// driver and its pointer, and while somebody listens between the driver and its mapping; both get everything.
// Any thread.
class MappingRecord final : public PointerEvents {
public:
    // A stroke of the pen, as far as it has come.
    struct Stroke {
        CameraPoint reported; // the last point that the unit reported
        ScreenPoint mapped;   // and where on the screen that is
        bool lifted = false;  // the pen has been lifted, and its button let go of
    };

    // The pointer outlives this object.
    explicit MappingRecord(PointerEvents& pointer) : pointer_(pointer) {}

    // A mapping that notes what this one is asked and answers. The record outlives it.
    std::shared_ptr<KVRCalibrationProtocol> noted(std::shared_ptr<KVRCalibrationProtocol> mapping);

    // Forgets what was; the next stroke starts.
    void clear();
    // None before a point has been mapped.
    std::optional<Stroke> stroke() const;

    IOReturn IOServiceOpen(io_service_t service, std::uint32_t type, io_connect_t& connection) override {
        return pointer_.IOServiceOpen(service, type, connection);
    }
    IOReturn IOHIDPostEvent(io_connect_t connection, std::uint32_t eventType, IOGPoint location,
                            const NXMouseEventData& data, std::uint32_t eventDataVersion,
                            std::uint32_t eventFlags, std::uint32_t options) override;
    void releaseButtons() override;

private:
    class NotedMapping;
    void lift();

    PointerEvents& pointer_;
    mutable std::mutex mutex_;
    std::optional<Stroke> stroke_;
};

// As long as it lives, the record hears what the driver maps. A calibration that ends meanwhile ends that.
class HeardMapping {
public:
    // Both outlive this object.
    HeardMapping(MappingRecord& record, EventGeneratorNX7& driver);
    ~HeardMapping();
    HeardMapping(const HeardMapping&) = delete;
    HeardMapping& operator=(const HeardMapping&) = delete;

private:
    EventGeneratorNX7& driver_;
    const std::shared_ptr<KVRCalibrationProtocol> before_;
};

} // namespace lightpen
