// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "webcam/sight/GreyView.h"

namespace lightpen::webcam {

// A camera's picture that a test draws. Places are those of GreyView; whatever lies beyond the picture is
// left out, and levels are cut to 0 and 255.
class DrawnPicture {
public:
    // Of one level. The padding is so many more bytes in each row, which are white.
    DrawnPicture(int width, int height, int level = 20, int padding = 0);

    GreyView view() const { return {pixels_, width_, height_, stride_}; }
    int width() const { return width_; }
    int height() const { return height_; }

    // A light with soft edges, as a pen's: a Gaussian of this standard deviation, added to what is there.
    DrawnPicture& spot(double x, double y, double sigma, double peak);
    // The same while it moves along a line: with as much light at each place.
    DrawnPicture& streak(double fromX, double fromY, double toX, double toY, double sigma, double peak);
    // Replaces what is there; its edge is a pixel wide.
    DrawnPicture& disc(double x, double y, double radius, int level);
    DrawnPicture& rectangle(int left, int top, int width, int height, int level);
    // Another picture, as far as this width and height; of a share of less than 1 it shows as much through.
    DrawnPicture& cover(const DrawnPicture& other, int width, int height, double share);
    // Normal noise of this standard deviation.
    DrawnPicture& noise(double sigma, std::mt19937& random);
    // What a camera without a signal shows: any levels.
    DrawnPicture& snow(std::mt19937& random);
    // Single pixels of white, about one among so many.
    DrawnPicture& salt(int among, std::mt19937& random);
    // What the lossy compression of a JPEG picture of this quality, 50 to 100, leaves of it.
    DrawnPicture& compress(int quality);

private:
    std::uint8_t& at(int x, int y) {
        return pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(stride_) +
                       static_cast<std::size_t>(x)];
    }
    void compressBlock(int left, int top, int quality);

    int width_;
    int height_;
    int stride_;
    std::vector<std::uint8_t> pixels_;
};

} // namespace lightpen::webcam
