// SPDX-License-Identifier: MIT
#include "webcam/camera/CameraMode.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace lightpen::webcam {

namespace {

// What the pen's reports need: the unit sends one in 16.8 ms.
constexpr int kFastEnough = 60;
// What a camera does that does not tell.
constexpr int kUsualRate = 30;

// The greater of two of these is the better mode.
auto worthOf(const CameraMode& mode) {
    const int pixels = mode.width * mode.height;
    const bool coarse = mode.width < 320 || mode.height < 240;
    const bool large = pixels > 1280 * 1024;
    const int rate = mode.rate > 0 ? int(std::lround(mode.rate)) : kUsualRate;
    // Beyond what the pen needs each pixel only costs time.
    return std::tuple(!coarse, std::min(rate, kFastEnough), !large, large ? -pixels : pixels, rate,
                      -int(mode.format));
}

} // namespace

const char* nameOf(PixelFormat format) {
    switch (format) {
    case PixelFormat::grey:
        return "GREY";
    case PixelFormat::yuyv:
        return "YUYV";
    case PixelFormat::mjpeg:
        break;
    }
    return "MJPG";
}

std::string textOfRate(double rate) {
    const long tenths = std::lround(rate * 10);
    return std::to_string(tenths / 10) + (tenths % 10 == 0 ? "" : "." + std::to_string(tenths % 10));
}

std::string textOf(const CameraMode& mode) {
    const std::string size = std::to_string(mode.width) + " x " + std::to_string(mode.height) + " ";
    return size + nameOf(mode.format) +
           (mode.rate > 0 ? " at " + textOfRate(mode.rate) + " a second" : std::string());
}

bool isBetter(const CameraMode& first, const CameraMode& second) {
    return worthOf(first) > worthOf(second);
}

void sortByUse(std::vector<CameraMode>& modes) {
    std::stable_sort(modes.begin(), modes.end(), isBetter);
    modes.erase(std::unique(modes.begin(), modes.end()), modes.end());
}

} // namespace lightpen::webcam
