// SPDX-License-Identifier: MIT
#include "unit/wire/Picture.h"

#include <algorithm>

namespace lightpen {

namespace {

constexpr std::uint8_t kBlack = 0;
constexpr std::uint8_t kWhite = 255;

} // namespace

void fillLeftColumn(Picture& picture, bool black) {
    for (std::size_t row = 0; row < picture.size(); row += kPictureWidth)
        picture[row] = black ? kBlack : kWhite;
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
