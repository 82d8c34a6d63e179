// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace lightpen {

// Identifiers of the two camera units. packaging/units.conf has them, for the udev rule and the metainfo as
// well, and scripts/set-units.py puts them here.
inline constexpr std::int32_t kUnitVendorID = 0x1209;
inline constexpr std::int32_t kUnitFirstProductID = 0x0001;
inline constexpr std::int32_t kUnitSecondProductID = 0x0002;

// The unit's HID interface that carries the pen; the others are not ours.
inline constexpr int kUnitPenInterfaceNumber = 3;

} // namespace lightpen
