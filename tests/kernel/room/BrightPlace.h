// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "kernel/room/RoomView.h"

namespace lightpen {

// The middle of the light of all pixels that are brighter than this: what is least that finds a spot.
inline constexpr std::uint8_t kBrightPlace = 127;

// None when there is no such light. It shares nothing with the program's own finder.
std::optional<PicturePoint> brightPlace(std::span<const std::uint8_t> grey, PictureSize size);

} // namespace lightpen
