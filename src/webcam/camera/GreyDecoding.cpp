// SPDX-License-Identifier: MIT
#include "webcam/camera/GreyDecoding.h"

#include <algorithm>

#include "webcam/camera/JpegGrey.h"

namespace lightpen::webcam {

namespace {

void takeBrightness(const std::uint8_t* __restrict from, std::uint8_t* __restrict to, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i)
        to[i] = from[2 * i];
}

bool isSensible(const BufferLayout& layout) {
    return layout.width >= 1 && layout.width <= kLargestSide && layout.height >= 1 &&
           layout.height <= kLargestSide;
}

// Rows of so many bytes a pixel, of which the first is the brightness. The last row may end with its pixels.
bool takeRows(std::span<const std::uint8_t> bytes, const BufferLayout& layout, std::size_t bytesPerPixel,
              GreyPicture& picture) {
    const auto width = static_cast<std::size_t>(layout.width);
    const auto height = static_cast<std::size_t>(layout.height);
    if (layout.stride < 0 || static_cast<std::size_t>(layout.stride) < width * bytesPerPixel)
        return false;
    const auto stride = static_cast<std::size_t>(layout.stride);
    if (bytes.size() < stride * (height - 1) + width * bytesPerPixel)
        return false;
    for (std::size_t row = 0; row < height; ++row) {
        const std::uint8_t* const from = bytes.data() + row * stride;
        std::uint8_t* const to = picture.pixels.data() + row * width;
        if (bytesPerPixel == 1)
            std::copy_n(from, width, to);
        else
            takeBrightness(from, to, width);
    }
    return true;
}

} // namespace

bool decodeGrey(std::span<const std::uint8_t> bytes, const BufferLayout& layout, GreyPicture& picture) {
    if (!isSensible(layout))
        return false;
    picture.width = layout.width;
    picture.height = layout.height;
    picture.stride = layout.width;
    picture.pixels.resize(static_cast<std::size_t>(layout.width) * static_cast<std::size_t>(layout.height));
    switch (layout.format) {
    case PixelFormat::grey:
        return takeRows(bytes, layout, 1, picture);
    case PixelFormat::yuyv:
        return takeRows(bytes, layout, 2, picture);
    case PixelFormat::mjpeg:
        break;
    }
    return decodeJpegGrey(bytes, layout.width, layout.height, picture.pixels);
}

} // namespace lightpen::webcam
