// SPDX-License-Identifier: MIT
#include "emulator/Picture.h"

#include <algorithm>

#include "emulator/PenReports.h"

namespace lightpen {

namespace {

constexpr std::uint8_t kBlack = 0;
constexpr std::uint8_t kDimRoom = 12;
constexpr std::uint8_t kBrightDesktop = 150;
constexpr std::uint8_t kWhite = 255;
constexpr int kPixel = kCameraWidth / kPictureWidth; // camera units a pixel

void drawLight(Picture& picture, CameraPoint light) {
    if (light.x < 0 || light.x > kCameraWidth || light.y < 0 || light.y > kCameraHeight)
        return;
    const int column = static_cast<int>(light.x) / kPixel;
    const int row = static_cast<int>(light.y) / kPixel;
    for (int y = std::max(row - 1, 0); y <= std::min(row + 1, kPictureHeight - 1); ++y)
        for (int x = std::max(column - 1, 0); x <= std::min(column + 1, kPictureWidth - 1); ++x)
            picture[static_cast<std::size_t>(y * kPictureWidth + x)] = kWhite;
}

} // namespace

Picture takePicture(const Scene& scene, bool filterOut, bool blackLeftColumn) {
    Picture picture;
    picture.fill(filterOut && !scene.darkPicture ? kBrightDesktop : kDimRoom);
    if (filterOut)
        for (const CameraPoint& blob : scene.blobs)
            drawLight(picture, blob);
    if (scene.strayLight)
        drawLight(picture, *scene.strayLight);
    if (scene.pen)
        drawLight(picture, *scene.pen);
    for (std::size_t row = 0; row < picture.size(); row += kPictureWidth)
        picture[row] = blackLeftColumn ? kBlack : kWhite;
    return picture;
}

ReportBytes pictureReport(const Picture& picture, unsigned index, std::size_t reportLength) {
    ReportBytes report(reportLength);
    if (reportLength <= 4)
        return report;
    const std::size_t pixels = reportLength - 4;
    const std::size_t first = std::min(pixels * index, picture.size());
    const std::size_t count = std::min(pixels, picture.size() - first);
    std::copy_n(picture.begin() + static_cast<std::ptrdiff_t>(first), count, report.begin() + 1);
    return report;
}

} // namespace lightpen
