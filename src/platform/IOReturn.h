// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace lightpen {

// Status of a platform call; 0 is success. The codes are 32-bit words printed in hexadecimal.
using IOReturn = std::int32_t;

// The unsigned code as the signed word that calls return.
constexpr IOReturn ioReturn(std::uint32_t code) {
    return static_cast<IOReturn>(code);
}

inline constexpr IOReturn kIOReturnSuccess = 0;
inline constexpr IOReturn kIOReturnError = ioReturn(0xE00002BC);
inline constexpr IOReturn kIOReturnNoDevice = ioReturn(0xE00002C0);
inline constexpr IOReturn kIOReturnNotPrivileged = ioReturn(0xE00002C1);
inline constexpr IOReturn kIOReturnBadArgument = ioReturn(0xE00002C2);
inline constexpr IOReturn kIOReturnUnsupported = ioReturn(0xE00002C7);
inline constexpr IOReturn kIOReturnNotOpen = ioReturn(0xE00002CD);
inline constexpr IOReturn kIOReturnTimeout = ioReturn(0xE00002D6);
// An empty queue: an empty poll, not an error.
inline constexpr IOReturn kIOReturnUnderrun = ioReturn(0xE00002E7);

} // namespace lightpen
