// SPDX-License-Identifier: MIT
#include "measure/MappingRecord.h"

#include <utility>

#include "device/EventGeneratorNX7.h"

namespace lightpen {

class MappingRecord::NotedMapping final : public KVRCalibrationProtocol {
public:
    NotedMapping(MappingRecord& record, std::shared_ptr<KVRCalibrationProtocol> mapping)
        : record_(record), mapping_(std::move(mapping)) {}

    ScreenPoint mapPointFrom(CameraPoint point) override {
        const ScreenPoint mapped = mapping_->mapPointFrom(point);
        const std::lock_guard hold(record_.mutex_);
        record_.stroke_ = Stroke{point, mapped, false};
        return mapped;
    }

private:
    MappingRecord& record_;
    const std::shared_ptr<KVRCalibrationProtocol> mapping_;
};

std::shared_ptr<KVRCalibrationProtocol>
MappingRecord::noted(std::shared_ptr<KVRCalibrationProtocol> mapping) {
    return std::make_shared<NotedMapping>(*this, std::move(mapping));
}

IOReturn MappingRecord::IOHIDPostEvent(io_connect_t connection, std::uint32_t eventType, IOGPoint location,
                                       const NXMouseEventData& data, std::uint32_t eventDataVersion,
                                       std::uint32_t eventFlags, std::uint32_t options) {
    const IOReturn result =
        pointer_.IOHIDPostEvent(connection, eventType, location, data, eventDataVersion, eventFlags, options);
    if (eventType == kLeftMouseUp)
        lift();
    return result;
}

void MappingRecord::releaseButtons() {
    pointer_.releaseButtons();
    lift();
}

void MappingRecord::lift() {
    const std::lock_guard hold(mutex_);
    if (stroke_)
        stroke_->lifted = true;
}

void MappingRecord::clear() {
    const std::lock_guard hold(mutex_);
    stroke_.reset();
}

std::optional<MappingRecord::Stroke> MappingRecord::stroke() const {
    const std::lock_guard hold(mutex_);
    return stroke_;
}

HeardMapping::HeardMapping(MappingRecord& record, EventGeneratorNX7& driver)
    : driver_(driver), before_(driver.calibrationCenter()) {
    if (before_)
        driver_.setCalibrationCenter(record.noted(before_));
}

HeardMapping::~HeardMapping() {
    driver_.setCalibrationCenter(before_);
}

} // namespace lightpen
