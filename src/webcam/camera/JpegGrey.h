// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

namespace lightpen::webcam {

// The brightness of a camera's JPEG of exactly this size, row by row without a gap; the room for it must be
// as large. A camera may leave out the tables that all cameras share, and what follows the picture does not
// matter. False when the picture is of another size or kind, damaged, or cut short. Any thread.
bool decodeJpegGrey(std::span<const std::uint8_t> bytes, int width, int height, std::span<std::uint8_t> grey);

} // namespace lightpen::webcam
