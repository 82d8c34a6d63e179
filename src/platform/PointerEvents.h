// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "platform/ServiceRegistry.h"

namespace lightpen {

using io_connect_t = std::uint32_t;

// The event types that the system posts.
inline constexpr std::uint32_t kLeftMouseDown = 1;
inline constexpr std::uint32_t kLeftMouseUp = 2;
inline constexpr std::uint32_t kRightMouseDown = 3;
inline constexpr std::uint32_t kRightMouseUp = 4;
inline constexpr std::uint32_t kLeftMouseDragged = 6;

inline constexpr std::uint32_t kNXEventDataVersion = 2;
inline constexpr std::uint32_t kIOHIDSetCursorPosition = 2;
inline constexpr std::uint32_t kIOHIDParamConnectType = 1;

// A screen position in points, origin at the main screen's top-left corner.
struct IOGPoint {
    std::int16_t x = 0;
    std::int16_t y = 0;
    friend bool operator==(const IOGPoint&, const IOGPoint&) = default;
};

// The mouse variant of the platform's event data, in field order.
struct NXMouseEventData {
    std::uint8_t subx = 0;
    std::uint8_t suby = 0;
    std::int16_t eventNum = 0;
    std::int32_t click = 0;
    std::uint8_t pressure = 0;
    std::uint8_t buttonNumber = 0;
    std::uint8_t subType = 0;
    friend bool operator==(const NXMouseEventData&, const NXMouseEventData&) = default;
};

// Injects pointer events into the desktop. Any thread.
class PointerEvents {
public:
    virtual ~PointerEvents() = default;
    // Opens a connection to the "IOHIDSystem" service; the connection is 0 on failure.
    virtual IOReturn IOServiceOpen(io_service_t service, std::uint32_t type, io_connect_t& connection) = 0;
    // Moves the pointer to the location and presses or releases as the type says. The release of a button
    // that is not down is dropped whole; a drag without the button is a move.
    virtual IOReturn IOHIDPostEvent(io_connect_t connection, std::uint32_t eventType, IOGPoint location,
                                    const NXMouseEventData& data, std::uint32_t eventDataVersion,
                                    std::uint32_t eventFlags, std::uint32_t options) = 0;
    // Releases every button that is still down, where the pointer stands.
    virtual void releaseButtons() = 0;
};

} // namespace lightpen
