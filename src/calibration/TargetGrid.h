// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/Geometry.h"

namespace lightpen {

// How far the centres of the outer targets stand from the screen's edges: left and right, above and below.
inline constexpr double kTargetSideMargin = 170;
inline constexpr double kTargetUpperMargin = 75;

// How the calibration targets stand on the screen. Pure values and functions; lengths in points.
struct TargetGrid {
    std::int64_t rows = 0;
    std::int64_t columns = 0;
    friend bool operator==(const TargetGrid&, const TargetGrid&) = default;

    // 25: 5 by 5, 9: 3 by 3, 80: 8 rows of 10, anything else: 2 by 2.
    static TargetGrid forTotalPoints(std::int64_t totalPoints);

    // Whether the grid has cells, and a list of so many points reaches its last target.
    bool isCoveredBy(std::size_t pointCount) const;
};

// The size of every calibrator's rectangle, in whole points: the part of the screen between two targets, less
// both margins. It is the first cell's size, which inner cells take over as it is.
struct CellSize {
    std::int32_t width = 0;
    std::int32_t height = 0;
    friend bool operator==(const CellSize&, const CellSize&) = default;
};
// The screen in points; of no use for a grid without cells.
CellSize cellSize(const TargetGrid& grid, Size screen);

// One cell: where its four targets stand in the list of points (upper left, upper right, lower left, lower
// right), and its rectangle on the screen.
struct TargetCell {
    std::array<std::size_t, 4> points{};
    ScreenRect rectangle;
    friend bool operator==(const TargetCell&, const TargetCell&) = default;
};

// The cells row by row. For grids that are covered by a list of points; others have none.
std::vector<TargetCell> targetCells(const TargetGrid& grid, CellSize size);

} // namespace lightpen
