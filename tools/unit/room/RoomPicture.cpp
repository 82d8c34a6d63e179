// SPDX-License-Identifier: MIT
#include "unit/room/RoomPicture.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "unit/wire/PenReports.h"

namespace lightpen {

namespace {

constexpr std::uint8_t kDimRoom = 12;
constexpr std::uint8_t kDarkScreen = 34; // a projector's black is none
constexpr std::uint8_t kFilteredScreen = 70;
constexpr std::uint8_t kBrightDesktop = 150;
constexpr std::uint8_t kWhite = 255;
constexpr int kPixel = kCameraWidth / kPictureWidth; // camera units a pixel
constexpr int kSamples = 4;                          // a pixel's side, where the screen's edge crosses it

// How far from its middle a light is white, and where its halo ends, in pixels.
struct Glow {
    double white = 0;
    double end = 0;
};
constexpr Glow kSpot{2.2, 2.6};
constexpr Glow kForeignLight{2.2, 6};

void drawLight(Picture& picture, CameraPoint light, Glow glow) {
    if (!(light.x >= 0 && light.x <= kCameraWidth && light.y >= 0 && light.y <= kCameraHeight))
        return;
    for (int row = 0; row < kPictureHeight; ++row)
        for (int column = 0; column < kPictureWidth; ++column) {
            const double distance = std::hypot(column + 0.5 - light.x / kPixel, row + 0.5 - light.y / kPixel);
            const double share = std::clamp((glow.end - distance) / (glow.end - glow.white), 0.0, 1.0);
            auto& pixel = picture[static_cast<std::size_t>(row * kPictureWidth + column)];
            pixel = std::max(pixel, static_cast<std::uint8_t>(share * kWhite));
        }
}

using Corners = std::array<CameraPoint, 4>;

// Inside when it lies on the same side of all four edges.
bool inside(const Corners& corners, double x, double y) {
    int left = 0;
    int right = 0;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const CameraPoint& from = corners[i];
        const CameraPoint& to = corners[(i + 1) % corners.size()];
        const double side = (to.x - from.x) * (y - from.y) - (to.y - from.y) * (x - from.x);
        left += side >= 0 ? 1 : 0;
        right += side <= 0 ? 1 : 0;
    }
    return left == 4 || right == 4;
}

// How much of a pixel the screen covers, 0 to 1.
double covered(const Corners& corners, int column, int row) {
    int hits = 0;
    for (int sample = 0; sample < kSamples * kSamples; ++sample) {
        const double x = column + (sample % kSamples + 0.5) / kSamples;
        const double y = row + (sample / kSamples + 0.5) / kSamples; // NOLINT(bugprone-integer-division)
        hits += inside(corners, x * kPixel, y * kPixel) ? 1 : 0;
    }
    return static_cast<double>(hits) / (kSamples * kSamples);
}

void drawScreen(Picture& picture, const Corners& corners, std::uint8_t level) {
    for (int row = 0; row < kPictureHeight; ++row)
        for (int column = 0; column < kPictureWidth; ++column) {
            auto& pixel = picture[static_cast<std::size_t>(row * kPictureWidth + column)];
            const double share = covered(corners, column, row);
            pixel = static_cast<std::uint8_t>(std::lround(pixel + share * (level - pixel)));
        }
}

std::uint8_t screenLevel(bool filterOut, bool dark) {
    if (!filterOut)
        return kFilteredScreen;
    return dark ? kDarkScreen : kBrightDesktop;
}

} // namespace

Picture takePicture(const Scene& scene, bool filterOut) {
    Picture picture;
    // Without a screen to be seen, what is displayed lights everything.
    picture.fill(!scene.screen && filterOut && !scene.darkPicture ? kBrightDesktop : kDimRoom);
    if (scene.screen)
        drawScreen(picture, *scene.screen, screenLevel(filterOut, scene.darkPicture));
    if (filterOut)
        for (const CameraPoint& blob : scene.blobs)
            drawLight(picture, blob, kSpot);
    if (scene.strayLight)
        drawLight(picture, *scene.strayLight, kForeignLight);
    if (scene.pen)
        drawLight(picture, *scene.pen, kSpot);
    return picture;
}

} // namespace lightpen
