// SPDX-License-Identifier: MIT
#include "kernel/room/BrightPlace.h"

#include <cstring>

namespace lightpen {

namespace {

// Pixels are looked at eight at a time; a bright one has its highest bit set.
constexpr std::size_t kTogether = 8;
constexpr std::uint64_t kAnyBright = 0x8080808080808080;
static_assert(kBrightPlace == 0x7F);

} // namespace

std::optional<PicturePoint> brightPlace(std::span<const std::uint8_t> grey, PictureSize size) {
    double mass = 0;
    PicturePoint sum;
    const auto width = static_cast<std::size_t>(size.width);
    for (std::size_t pixel = 0; pixel < grey.size();) {
        std::uint64_t together = 0;
        if (pixel + kTogether <= grey.size())
            std::memcpy(&together, &grey[pixel], kTogether);
        if (pixel + kTogether <= grey.size() && !(together & kAnyBright)) {
            pixel += kTogether;
            continue;
        }
        if (grey[pixel] > kBrightPlace) {
            const double light = grey[pixel] - kBrightPlace;
            mass += light;
            sum.x += light * (static_cast<double>(pixel % width) + 0.5);
            sum.y += light * (static_cast<double>(pixel / width) + 0.5);
        }
        ++pixel;
    }
    if (mass == 0)
        return std::nullopt;
    return PicturePoint{sum.x / mass, sum.y / mass};
}

} // namespace lightpen
