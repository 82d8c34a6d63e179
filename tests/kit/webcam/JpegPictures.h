// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

namespace lightpen::webcam {

// In how many passes a JPEG tells of each of its pixels.
enum class JpegScans {
    one,        // as cameras do
    eachColour, // one for each colour
    several,    // progressive, as picture programs do
    most,       // progressive, as many as the format allows
};

// How a camera writes its JPEG.
struct JpegKind {
    bool grey = false;  // else in colours, of which there are half as many across, as cameras have them
    bool tables = true; // with the tables that all cameras share; many leave them out
    int quality = 90;
    JpegScans scans = JpegScans::one;
};

// A JPEG whose brightness is this, row by row without a gap.
std::vector<std::uint8_t> jpegOf(const std::vector<std::uint8_t>& grey, int width, int height,
                                 const JpegKind& kind = {});

// A picture to look for differences in: slopes, and a bright spot.
std::vector<std::uint8_t> slopes(int width, int height);

} // namespace lightpen::webcam
