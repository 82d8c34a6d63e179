// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

#include "platform/Time.h"
#include "webcam/sight/GreyView.h"

namespace lightpen::webcam {

// A picture in shades of grey. It is only ever in memory.
struct GreyPicture {
    std::vector<std::uint8_t> pixels; // row by row from the top, stride bytes each; 255 is white
    int width = 0;                    // pixels
    int height = 0;                   // pixels
    int stride = 0;                   // bytes from row to row, at least the width
    Microseconds taken{0};            // when the camera took it, by the clock of the camera's owner

    // The picture without its time, for as long as it lives unchanged.
    GreyView view() const { return {pixels, width, height, stride}; }
};

} // namespace lightpen::webcam
