// SPDX-License-Identifier: MIT
#include "webcam/sight/Backdrop.h"

#include <gtest/gtest.h>

#include "kit/sight/DrawnPicture.h"

namespace lightpen::webcam {
namespace {

// Neither is a whole number of cells.
constexpr int kWidth = 90;
constexpr int kHeight = 70;
constexpr int kReach = 12;
constexpr CellGrid::Area kAll{0, 0, 6, 5};

struct BackdropTest : testing::Test {
    BackdropTest() { backdrop.resize(kWidth, kHeight); }

    // The backdrop's level there: what a picture that is brighter has lost.
    int levelBehind(int x, int y) {
        constexpr int kBrighter = 140;
        const DrawnPicture brighter(kWidth, kHeight, kBrighter);
        const auto part = backdrop.takenOff(brighter.view(), {x, y}, 0);
        return kBrighter - part.view.row(0)[0];
    }

    Backdrop backdrop;
    DrawnPicture grey{kWidth, kHeight, 90, 3};
};

TEST_F(BackdropTest, IsBlackAtFirst) {
    EXPECT_EQ(levelBehind(0, 0), 0);
    EXPECT_EQ(levelBehind(kWidth - 1, kHeight - 1), 0);
    EXPECT_FALSE(backdrop.isBehind(grey.view(), {40, 40}, kReach));
}

TEST_F(BackdropTest, TakesOverAWholePicture) {
    backdrop.learn(grey.view(), kAll, {});
    for (const int x : {0, 47, kWidth - 1})
        for (const int y : {0, 33, kHeight - 1})
            EXPECT_EQ(levelBehind(x, y), 90) << x << " " << y;
    for (const CellGrid::Pixel middle : {CellGrid::Pixel{40, 40}, {0, 0}, {kWidth - 1, 5}})
        EXPECT_TRUE(backdrop.isBehind(grey.view(), middle, kReach));
}

TEST_F(BackdropTest, LeavesCellsThatMayShowThePenAndTheirNeighboursOut) {
    const CellGrid::Cell pens[] = {{0, 1}, {3, 1}, {5, 4}};
    backdrop.learn(grey.view(), kAll, pens);
    for (int row = 0; row < kAll.bottom; ++row)
        for (int column = 0; column < kAll.right; ++column) {
            bool beside = false;
            for (const auto& pen : pens)
                beside = beside || (std::abs(pen.column - column) <= 1 && std::abs(pen.row - row) <= 1);
            EXPECT_EQ(levelBehind(column * 16 + 5, row * 16 + 2), beside ? 0 : 90) << column << " " << row;
        }
}

TEST_F(BackdropTest, TakesOverNothingBesideItsArea) {
    backdrop.learn(grey.view(), {1, 2, 3, 4}, {});
    EXPECT_EQ(levelBehind(15, 40), 0);
    EXPECT_EQ(levelBehind(16, 32), 90);
    EXPECT_EQ(levelBehind(47, 63), 90);
    EXPECT_EQ(levelBehind(48, 40), 0);
    EXPECT_EQ(levelBehind(20, 31), 0);
    EXPECT_EQ(levelBehind(20, 64), 0);
}

TEST_F(BackdropTest, LeavesThePensLightOut) {
    backdrop.learnAround(grey.view(), kAll, {30.4, 20.9, 4, 200});
    EXPECT_EQ(levelBehind(30, 20), 0);
    EXPECT_EQ(levelBehind(41, 31), 0); // twice its size and a little
    EXPECT_EQ(levelBehind(42, 20), 90);
    EXPECT_EQ(levelBehind(30, 32), 90);
    EXPECT_EQ(levelBehind(18, 20), 90);
    EXPECT_EQ(levelBehind(30, 8), 90);
}

TEST_F(BackdropTest, ALightBesideTheAreaKeepsNothingOfIt) {
    backdrop.learnAround(grey.view(), {0, 0, 2, 2}, {80, 60, 4, 200});
    EXPECT_EQ(levelBehind(31, 31), 90);
    EXPECT_EQ(levelBehind(32, 31), 0);
}

TEST_F(BackdropTest, ThePensOwnLightAndSomethingSmallDoNotMakeItAnother) {
    backdrop.learn(grey.view(), kAll, {});
    grey.spot(45, 35, 2, 150);
    EXPECT_TRUE(backdrop.isBehind(grey.view(), {45, 35}, kReach));
    grey.rectangle(45 + kReach, 33, 4, 5, 200);
    EXPECT_TRUE(backdrop.isBehind(grey.view(), {45, 35}, kReach));
    grey.rectangle(45 + kReach, 20, 9, 30, 200);
    EXPECT_FALSE(backdrop.isBehind(grey.view(), {45, 35}, kReach));
}

TEST_F(BackdropTest, WhatIsNotKnownIsAsBrightAsTheBrightestAround) {
    backdrop.learn(grey.view(), kAll, {});
    DrawnPicture slide(kWidth, kHeight, 10);
    slide.rectangle(0, 30, kWidth, 6, 130);
    backdrop.guess(slide.view(), {45, 35}, kReach);
    EXPECT_EQ(levelBehind(45, 35), 130);
    EXPECT_EQ(levelBehind(45 + kReach, 35 - kReach), 130);
    EXPECT_EQ(levelBehind(46 + kReach, 35), 90);
    EXPECT_EQ(levelBehind(45, 36 + kReach), 90);
}

TEST_F(BackdropTest, NoMoreIsLeftThanTheSensorShowsWhereverThePenMayBe) {
    DrawnPicture half(kWidth, kHeight, 10);
    half.rectangle(0, 0, 45, kHeight, 150);
    backdrop.learn(half.view(), kAll, {});
    half.rectangle(40, 30, 10, 10, 255);
    const auto part = backdrop.takenOff(half.view(), {45, 35}, kReach);
    EXPECT_EQ(part.view.row(35 - part.top)[41 - part.left], 105);
    EXPECT_EQ(part.view.row(35 - part.top)[48 - part.left], 105);
    EXPECT_EQ(part.view.row(35 - part.top)[38 - part.left], 0);
}

TEST_F(BackdropTest, AnAlmostWhiteOneCutsNothing) {
    DrawnPicture half(kWidth, kHeight, 10);
    half.rectangle(0, 0, 45, kHeight, 250);
    backdrop.learn(half.view(), kAll, {});
    half.rectangle(40, 30, 10, 10, 255);
    const auto part = backdrop.takenOff(half.view(), {45, 35}, kReach);
    EXPECT_EQ(part.view.row(35 - part.top)[48 - part.left], 245);
}

TEST_F(BackdropTest, APartEndsWhereThePictureDoes) {
    const auto corner = backdrop.takenOff(grey.view(), {2, 3}, kReach);
    EXPECT_EQ(corner.left, 0);
    EXPECT_EQ(corner.top, 0);
    EXPECT_EQ(corner.view.width, 2 + kReach + 1);
    EXPECT_EQ(corner.view.height, 3 + kReach + 1);
    const auto other = backdrop.takenOff(grey.view(), {kWidth - 1, kHeight - 1}, kReach);
    EXPECT_EQ(other.left, kWidth - 1 - kReach);
    EXPECT_EQ(other.view.width, kReach + 1);
    EXPECT_TRUE(other.view.whole());
}

} // namespace
} // namespace lightpen::webcam
