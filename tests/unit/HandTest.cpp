// SPDX-License-Identifier: MIT
#include "unit/room/Hand.h"

#include <gtest/gtest.h>

#include <chrono>

namespace lightpen {
namespace {

using namespace std::chrono_literals;

TEST(HandTest, AnEmptyScriptNeverTouches) {
    const Hand hand;
    EXPECT_FALSE(hand.at(0s));
    EXPECT_EQ(Microseconds::zero(), hand.duration());
    EXPECT_TRUE(hand.touches().empty());
}

TEST(HandTest, ATapTouchesAndLifts) {
    const Hand hand = Hand().wait(100ms).tap({30, 40});
    EXPECT_FALSE(hand.at(-1us));
    EXPECT_FALSE(hand.at(99'999us));
    EXPECT_EQ((ScreenPoint{30, 40}), hand.at(100ms));
    EXPECT_EQ((ScreenPoint{30, 40}), hand.at(179'999us));
    EXPECT_FALSE(hand.at(180ms));
    EXPECT_EQ(Microseconds(380ms), hand.duration());
}

TEST(HandTest, ADragGoesAlongItsPathAtItsSpeed) {
    // 300 to the right, 400 down, at 100 points a second: 3 s and 4 s.
    const Hand hand = Hand().drag({{0, 0}, {300, 0}, {300, 400}}, 100);
    EXPECT_EQ((ScreenPoint{0, 0}), hand.at(0s));
    EXPECT_EQ((ScreenPoint{150, 0}), hand.at(1500ms));
    EXPECT_EQ((ScreenPoint{300, 0}), hand.at(3s));
    EXPECT_EQ((ScreenPoint{300, 100}), hand.at(4s));
    EXPECT_FALSE(hand.at(7s));
    ASSERT_EQ(1U, hand.touches().size());
    EXPECT_EQ((ScreenPoint{300, 400}), hand.touches()[0].last);
    EXPECT_EQ(Microseconds(7s), hand.touches()[0].end);
}

TEST(HandTest, DegenerateDragsAreHarmless) {
    EXPECT_TRUE(Hand().drag({}, 100).touches().empty());
    const Hand still = Hand().drag({{5, 5}, {5, 5}}, 100);
    EXPECT_FALSE(still.at(0s));
    EXPECT_EQ(Hand::kPause, still.duration());
    const Hand atOnce = Hand().press({0, 0}).stay(10ms).moveTo({90, 0}, 0).stay(10ms).lift();
    EXPECT_EQ((ScreenPoint{0, 0}), atOnce.at(9'999us));
    EXPECT_EQ((ScreenPoint{90, 0}), atOnce.at(10ms));
}

TEST(HandTest, GesturesFollowEachOther) {
    const Hand hand = Hand().tap({1, 2}, 50ms).hold({3, 4}, 2500ms).drag({{5, 6}, {15, 6}}, 10);
    ASSERT_EQ(3U, hand.touches().size());
    EXPECT_EQ(Microseconds(250ms), hand.touches()[1].start);
    EXPECT_EQ(Microseconds(2750ms), hand.touches()[1].end);
    EXPECT_EQ((ScreenPoint{3, 4}), hand.at(2s));
    EXPECT_EQ((ScreenPoint{10, 6}), hand.at(2950ms + 500ms));
}

TEST(HandTest, PressingWhilePressedBeginsANewTouch) {
    const Hand hand = Hand().press({1, 1}).stay(20ms).press({2, 2}).stay(20ms).lift(0ms);
    ASSERT_EQ(2U, hand.touches().size());
    EXPECT_EQ((ScreenPoint{1, 1}), hand.at(19ms));
    EXPECT_EQ((ScreenPoint{2, 2}), hand.at(20ms));
}

TEST(HandTest, MovesWithoutPressDoNotTouch) {
    const Hand hand = Hand().stay(50ms).moveTo({9, 9}, 100);
    EXPECT_FALSE(hand.at(10ms));
    EXPECT_TRUE(hand.touches().empty());
}

TEST(HandTest, TouchesBesideTheScreen) {
    const Size screen{1000, 600};
    const auto where = [&](Hand::Side side) { return *Hand().touchBeside(side, screen, 25).at(0s); };
    EXPECT_EQ((ScreenPoint{-25, 300}), where(Hand::Side::left));
    EXPECT_EQ((ScreenPoint{1025, 300}), where(Hand::Side::right));
    EXPECT_EQ((ScreenPoint{500, -25}), where(Hand::Side::above));
    EXPECT_EQ((ScreenPoint{500, 625}), where(Hand::Side::below));
}

TEST(HandTest, WritesAWordStrokeByStrokeFromLeftToRight) {
    const Hand hand = Hand().write("Li", {100, 200}, 50, 400);
    // L in one stroke, i in two; the i begins one advance of the L further on.
    ASSERT_EQ(3U, hand.touches().size());
    EXPECT_EQ((ScreenPoint{100, 200}), hand.touches()[0].first);
    EXPECT_EQ((ScreenPoint{125, 250}), hand.touches()[0].last);
    EXPECT_DOUBLE_EQ(100 + 0.7 * 50 + 0.05 * 50, hand.touches()[1].first.x);
    for (const Hand::Touch& touch : hand.touches())
        EXPECT_GE(touch.end - touch.start, Microseconds(72ms));
    for (std::size_t next = 1; next < hand.touches().size(); ++next)
        EXPECT_EQ(Hand::kPause, hand.touches()[next].start - hand.touches()[next - 1].end);
}

TEST(HandTest, UnknownCharactersLeaveAGap) {
    const Hand with = Hand().write("L?L", {0, 0}, 100);
    const Hand without = Hand().write("LL", {0, 0}, 100);
    ASSERT_EQ(2U, with.touches().size());
    EXPECT_GT(with.touches()[1].first.x, without.touches()[1].first.x);
}

} // namespace
} // namespace lightpen
