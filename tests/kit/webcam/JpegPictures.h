// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

namespace lightpen::webcam {

// How a camera writes its JPEG.
struct JpegKind {
    bool grey = false;        // else in colours, of which there are half as many across, as cameras have them
    bool progressive = false; // as no camera does
    bool tables = true;       // with the tables that all cameras share; many leave them out
    int quality = 90;
};

// A JPEG whose brightness is this, row by row without a gap.
std::vector<std::uint8_t> jpegOf(const std::vector<std::uint8_t>& grey, int width, int height,
                                 const JpegKind& kind = {});

// A picture to look for differences in: slopes, and a bright spot.
std::vector<std::uint8_t> slopes(int width, int height);

} // namespace lightpen::webcam
