// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <utility>

#include "linux_desktop/pointer/LinuxPointer.h"

namespace lightpen {

// The desktop's pointer over one device, with a connection, as the driver uses it.
class PointerOver {
public:
    PointerOver(std::unique_ptr<PointerDevice> device, const SharedGeometry& geometry)
        : pointer_({{"the device", [&](std::string&) { return std::move(device); }}}, geometry) {
        pointer_.IOServiceOpen(1, kIOHIDParamConnectType, connection_);
    }
    IOReturn post(std::uint32_t eventType, IOGPoint location) {
        return pointer_.IOHIDPostEvent(connection_, eventType, location, {}, kNXEventDataVersion, 0,
                                       kIOHIDSetCursorPosition);
    }
    void releaseButtons() { pointer_.releaseButtons(); }

private:
    LinuxPointer pointer_;
    io_connect_t connection_ = 0;
};

} // namespace lightpen
