// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace lightpen::webcam {

// A picture in grey levels, not owned: rows from top to bottom, 0 is black. A place in it is counted in
// pixels, and the centre of the upper left pixel is 0, 0.
struct GreyView {
    std::span<const std::uint8_t> pixels;
    int width = 0; // pixels
    int height = 0;
    int stride = 0; // bytes from one row to the next, at least the width

    // Whether the sizes are positive and the bytes are enough for them. What is not whole is no picture for
    // any function of this folder: it shows nothing.
    bool whole() const {
        if (width <= 0 || height <= 0 || stride < width)
            return false;
        const auto rowsBefore = static_cast<std::size_t>(height) - 1;
        return pixels.size() / static_cast<std::size_t>(stride) >= rowsBefore &&
               pixels.size() - rowsBefore * static_cast<std::size_t>(stride) >=
                   static_cast<std::size_t>(width);
    }
    // The first pixel of a row of a whole picture.
    const std::uint8_t* row(int y) const {
        return pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(stride);
    }
};

} // namespace lightpen::webcam
