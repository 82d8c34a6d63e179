// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace lightpen {

// The camera's small picture: one grey byte a pixel, 0 black to 255 white, rows from top to bottom.
inline constexpr std::size_t kPreviewWidth = 80;
inline constexpr std::size_t kPreviewHeight = 60;
inline constexpr std::size_t kPreviewPictureBytes = kPreviewWidth * kPreviewHeight;

// The picture as a displayable image: 80 by 60 pixels, red, green, blue and alpha of 8 bits each, alpha last
// and not multiplied into the others, rows from top to bottom without padding.
struct PreviewImage {
    static constexpr std::size_t kSamplesPerPixel = 4;
    static constexpr std::size_t kBytesPerRow = kPreviewWidth * kSamplesPerPixel;
    std::array<std::uint8_t, kBytesPerRow * kPreviewHeight> rgba{};
    friend bool operator==(const PreviewImage&, const PreviewImage&) = default;
};

using PreviewImageRef = std::shared_ptr<const PreviewImage>;

// A new image with the picture's grey levels, fully opaque.
PreviewImageRef previewImageOf(std::span<const std::uint8_t, kPreviewPictureBytes> picture);

} // namespace lightpen
