// SPDX-License-Identifier: MIT
#include "emulated/DrawnGesture.h"

#include <gtest/gtest.h>

namespace lightpen {
namespace {

using namespace std::chrono_literals;

constexpr Microseconds kStart = 7s;
constexpr double kClose = 1e-6;

class DrawnGestureTest : public testing::Test {
protected:
    void expectPen(const Hand& hand, Microseconds time, ScreenPoint place) {
        const auto pen = hand.at(DrawnGesture::kPause + time);
        ASSERT_TRUE(pen);
        EXPECT_NEAR(pen->x, place.x, kClose);
        EXPECT_NEAR(pen->y, place.y, kClose);
    }
    CameraPoint at(double x, double y) const { return optics.project({x, y}); }

    Optics optics = Optics::strongKeystone({1280, 800});
    DrawnGesture gesture;
};

TEST_F(DrawnGestureTest, AClickIsATap) {
    gesture.press(at(900, 130), kStart);
    const auto hand = gesture.release(at(900, 130), kStart + 90ms, optics);
    ASSERT_TRUE(hand);
    EXPECT_FALSE(hand->at(DrawnGesture::kPause - 1us));
    expectPen(*hand, 0us, {900, 130});
    expectPen(*hand, 119ms, {900, 130});
    EXPECT_FALSE(hand->at(DrawnGesture::kPause + 120ms));
    EXPECT_EQ(hand->touches().size(), 1u);
    EXPECT_FALSE(gesture.underWay());
}

TEST_F(DrawnGestureTest, ATremblingHandClicksToo) {
    const CameraPoint place = at(900, 130);
    gesture.press(place, kStart);
    gesture.move({place.x + 11, place.y - 11}, kStart + 20ms);
    const auto hand = gesture.release({place.x - 3, place.y}, kStart + 999ms, optics);
    ASSERT_TRUE(hand);
    expectPen(*hand, 100ms, {900, 130});
    EXPECT_FALSE(hand->at(DrawnGesture::kPause + 120ms));
}

TEST_F(DrawnGestureTest, HoldingStillIsLongEnoughForARightClick) {
    gesture.press(at(900, 130), kStart);
    const auto shortly = gesture.release(at(900, 130), kStart + 1s, optics);
    ASSERT_TRUE(shortly);
    expectPen(*shortly, DrawnGesture::kLeastHold - 1us, {900, 130});
    EXPECT_FALSE(shortly->at(DrawnGesture::kPause + DrawnGesture::kLeastHold));

    gesture.press(at(40, 700), kStart);
    const auto longer = gesture.release(at(40, 700), kStart + 4s, optics);
    ASSERT_TRUE(longer);
    expectPen(*longer, 4s - 1us, {40, 700});
    EXPECT_FALSE(longer->at(DrawnGesture::kPause + 4s));
}

TEST_F(DrawnGestureTest, AStrokeGoesTheSameWayAtTheSamePace) {
    gesture.press(at(100, 600), kStart);
    gesture.move(at(300, 600), kStart + 400ms);
    gesture.move(at(300, 600), kStart + 900ms); // a pause on the way
    gesture.move(at(300, 100), kStart + 1000ms);
    const auto hand = gesture.release(at(310, 100), kStart + 1200ms, optics);
    ASSERT_TRUE(hand);
    const Microseconds begun = DrawnGesture::kRest;
    expectPen(*hand, 0us, {100, 600});
    expectPen(*hand, begun + 200ms, {200, 600});
    expectPen(*hand, begun + 600ms, {300, 600});
    expectPen(*hand, begun + 950ms, {300, 350});
    expectPen(*hand, begun + 1100ms, {305, 100});
    expectPen(*hand, begun + 1200ms + DrawnGesture::kRest - 10us, {310, 100});
    EXPECT_FALSE(hand->at(DrawnGesture::kPause + 2 * DrawnGesture::kRest + 1201ms));
    EXPECT_EQ(hand->touches().size(), 1u);
}

TEST_F(DrawnGestureTest, AStrokeThatComesBackIsNoClick) {
    gesture.press(at(100, 600), kStart);
    gesture.move(at(700, 200), kStart + 300ms);
    const auto hand = gesture.release(at(100, 600), kStart + 600ms, optics);
    ASSERT_TRUE(hand);
    expectPen(*hand, DrawnGesture::kRest + 300ms, {700, 200});
}

TEST_F(DrawnGestureTest, MovesAtTheSameMomentAreMadeAtOnce) {
    gesture.press(at(100, 600), kStart);
    gesture.move(at(700, 200), kStart);
    const auto hand = gesture.release(at(700, 500), kStart, optics);
    ASSERT_TRUE(hand);
    expectPen(*hand, DrawnGesture::kRest + 1ms, {700, 500});
}

TEST_F(DrawnGestureTest, BesideTheScreenThePenTouchesTheWall) {
    gesture.press(at(-60, 400), kStart);
    const auto hand = gesture.release(at(-60, 400), kStart + 50ms, optics);
    ASSERT_TRUE(hand);
    expectPen(*hand, 0us, {-60, 400});
}

TEST_F(DrawnGestureTest, WithoutAPressThereIsNothing) {
    gesture.move(at(100, 600), kStart);
    EXPECT_FALSE(gesture.underWay());
    EXPECT_FALSE(gesture.release(at(100, 600), kStart, optics));
}

} // namespace
} // namespace lightpen
