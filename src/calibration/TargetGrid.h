// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/Geometry.h"

namespace lightpen {

// How far the centres of the outer targets stand from the screen's edges, in points: left and right, above
// and below.
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

// The size of every calibrator's rectangle, in whole points. It is what the first cell of an even division
// has less both margins; inner cells have the same size.
struct CellSize {
    std::int32_t width = 0;
    std::int32_t height = 0;
    friend bool operator==(const CellSize&, const CellSize&) = default;
};
// The screen is in points. For a grid without cells the result means nothing.
CellSize cellSize(const TargetGrid& grid, Size screen);

// One cell of the grid.
struct TargetCell {
    // The indices of its points in the list: upper left, upper right, lower left, lower right.
    std::array<std::size_t, 4> points{};
    ScreenRect rectangle;
    friend bool operator==(const TargetCell&, const TargetCell&) = default;
};

// The cells, row by row; empty for a grid of one row or column. The grid must be covered by a list of points.
std::vector<TargetCell> targetCells(const TargetGrid& grid, CellSize size);

// What decides where targets stand in the window of a session; lengths in points.
struct StepLayout {
    TargetGrid grid;
    Size screen;
    Size target;
};

// The lower left corner of the target of a step. Steps count from 0, row by row from the upper left. Inner
// targets stand left of and below an even division, by the margins. The distance between targets is of single
// precision, and so is the centre's x. A grid without columns counts as one column; rows that cannot divide
// the screen have no height.
WindowPoint targetOriginOfStep(const StepLayout& layout, std::int64_t step);

} // namespace lightpen
