// SPDX-License-Identifier: MIT
// The bytes of a buffer as a picture in grey. What a camera sends is not to be trusted: no byte outside of
// the given ones is read, and no more than the picture's size is written.
#pragma once

#include <cstdint>
#include <span>

#include "webcam/camera/CameraMode.h"
#include "webcam/camera/GreyPicture.h"

namespace lightpen::webcam {

// How the bytes of a buffer lie.
struct BufferLayout {
    PixelFormat format = PixelFormat::grey;
    int width = 0;  // pixels, 1 to kLargestSide
    int height = 0; // pixels, 1 to kLargestSide
    int stride = 0; // bytes from row to row; nothing for mjpeg
};

// No side of a picture is longer, in pixels.
inline constexpr int kLargestSide = 8192;

// The bytes as a picture of the layout's size; its time is left alone, and its memory is used again. False
// when they are too few, or no whole JPEG of that size: what the picture holds then is undefined. Any thread.
bool decodeGrey(std::span<const std::uint8_t> bytes, const BufferLayout& layout, GreyPicture& picture);

} // namespace lightpen::webcam
