// SPDX-License-Identifier: MIT
// What a camera before a screen sees, for the benches of what reads it.
#pragma once

#include <algorithm>
#include <random>

#include "kit/sight/DrawnPicture.h"

namespace lightpen::bench {

// A dark room with a slide, in the noise of a camera; as wide as cameras of this height are.
inline webcam::DrawnPicture room(int height) {
    std::mt19937 random(1);
    const int width = height == 480 ? 640 : height * 16 / 9;
    return webcam::DrawnPicture(width, height)
        .rectangle(width / 4, height / 4, width / 2, height / 2, 70)
        .noise(2, random);
}

// The same with a pen, which has moved so many pixels to the right.
inline webcam::DrawnPicture roomWithPen(int height, int moved = 0) {
    webcam::DrawnPicture picture = room(height);
    return picture.spot(picture.width() * 0.4 + moved, height * 0.6, std::max(1.6, height / 300.0), 200);
}

} // namespace lightpen::bench
