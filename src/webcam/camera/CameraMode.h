// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lightpen::webcam {

// The formats that are read here, the cheapest first.
enum class PixelFormat {
    grey,  // GREY: one byte a pixel
    yuyv,  // YUYV: every other byte is brightness
    mjpeg, // MJPG: each picture a JPEG
};

// The kernel's letters for it: "GREY", "YUYV" or "MJPG".
const char* nameOf(PixelFormat format);

// One way in which a camera can send pictures.
struct CameraMode {
    PixelFormat format = PixelFormat::grey;
    int width = 0;   // pixels
    int height = 0;  // pixels
    double rate = 0; // pictures a second; 0 when the camera does not tell
    bool operator==(const CameraMode&) const = default;
};

// A rate for people, with one decimal where it has one.
std::string textOfRate(double rate);
// "1280 x 720 MJPG at 60 a second", for people.
std::string textOf(const CameraMode& mode);

// Whether the pen is better followed in the first mode than in the second. Up to 60 a second the rate decides
// before the size; all that are faster count the same. Then the larger up to 1280 x 1024 goes before, then
// the faster, then the cheaper format. Pictures below 320 x 240 are too coarse and come last.
bool isBetter(const CameraMode& first, const CameraMode& second);

// The best first; those that are as good in their order. Each mode once.
void sortByUse(std::vector<CameraMode>& modes);

} // namespace lightpen::webcam
