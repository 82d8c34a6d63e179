// SPDX-License-Identifier: MIT
#include "measure/Injection.h"

namespace lightpen {

namespace {

InjectedEvent::Kind kindOf(const PointerButtons::Action& action) {
    using Kind = InjectedEvent::Kind;
    switch (action.button) {
    case PointerButtons::Button::left:
        return action.press ? Kind::press : Kind::release;
    case PointerButtons::Button::right:
        return action.press ? Kind::rightPress : Kind::rightRelease;
    case PointerButtons::Button::none:
        break;
    }
    return Kind::move;
}

ScreenPoint pointAt(IOGPoint place) {
    return {static_cast<double>(place.x), static_cast<double>(place.y)};
}

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
    return pointer_.IOHIDPostEvent(connection, eventType, location, data, eventDataVersion, eventFlags,
                                   options);
}

void RecordedPointer::releaseButtons() {
    {
        const std::lock_guard hold(mutex_);
        for (const std::uint32_t release : {kLeftMouseUp, kRightMouseUp})
            if (const auto action = buttons_.apply(release); !action.drop)
                recording_.injected(kindOf(action), pointAt(place_));
    }
    pointer_.releaseButtons();
}

void RecordedBroadcast::postNotificationName(std::string_view name) {
    recording_.posted(std::string(name));
    center_.postNotificationName(name);
}

} // namespace lightpen
