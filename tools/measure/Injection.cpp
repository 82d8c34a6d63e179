// SPDX-License-Identifier: MIT
#include "measure/Injection.h"

#include <utility>

#include "device/EventGeneratorNX7.h"

namespace lightpen {

namespace {

InjectedEvent::Kind kindOf(const PointerButtons::Action& action) {
    using enum InjectedEvent::Kind;
    switch (action.button) {
    case PointerButtons::Button::left:
        return action.press ? press : release;
    case PointerButtons::Button::right:
        return action.press ? rightPress : rightRelease;
    case PointerButtons::Button::none:
        break;
    }
    return move;
}

ScreenPoint pointAt(IOGPoint place) {
    return {static_cast<double>(place.x), static_cast<double>(place.y)};
}

class NotedMapping final : public KVRCalibrationProtocol {
public:
    NotedMapping(Recording& recording, std::shared_ptr<KVRCalibrationProtocol> mapping)
        : recording_(recording), mapping_(std::move(mapping)) {}

    ScreenPoint mapPointFrom(CameraPoint point) override {
        const ScreenPoint place = mapping_->mapPointFrom(point);
        recording_.mapped(point, place);
        return place;
    }

private:
    Recording& recording_;
    const std::shared_ptr<KVRCalibrationProtocol> mapping_;
};

} // namespace

IOReturn RecordedPointer::IOServiceOpen(io_service_t service, std::uint32_t type, io_connect_t& connection) {
    return pointer_.IOServiceOpen(service, type, connection);
}

IOReturn RecordedPointer::IOHIDPostEvent(io_connect_t connection, std::uint32_t eventType, IOGPoint location,
                                         const NXMouseEventData& data, std::uint32_t eventDataVersion,
                                         std::uint32_t eventFlags, std::uint32_t options) {
    {
        const std::lock_guard hold(mutex_);
        const auto action = buttons_.apply(eventType);
        if (!action.drop) {
            recording_.injected(kindOf(action), pointAt(location));
            place_ = location;
        }
    }
    const IOReturn result =
        pointer_.IOHIDPostEvent(connection, eventType, location, data, eventDataVersion, eventFlags, options);
    if (eventType == kLeftMouseUp)
        recording_.lifted();
    return result;
}

void RecordedPointer::releaseButtons() {
    {
        const std::lock_guard hold(mutex_);
        for (const std::uint32_t release : {kLeftMouseUp, kRightMouseUp})
            if (const auto action = buttons_.apply(release); !action.drop)
                recording_.injected(kindOf(action), pointAt(place_));
    }
    pointer_.releaseButtons();
    recording_.lifted();
}

std::shared_ptr<KVRCalibrationProtocol> noted(Recording& recording,
                                              std::shared_ptr<KVRCalibrationProtocol> mapping) {
    return std::make_shared<NotedMapping>(recording, std::move(mapping));
}

HeardMapping::HeardMapping(Recording& recording, EventGeneratorNX7& driver)
    : driver_(driver), before_(driver.calibrationCenter()) {
    if (before_)
        driver_.setCalibrationCenter(noted(recording, before_));
}

HeardMapping::~HeardMapping() {
    driver_.setCalibrationCenter(before_);
}

void RecordedBroadcast::postNotificationName(std::string_view name) {
    recording_.posted(std::string(name));
    center_.postNotificationName(name);
}

} // namespace lightpen
