// SPDX-License-Identifier: MIT
#include "unit/room/Homography.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lightpen {
namespace {

void expectNear(PlanePoint expected, PlanePoint found) {
    EXPECT_NEAR(expected.x, found.x, 1e-9);
    EXPECT_NEAR(expected.y, found.y, 1e-9);
}

TEST(HomographyTest, TakesCornersToCornersAndTheCrossingOfTheDiagonalsToTheirs) {
    // A trapezium: the diagonals of (0,0) (6,0) (4,4) (2,4) cross at (3, 3).
    const auto mapping = Homography::ofRectangle(1, 1, {PlanePoint{0, 0}, {6, 0}, {4, 4}, {2, 4}});
    ASSERT_TRUE(mapping);
    expectNear({0, 0}, mapping->map({0, 0}));
    expectNear({6, 0}, mapping->map({1, 0}));
    expectNear({4, 4}, mapping->map({1, 1}));
    expectNear({2, 4}, mapping->map({0, 1}));
    expectNear({3, 3}, mapping->map({0.5, 0.5}));
}

TEST(HomographyTest, MatchesAMappingWorkedOutByHand) {
    // x' = (2x + 1) / (x + 1), y' = 3y / (x + 1): its corners are (1,0), (1.5,0), (1.5,1.5), (1,3).
    const auto mapping = Homography::ofRectangle(1, 1, {PlanePoint{1, 0}, {1.5, 0}, {1.5, 1.5}, {1, 3}});
    ASSERT_TRUE(mapping);
    expectNear({7.0 / 4.0, 6.0 / 4.0}, mapping->map({3, 2}));
    expectNear({4.0 / 2.5, 2.25 / 2.5}, mapping->map({1.5, 0.75}));
    EXPECT_NEAR(4.0, mapping->depth({3, 2}), 1e-9);
}

TEST(HomographyTest, IsAffineForAParallelogram) {
    const auto mapping = Homography::ofRectangle(100, 50, {PlanePoint{1, 1}, {3, 2}, {2, 5}, {0, 4}});
    ASSERT_TRUE(mapping);
    expectNear({1.5, 3}, mapping->map({50, 25}));
    EXPECT_NEAR(mapping->depth({10, 20}), mapping->depth({500, -90}), 1e-9);
}

TEST(HomographyTest, TheInverseMapsBack) {
    const auto mapping =
        Homography::ofRectangle(1280, 800, {PlanePoint{610, 420}, {2090, 260}, {2270, 1650}, {330, 1430}});
    ASSERT_TRUE(mapping);
    const Homography back = mapping->inverse();
    for (double x = -200; x <= 1480; x += 140)
        for (double y = -100; y <= 900; y += 125)
            expectNear({x, y}, back.map(mapping->map({x, y})));
}

TEST(HomographyTest, ThereIsNoneForThreeCornersOnALineOrWithoutAnArea) {
    const Homography::Corners onALine{PlanePoint{0, 0}, {1, 1}, {2, 2}, {0, 5}};
    const Homography::Corners equal{PlanePoint{0, 0}, {0, 0}, {2, 2}, {0, 5}};
    const Homography::Corners square{PlanePoint{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    EXPECT_FALSE(Homography::ofRectangle(1, 1, onALine));
    EXPECT_FALSE(Homography::ofRectangle(1, 1, equal));
    EXPECT_FALSE(Homography::ofRectangle(0, 1, square));
    EXPECT_FALSE(Homography::ofRectangle(1, 0, square));
}

TEST(HomographyTest, AtTheHorizonNothingIsFinite) {
    const auto mapping = Homography::ofRectangle(1, 1, {PlanePoint{1, 0}, {1.5, 0}, {1.5, 1.5}, {1, 3}});
    ASSERT_TRUE(mapping);
    EXPECT_NEAR(0, mapping->depth({-1, 0.5}), 1e-9);
    EXPECT_LT(mapping->depth({-2, 0.5}), 0);
    EXPECT_GT(std::abs(mapping->map({-1, 0.5}).y), 1e6);
}

} // namespace
} // namespace lightpen
