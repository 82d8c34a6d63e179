// SPDX-License-Identifier: MIT
#include "calibration/TargetGrid.h"

#include <limits>

#include <gtest/gtest.h>

namespace lightpen {
namespace {

constexpr auto kHuge = std::numeric_limits<std::int64_t>::max();
constexpr auto kLow = std::numeric_limits<std::int64_t>::min();

TEST(TargetGridTest, RowsAndColumnsFollowTheNumberOfPoints) {
    EXPECT_EQ(TargetGrid::forTotalPoints(4), (TargetGrid{2, 2}));
    EXPECT_EQ(TargetGrid::forTotalPoints(9), (TargetGrid{3, 3}));
    EXPECT_EQ(TargetGrid::forTotalPoints(25), (TargetGrid{5, 5}));
    EXPECT_EQ(TargetGrid::forTotalPoints(80), (TargetGrid{8, 10}));
    for (const std::int64_t other : {std::int64_t{7}, std::int64_t{0}, std::int64_t{-9}, kHuge})
        EXPECT_EQ(TargetGrid::forTotalPoints(other), (TargetGrid{2, 2}));
}

TEST(TargetGridTest, IsCoveredByAListThatReachesItsLastTarget) {
    EXPECT_FALSE((TargetGrid{2, 2}.isCoveredBy(3)));
    EXPECT_TRUE((TargetGrid{2, 2}.isCoveredBy(4)));
    EXPECT_TRUE((TargetGrid{2, 2}.isCoveredBy(6)));
    EXPECT_FALSE((TargetGrid{8, 10}.isCoveredBy(79)));
    EXPECT_TRUE((TargetGrid{8, 10}.isCoveredBy(80)));
    for (const TargetGrid& odd : {TargetGrid{1, 9},
                                  {9, 1},
                                  {0, 0},
                                  {-2, -2},
                                  {kHuge, kHuge},
                                  {kLow, kLow},
                                  {kHuge, 4},
                                  {std::int64_t{1} << 33, std::int64_t{1} << 33}})
        EXPECT_FALSE(odd.isCoveredBy(80)) << odd.rows << " " << odd.columns;
}

TEST(TargetGridTest, CellSizeIsTheFirstCellLessTheMargins) {
    EXPECT_EQ(cellSize({2, 2}, {1920, 1080}), (CellSize{1580, 930}));
    EXPECT_EQ(cellSize({3, 3}, {1920, 1080}), (CellSize{620, 390}));
    EXPECT_EQ(cellSize({2, 2}, {1366, 768}), (CellSize{1026, 618}));
    EXPECT_EQ(cellSize({5, 5}, {1080, 1920}), (CellSize{-70, 330}));
}

TEST(TargetGridTest, CellSizeIsTruncatedTowardsZero) {
    EXPECT_EQ(cellSize({3, 3}, {1366.5, 769}), (CellSize{343, 234}));
    EXPECT_EQ(cellSize({8, 10}, {1366, 768}), (CellSize{-188, -40})) << "-188.2 and -40.3";
    EXPECT_EQ(cellSize({2, 2}, {0, 0}), (CellSize{-340, -150})) << "no screen";
}

TEST(TargetGridTest, CellSizeOfNoGridIsStillANumber) {
    constexpr auto high = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(cellSize({1, 1}, {1920, 1080}), (CellSize{high, high}));
    EXPECT_EQ(cellSize({1, 1}, {0, 0}), (CellSize{0, 0}));
    EXPECT_EQ(cellSize({0, 0}, {1920, 1080}), (CellSize{-2260, -1230}));
    EXPECT_EQ(cellSize({kLow, kHuge}, {1920, 1080}), (CellSize{-340, -150}));
}

TEST(TargetGridTest, OneCellForFourTargets) {
    const std::vector<TargetCell> cells = targetCells({2, 2}, {1580, 930});
    EXPECT_EQ(cells, (std::vector<TargetCell>{{{0, 1, 2, 3}, {{170, 75}, {1580, 930}}}}));
}

TEST(TargetGridTest, CellsGoRowByRowAndTakeTheFirstOnesSize) {
    const std::vector<TargetCell> cells = targetCells({3, 4}, {620, 390});
    EXPECT_EQ(cells, (std::vector<TargetCell>{
                         {{0, 1, 4, 5}, {{170, 75}, {620, 390}}},
                         {{1, 2, 5, 6}, {{790, 75}, {620, 390}}},
                         {{2, 3, 6, 7}, {{1410, 75}, {620, 390}}},
                         {{4, 5, 8, 9}, {{170, 465}, {620, 390}}},
                         {{5, 6, 9, 10}, {{790, 465}, {620, 390}}},
                         {{6, 7, 10, 11}, {{1410, 465}, {620, 390}}},
                     }));
}

TEST(TargetGridTest, LastCellOfEightyTargetsEndsAtTheLastTarget) {
    const std::vector<TargetCell> cells = targetCells({8, 10}, {-126, 4});
    ASSERT_EQ(cells.size(), 63u);
    EXPECT_EQ(cells.back(), (TargetCell{{68, 69, 78, 79}, {{170 - 8 * 126, 75 + 6 * 4}, {-126, 4}}}));
    EXPECT_EQ(targetCells({5, 5}, {1, 1}).size(), 16u);
}

TEST(TargetGridTest, GridsOfOneRowHaveNoCells) {
    for (const TargetGrid& odd : {TargetGrid{1, 4}, {4, 1}, {0, 0}, {-5, 3}, {3, kLow}})
        EXPECT_TRUE(targetCells(odd, {10, 10}).empty());
}

} // namespace
} // namespace lightpen
