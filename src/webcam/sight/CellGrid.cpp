// SPDX-License-Identifier: MIT
#include "webcam/sight/CellGrid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace lightpen::webcam {

namespace {

constexpr int kSide = CellGrid::kSide;
// The levels of a cell's columns, which are compared all at once. Compilers make that of an ordinary loop at
// some levels of optimisation, and something ten times as slow at others.
using Levels [[gnu::vector_size(kSide)]] = std::uint8_t;

// The brightest pixel of a cell that is as wide as any.
std::uint8_t brightestOfWide(const GreyView& picture, int left, int top, int bottom) {
    Levels levels{};
    for (int y = top; y < bottom; ++y) {
        Levels row;
        std::memcpy(&row, picture.row(y) + left, sizeof row);
        levels = levels > row ? levels : row;
    }
    std::array<std::uint8_t, kSide> columns{};
    std::memcpy(columns.data(), &levels, sizeof levels);
    return *std::max_element(columns.begin(), columns.end());
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
    for (; column < area.right && (column + 1) * kSide <= width_; ++column)
        now_[index(column, row)] = brightestOfWide(picture, column * kSide, top, bottom);
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
