// SPDX-License-Identifier: MIT
#include "webcam/sight/CellGrid.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace lightpen::webcam {

namespace {

constexpr int kSide = CellGrid::kSide;
// Cells are measured so many at a time, side by side. All loops over their pixels have a fixed length and no
// branch, so that the compiler makes vectors of them.
constexpr int kBlock = 4;

using Levels = std::array<std::uint8_t, kBlock * kSide>;

void raise(Levels& levels, const std::uint8_t* pixels) {
    for (std::size_t i = 0; i < levels.size(); ++i)
        levels[i] = std::max(levels[i], pixels[i]);
}

// Halves the cells' levels until one of each is left. Levels of neighbours mix, but never those that are
// read.
void reduce(Levels& levels) {
    for (std::size_t step = kSide / 2; step > 0; step /= 2)
        for (std::size_t i = 0; i + kSide / 2 < levels.size(); ++i)
            levels[i] = std::max(levels[i], levels[i + step]);
}

std::uint8_t brightestOf(const GreyView& picture, int left, int right, int top, int bottom) {
    std::uint8_t level = 0;
    for (int y = top; y < bottom; ++y)
        level = std::max(level, *std::max_element(picture.row(y) + left, picture.row(y) + right));
    return level;
}

int cellsOf(int pixels) {
    return (pixels - 1) / kSide + 1;
}

// The cell of a place along one side of the picture; an end of it where the place is beyond.
int cellAt(double place, int cells) {
    return static_cast<int>(std::clamp(std::floor(place / kSide), 0.0, static_cast<double>(cells)));
}

} // namespace

void CellGrid::resize(int width, int height) {
    width_ = width;
    height_ = height;
    columns_ = cellsOf(width);
    rows_ = cellsOf(height);
    now_.assign(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_), 0);
    before_.assign(now_.size(), 0);
}

CellGrid::Area CellGrid::around(double x, double y, double reach) const {
    return {cellAt(x - reach, columns_), cellAt(y - reach, rows_), cellAt(x + reach + kSide, columns_),
            cellAt(y + reach + kSide, rows_)};
}

void CellGrid::measure(const GreyView& picture, const Area& area) {
    for (int row = area.top; row < area.bottom; ++row)
        measureRow(picture, area, row);
}

void CellGrid::measureRow(const GreyView& picture, const Area& area, int row) {
    const int top = row * kSide;
    const int bottom = std::min(top + kSide, height_);
    int column = area.left;
    for (; column + kBlock <= area.right && (column + kBlock) * kSide <= width_; column += kBlock) {
        Levels levels{};
        for (int y = top; y < bottom; ++y)
            raise(levels, picture.row(y) + column * kSide);
        reduce(levels);
        for (int i = 0; i < kBlock; ++i)
            now_[index(column + i, row)] = levels[static_cast<std::size_t>(i * kSide)];
    }
    for (; column < area.right; ++column)
        now_[index(column, row)] =
            brightestOf(picture, column * kSide, std::min((column + 1) * kSide, width_), top, bottom);
}

CellGrid::Pixel CellGrid::brightestPixel(const GreyView& picture, int column, int row) const {
    const int left = column * kSide;
    const int right = std::min(left + kSide, width_);
    const int bottom = std::min((row + 1) * kSide, height_);
    const int level = brightest(column, row);
    for (int y = row * kSide; y < bottom; ++y) {
        const std::uint8_t* const end = picture.row(y) + right;
        const std::uint8_t* const found = std::find(picture.row(y) + left, end, level);
        if (found != end)
            return {static_cast<int>(found - picture.row(y)), y};
    }
    return {left, row * kSide};
}

} // namespace lightpen::webcam
