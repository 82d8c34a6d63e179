// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

#include "webcam/sight/GreyView.h"

namespace lightpen::webcam {

inline constexpr int kSmallWidth = 80;
inline constexpr int kSmallHeight = 60;

// Grey levels, rows from top to bottom.
using SmallPicture = std::array<std::uint8_t, kSmallWidth * kSmallHeight>;

// The whole picture, each pixel the mean of the part that it stands for; where the picture has fewer pixels,
// the one that is there. The proportions become 4 to 3. Black for a picture that is not whole.
SmallPicture smallPicture(const GreyView& picture);

} // namespace lightpen::webcam
