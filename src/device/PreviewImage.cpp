// SPDX-License-Identifier: MIT
#include "device/PreviewImage.h"

namespace lightpen {

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

} // namespace lightpen
