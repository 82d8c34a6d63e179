// SPDX-License-Identifier: MIT
#include "calibration/TargetGrid.h"

#include <cmath>
#include <limits>
#include <ostream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen {

void PrintTo(const WindowPoint& point, std::ostream* stream) {
    *stream << NSStringFromPoint(point);
}

namespace {

using testing::ElementsAre;
using Origins = std::vector<WindowPoint>;

constexpr Size kFullHD{1920, 1080};
constexpr Size kTarget{20, 20};

Origins originsOf(const StepLayout& layout) {
    Origins origins;
    for (std::int64_t step = 0; step < layout.grid.rows * layout.grid.columns; ++step)
        origins.push_back(targetOriginOfStep(layout, step));
    return origins;
}

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

TEST(TargetOriginTest, FourTargetsFromTheUpperLeftRowByRow) {
    EXPECT_THAT(originsOf({{2, 2}, kFullHD, kTarget}),
                ElementsAre(WindowPoint{160, 995}, WindowPoint{1740, 995}, WindowPoint{160, 65},
                            WindowPoint{1740, 65}));
}

TEST(TargetOriginTest, NineTargetsStandLeftOfAndBelowAnEvenDivision) {
    Origins expected;
    for (const double y : {995, 455, 65})
        for (const double x : {160, 780, 1740})
            expected.push_back({x, y});
    EXPECT_EQ(originsOf({{3, 3}, kFullHD, kTarget}), expected);
}

TEST(TargetOriginTest, TwentyFiveOblongTargetsOnALaptopsScreen) {
    Origins expected;
    for (const double y : {669, 477, 285, 93, 51})
        for (const double x : {138.0, 139.5, 481.0, 822.5, 1164.0})
            expected.push_back({x, y});
    EXPECT_EQ(originsOf({{5, 5}, {1366, 768}, {64, 48}}), expected);
}

// Neither division is exact, so the digits show what is rounded to single precision and when.
TEST(TargetOriginTest, EightyTargetsOfOddSizeOnALaptopsScreen) {
    const double xs[] = {153.5,
                         -34.72222900390625,
                         117.0555419921875,
                         268.83331298828125,
                         420.611083984375,
                         572.3888549804688,
                         724.1666259765625,
                         875.9443359375,
                         1027.72216796875,
                         1179.5};
    const double ys[] = {682.5,
                         572.7857131958008,
                         463.07142639160156,
                         353.35713958740234,
                         243.64285278320312,
                         133.9285659790039,
                         24.214279174804688,
                         64.49999237060547};
    Origins expected;
    for (const double y : ys)
        for (const double x : xs)
            expected.push_back({x, y});
    EXPECT_EQ(originsOf({{8, 10}, {1366, 768}, {33, 21}}), expected);
}

TEST(TargetOriginTest, EightyTargetsOnAnUprightScreen) {
    const StepLayout layout{{8, 10}, {1080, 1920}, kTarget};
    EXPECT_EQ(targetOriginOfStep(layout, 1), (WindowPoint{-60, 1835}));
    EXPECT_EQ(targetOriginOfStep(layout, 67), (WindowPoint{660, 189.2857666015625}));
    EXPECT_EQ(targetOriginOfStep(layout, 79), (WindowPoint{900, 65.00006103515625}));
}

TEST(TargetOriginTest, TheFirstTargetStandsAtTheSamePlaceInEveryGrid) {
    for (const Size screen : {kFullHD, Size{1080, 1920}, Size{1023, 767}})
        for (const Size target : {kTarget, Size{33, 21}, Size{64, 64}})
            for (const TargetGrid grid : {TargetGrid{2, 2}, {3, 3}, {5, 5}, {8, 10}})
                EXPECT_EQ(targetOriginOfStep({grid, screen, target}, 0),
                          (WindowPoint{170 - target.width / 2, screen.height - 75 - target.height / 2}));
}

TEST(TargetOriginTest, NoScreenAndNoTargetAreOfSizeZero) {
    EXPECT_THAT(originsOf({{2, 2}, {}, {}}), ElementsAre(WindowPoint{170, -75}, WindowPoint{-170, -75},
                                                         WindowPoint{170, 75}, WindowPoint{-170, 75}));
}

TEST(TargetOriginTest, GridsThatDivideNothingGiveFinitePlaces) {
    for (const TargetGrid grid : {TargetGrid{0, 0}, {1, 1}, {1, 3}, {3, 1}, {-2, -5}})
        for (const std::int64_t step : {0, 1, 2, 7}) {
            const WindowPoint origin = targetOriginOfStep({grid, kFullHD, kTarget}, step);
            EXPECT_TRUE(std::isfinite(origin.x) && std::isfinite(origin.y)) << grid.rows << " " << step;
        }
    EXPECT_EQ(targetOriginOfStep({{3, 1}, kFullHD, kTarget}, 1), (WindowPoint{160, 455}));
}

} // namespace
} // namespace lightpen
