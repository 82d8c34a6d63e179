// SPDX-License-Identifier: MIT
#include "device/PreviewImage.h"

#include <algorithm>

namespace lightpen {

namespace {

// So many bytes of a report are not pixels; one of them stands in front.
constexpr int kBytesBesidePixels = 4;

} // namespace

PreviewImageRef previewImageOf(std::span<const std::uint8_t, kPreviewPictureBytes> picture) {
    constexpr std::uint8_t kOpaque = 255;
    auto image = std::make_shared<PreviewImage>();
    auto* sample = image->rgba.data();
    for (const std::uint8_t grey : picture) {
        *sample++ = grey;
        *sample++ = grey;
        *sample++ = grey;
        *sample++ = kOpaque;
    }
    return image;
}

int PictureAssembly::nextIndex() {
    if (imageAssemblyBuffer.empty() && imageChunkCount >= kReports)
        imageChunkCount = 0;
    return imageChunkCount;
}

bool PictureAssembly::take(std::span<const std::uint8_t> report, int copyLength) {
    const int index = nextIndex();
    if (index == 0 || imageAssemblyBuffer.empty())
        imageAssemblyBuffer.assign(kPreviewPictureBytes, 0);
    const auto pixels =
        static_cast<std::size_t>(std::max(copyLength, kBytesBesidePixels) - kBytesBesidePixels);
    const std::size_t first = std::min(pixels * static_cast<std::size_t>(index), kPreviewPictureBytes);
    const auto carried = report.empty() ? report : report.subspan(1);
    const std::size_t count = std::min({pixels, carried.size(), kPreviewPictureBytes - first});
    std::copy_n(carried.begin(), count, imageAssemblyBuffer.begin() + static_cast<std::ptrdiff_t>(first));
    imageChunkCount = (index + 1) % kCountModulus;
    return index == kReports - 1;
}

std::span<const std::uint8_t, kPreviewPictureBytes> PictureAssembly::picture() const {
    return std::span<const std::uint8_t, kPreviewPictureBytes>(imageAssemblyBuffer);
}

bool PictureAssembly::release() {
    if (imageAssemblyBuffer.empty())
        return false;
    imageAssemblyBuffer = {};
    return true;
}

} // namespace lightpen
