// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

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

// Puts a picture together from the reports that carry it: a byte that is not looked at, then as many pixels
// as the length of the reports leaves (4 bytes less than that). Six reports in a row are a picture, complete
// or not: 800 pixels each fill it exactly.
struct PictureAssembly {
    static constexpr int kReports = 6;
    static constexpr int kCountModulus = 80;

    // The index of the next report. The unit's leaving sets it back to 0.
    int imageChunkCount = 0;
    // The picture so far; empty between pictures.
    std::vector<std::uint8_t> imageAssemblyBuffer;

    // The index of the report that take() is to be given now. A picture that ended without a report behind it
    // has left a count that leads nowhere: it starts over.
    int nextIndex();
    // Puts the pixels of a report into the picture; what lies beyond either is dropped. `copyLength` is the
    // length of the unit's reports. Returns whether the picture is complete; it is then in the buffer until
    // release().
    bool take(std::span<const std::uint8_t> report, int copyLength);
    // The complete picture.
    std::span<const std::uint8_t, kPreviewPictureBytes> picture() const;
    // Gives the buffer up; false when there was none.
    bool release();
};

} // namespace lightpen
