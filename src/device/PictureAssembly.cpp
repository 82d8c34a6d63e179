// SPDX-License-Identifier: MIT
#include "device/PictureAssembly.h"

#include <algorithm>
#include <cstddef>

namespace lightpen {

namespace {

// What a report has beside its pixels, the byte in front of them included.
constexpr int kBytesBesidePixels = 4;

} // namespace

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
