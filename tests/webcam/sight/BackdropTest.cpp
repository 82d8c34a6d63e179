// SPDX-License-Identifier: MIT
#include "webcam/sight/Backdrop.h"

#include <cstdlib>

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

TEST_F(BackdropTest, AnAreaBeyondTheLastCellIsNone) {
    for (const CellGrid::Area& area :
         {CellGrid::Area{6, 5, 6, 5}, {6, 0, 6, 5}, {0, 5, 6, 5}, {2, 3, 2, 3}}) {
        backdrop.learn(grey.view(), area, {});
        backdrop.learnAround(grey.view(), area, {80, 60, 4, 200});
    }
    EXPECT_EQ(levelBehind(kWidth - 1, kHeight - 1), 0);
    EXPECT_EQ(levelBehind(32, 48), 0);
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

TEST_F(BackdropTest, ALineOfThePensLightDoesNotMakeItAnotherAWideBandDoes) {
    backdrop.learn(grey.view(), kAll, {});
    DrawnPicture line = grey;
    line.rectangle(20, 33, 50, 5, 250);
    EXPECT_TRUE(backdrop.isBehind(line.view(), {45, 35}, kReach));
    line.rectangle(20, 28, 50, 15, 250);
    EXPECT_FALSE(backdrop.isBehind(line.view(), {45, 35}, kReach));
}

TEST_F(BackdropTest, WhatIsNotKnownIsAsBrightAsTheBrightestAround) {
    backdrop.learn(grey.view(), kAll, {});
    DrawnPicture slide(kWidth, kHeight, 10);
    slide.rectangle(0, 30, kWidth, 6, 130);
    slide.rectangle(45, 35 - kReach, 2, 2, 250); // too small to count
    EXPECT_EQ(backdrop.guess(slide.view(), {45, 35}, kReach), 130);
    EXPECT_EQ(levelBehind(45, 35), 130);
    EXPECT_EQ(levelBehind(45 + kReach, 35 - kReach), 130);
    EXPECT_EQ(levelBehind(46 + kReach, 35), 90);
    EXPECT_EQ(levelBehind(45, 36 + kReach), 90);
}

TEST_F(BackdropTest, AroundASinglePixelNothingIsKnown) {
    backdrop.resize(1, 1);
    const DrawnPicture single(1, 1, 90);
    EXPECT_TRUE(backdrop.isBehind(single.view(), {0, 0}, kReach));
    EXPECT_EQ(backdrop.guess(single.view(), {0, 0}, kReach), 0);
    const auto part = backdrop.takenOff(single.view(), {0, 0}, kReach);
    EXPECT_EQ(part.view.width * part.view.height, 1);
    EXPECT_EQ(part.height, 90);
}

// A wide light on both halves of a screen, of which the left one leaves the sensor only so much room for it.
struct LightOverTwoHalves : BackdropTest {
    Backdrop::Part partOver(int left, int right) {
        DrawnPicture halves(kWidth, kHeight, right);
        halves.rectangle(0, 0, 45, kHeight, left);
        backdrop.learn(halves.view(), kAll, {});
        light = halves.rectangle(40, 30, 10, 10, 255);
        return backdrop.takenOff(light.view(), {45, 35}, kReach);
    }
    static int levelAt(const Backdrop::Part& part, int x, int y) {
        return part.view.row(y - part.top)[x - part.left];
    }
    DrawnPicture light{kWidth, kHeight};
};

TEST_F(LightOverTwoHalves, NoMoreIsLeftThanTheSensorShowsWhereverThePenMayBe) {
    const auto part = partOver(150, 10);
    EXPECT_EQ(levelAt(part, 41, 35), 105);
    EXPECT_EQ(levelAt(part, 48, 35), 105);
    EXPECT_EQ(levelAt(part, 38, 35), 0);
}

TEST_F(LightOverTwoHalves, TheBrightestPixelAndItsHeightAreThoseBeforeTheCut) {
    const auto part = partOver(150, 10);
    EXPECT_GE(part.brightest.x + part.left, 45);
    EXPECT_EQ(levelAt(part, part.brightest.x + part.left, part.brightest.y + part.top), 105);
    EXPECT_EQ(part.height, 245);
}

TEST_F(LightOverTwoHalves, NothingIsCutWhereNextToNothingWouldBeLeft) {
    EXPECT_EQ(levelAt(partOver(250, 10), 48, 35), 245);
}

// Neither the bytes that are taken together nor the last ones of a row turn round.
TEST_F(BackdropTest, WhatHasBecomeDarkerIsBlack) {
    backdrop.learn(grey.view(), kAll, {});
    const DrawnPicture darker(kWidth, kHeight, 40);
    const auto part = backdrop.takenOff(darker.view(), {45, 35}, kReach);
    for (int x = 0; x < part.view.width; ++x)
        EXPECT_EQ(part.view.row(5)[x], 0) << x;
    EXPECT_EQ(part.height, 0);
}

TEST_F(BackdropTest, AllOfARowIsTakenOff) {
    grey.rectangle(0, 0, kWidth, 35, 70);
    backdrop.learn(grey.view(), kAll, {});
    const DrawnPicture brighter(kWidth, kHeight, 200);
    const auto part = backdrop.takenOff(brighter.view(), {45, 35}, kReach);
    for (int x = 0; x < part.view.width; ++x) {
        EXPECT_EQ(part.view.row(5)[x], 130) << x;
        EXPECT_EQ(part.view.row(part.view.height - 1)[x], 110) << x;
    }
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
