// SPDX-License-Identifier: MIT
#pragma once

namespace lightpen::bench {

// What the least program's pointer is called among the input devices.
inline constexpr const char* kLeastPointerName = "LightPenNX7 yardstick";

} // namespace lightpen::bench
