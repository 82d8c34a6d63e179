// SPDX-License-Identifier: MIT
#include "calibration/TargetGrid.h"

#include <cmath>
#include <limits>

namespace lightpen {

namespace {

// Rounds towards zero. A value that does not fit (a grid of one row divides by nothing) becomes the nearest
// one that does, and NaN becomes 0.
std::int32_t truncated(double value) {
    constexpr double low = std::numeric_limits<std::int32_t>::min();
    constexpr double high = std::numeric_limits<std::int32_t>::max();
    if (std::isnan(value))
        return 0;
    return static_cast<std::int32_t>(std::fmin(std::fmax(value, low), high));
}

// The distance from one target to the next; 0 for a single one.
float stepBetween(double length, std::int64_t count) {
    return count < 2 ? 0.0F : static_cast<float>(length / (static_cast<double>(count) - 1));
}

float centreX(float step, std::int64_t column) {
    constexpr auto margin = static_cast<float>(kTargetSideMargin);
    return column == 0 ? margin : static_cast<float>(column) * step - margin;
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
    // By division, since the product of two sizes that a caller sets can overflow.
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

WindowPoint targetOriginOfStep(const StepLayout& layout, std::int64_t step) {
    const auto& [grid, screen, target] = layout;
    const std::int64_t columns = grid.columns < 1 ? 1 : grid.columns;
    const std::int64_t row = step / columns;
    const double margin = row == grid.rows - 1 ? kTargetUpperMargin : -kTargetUpperMargin;
    const double stepY = stepBetween(screen.height, grid.rows);
    return {centreX(stepBetween(screen.width, columns), step % columns) - target.width / 2,
            screen.height - static_cast<double>(row) * stepY - target.height / 2 + margin};
}

} // namespace lightpen
