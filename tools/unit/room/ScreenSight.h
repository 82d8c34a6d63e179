// SPDX-License-Identifier: MIT
// What the camera without its infrared filter, and the person who holds the pen, see on a screen. Both look
// at pixels and know nothing of what is shown and why. Pure functions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/Geometry.h"

namespace lightpen {

// What the projector shows, as far as the camera is concerned: compact bright blobs, in screen points, and
// whether all the rest is black.
struct DisplayedPicture {
    std::vector<ScreenPoint> blobs = {};
    bool dark = false;
};

// The pixels of a screen, not owned: rows from top to bottom. A pixel is 32 bits of the machine's own byte
// order with 8 unused ones on top of red, green and blue.
struct ScreenPicture {
    int width = 0; // pixels
    int height = 0;
    std::size_t stride = 0;              // bytes from one row to the next
    std::span<const std::uint8_t> bytes; // rows that do not lie in it whole are not there
    double pointsPerPixel = 1;           // above 0; 0.5 on a screen with a scale of 2
};

// What a camera with a fixed exposure makes of it. Lights that are closer together than about 8 points are
// one blob. A blob's place is the middle of its light, so anti-aliased edges count for as much as they are
// lit; a pixel covers the half-open range from its number to the next. A light that is dim, or longer than a
// sixth of the screen, is no blob, and the picture is then not dark. Blobs come in the order of their topmost
// cell of about 8 points, from left to right within a row of cells.
DisplayedPicture cameraView(const ScreenPicture& picture);

// The place of the one thing on a plain background, as a person would point at it: the middle of what differs
// from the background. A label, at least three times as wide as high and no longer than half of the screen,
// is no such thing. None when there is nothing, more than one thing, or something as large as a window.
std::optional<ScreenPoint> targetSeen(const ScreenPicture& picture);

} // namespace lightpen
