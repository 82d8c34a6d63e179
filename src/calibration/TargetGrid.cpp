// SPDX-License-Identifier: MIT
#include "calibration/TargetGrid.h"

#include <cmath>
#include <limits>

namespace lightpen {

namespace {

// Towards zero; what no 32-bit number can hold (a grid of one row divides by nothing) becomes the nearest
// one that can, and what is no number becomes 0.
std::int32_t truncated(double value) {
    constexpr double low = std::numeric_limits<std::int32_t>::min();
    constexpr double high = std::numeric_limits<std::int32_t>::max();
    if (std::isnan(value))
        return 0;
    return static_cast<std::int32_t>(std::fmin(std::fmax(value, low), high));
}

} // namespace

TargetGrid TargetGrid::forTotalPoints(std::int64_t totalPoints) {
    switch (totalPoints) {
    case 25:
        return {5, 5};
    case 9:
        return {3, 3};
    case 80:
        return {8, 10};
    default:
        return {2, 2};
    }
}

bool TargetGrid::isCoveredBy(std::size_t pointCount) const {
    if (rows < 2 || columns < 2)
        return false;
    // By division: the product of two sizes that anybody may set can overflow.
    return pointCount / static_cast<std::size_t>(columns) >= static_cast<std::size_t>(rows);
}

CellSize cellSize(const TargetGrid& grid, Size screen) {
    return {truncated(screen.width / (static_cast<double>(grid.columns) - 1) - 2 * kTargetSideMargin),
            truncated(screen.height / (static_cast<double>(grid.rows) - 1) - 2 * kTargetUpperMargin)};
}

std::vector<TargetCell> targetCells(const TargetGrid& grid, CellSize size) {
    std::vector<TargetCell> cells;
    const auto rows = static_cast<std::size_t>(grid.rows < 2 ? 1 : grid.rows);
    const auto columns = static_cast<std::size_t>(grid.columns < 2 ? 1 : grid.columns);
    cells.reserve((rows - 1) * (columns - 1));
    double y = kTargetUpperMargin;
    for (std::size_t row = 0; row + 1 < rows; ++row) {
        double x = kTargetSideMargin;
        for (std::size_t column = 0; column + 1 < columns; ++column) {
            const std::size_t upper = row * columns + column;
            const std::size_t lower = upper + columns;
            cells.push_back({{upper, upper + 1, lower, lower + 1},
                             {{x, y}, {static_cast<double>(size.width), static_cast<double>(size.height)}}});
            x += size.width;
        }
        y += size.height;
    }
    return cells;
}

} // namespace lightpen
