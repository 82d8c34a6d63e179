// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace lightpen {

// Identifiers of the two camera units, until the maker's own are filled in: 0x1209 is the vendor identifier
// that is shared by projects without one, and its products below 0x0010 are for tests.
inline constexpr std::int32_t kUnitVendorID = 0x1209;
inline constexpr std::int32_t kUnitFirstProductID = 0x0001;
inline constexpr std::int32_t kUnitSecondProductID = 0x0002;

// The unit's HID interface that carries the pen; the others are not ours.
inline constexpr int kUnitPenInterfaceNumber = 3;

} // namespace lightpen
