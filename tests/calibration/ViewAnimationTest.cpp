// SPDX-License-Identifier: MIT
#include "calibration/ViewAnimation.h"

#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/TestPlatform.h"

namespace lightpen {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using testing::IsEmpty;

constexpr WindowPoint kStart{100, 50};
constexpr WindowPoint kEnd{260, -350};
constexpr Microseconds kDuration = milliseconds(800);

class ViewAnimationTest : public testing::Test {
protected:
    using Frames = std::vector<std::pair<Microseconds, WindowPoint>>;

    std::shared_ptr<ViewAnimation> makeAnimation(Microseconds duration = kDuration) {
        return std::make_shared<ViewAnimation>(
            ViewAnimation::Description{
                [this](WindowPoint place) { frames.emplace_back(desk.clock.now() - begin, place); }, kStart,
                kEnd},
            duration, [this](const ViewAnimation& animation) {
                ended.push_back(&animation);
                endedAt = desk.clock.now() - begin;
            });
    }
    TestPlatform desk;
    const Microseconds begin = desk.clock.now();
    Frames frames;
    std::vector<const ViewAnimation*> ended;
    Microseconds endedAt{};
};

TEST_F(ViewAnimationTest, MovesEvenlyAndEndsToTheMicrosecond) {
    const auto animation = makeAnimation();
    animation->startAnimation();
    EXPECT_THAT(frames, IsEmpty());
    desk.runLoop.runFor(kDuration - microseconds(1));
    EXPECT_THAT(ended, IsEmpty());
    ASSERT_GE(frames.size(), 40u);
    for (const auto& [at, frame] : frames) {
        const double share = static_cast<double>(at.count()) / 800'000;
        EXPECT_NEAR(frame.x, 100 + 160 * share, 1e-9);
        EXPECT_NEAR(frame.y, 50 - 400 * share, 1e-9);
    }
    desk.runLoop.runFor(microseconds(1));
    EXPECT_THAT(ended, testing::ElementsAre(animation.get()));
    EXPECT_EQ(endedAt, kDuration);
    EXPECT_EQ(frames.back().second, kEnd);
}

TEST_F(ViewAnimationTest, KeepsItselfAliveWhileItRunsAndNoLonger) {
    auto animation = makeAnimation();
    const std::weak_ptr<ViewAnimation> watched = animation;
    animation->startAnimation();
    animation.reset();
    EXPECT_FALSE(watched.expired());
    desk.runLoop.runFor(kDuration);
    EXPECT_EQ(ended.size(), 1u);
    EXPECT_TRUE(watched.expired());
}

TEST_F(ViewAnimationTest, StoppedOneStaysWhereItIsAndSaysNothing) {
    auto animation = makeAnimation();
    const std::weak_ptr<ViewAnimation> watched = animation;
    animation->startAnimation();
    desk.runLoop.runFor(milliseconds(300));
    animation->stopAnimation();
    const auto before = frames;
    desk.runLoop.runFor(kDuration);
    EXPECT_EQ(frames, before);
    EXPECT_THAT(ended, IsEmpty());
    animation.reset();
    EXPECT_TRUE(watched.expired()) << "nothing waits for it any more";
}

TEST_F(ViewAnimationTest, LoopThatWasBusyLetsItJump) {
    makeAnimation()->startAnimation();
    desk.clock.advanceTo(begin + milliseconds(500));
    desk.runLoop.runPending();
    EXPECT_EQ(frames.back().second, (WindowPoint{200, -200}));
    desk.clock.advanceTo(begin + milliseconds(2000));
    desk.runLoop.runPending();
    EXPECT_EQ(frames.back().second, kEnd);
    EXPECT_EQ(ended.size(), 1u);
}

TEST_F(ViewAnimationTest, StartingTwiceIsStartingOnce) {
    const auto animation = makeAnimation();
    animation->startAnimation();
    desk.runLoop.runFor(milliseconds(400));
    animation->startAnimation();
    desk.runLoop.runFor(kDuration);
    EXPECT_EQ(ended.size(), 1u);
    EXPECT_EQ(endedAt, kDuration);
}

TEST_F(ViewAnimationTest, OneOfNoDurationEndsAtTheLoopsNextTurn) {
    makeAnimation(Microseconds())->startAnimation();
    EXPECT_THAT(ended, IsEmpty());
    desk.runLoop.runPending();
    EXPECT_EQ(ended.size(), 1u);
    EXPECT_EQ(frames.size(), 1u);
}

TEST_F(ViewAnimationTest, MayBeStoppedByItsOwnEnd) {
    std::shared_ptr<ViewAnimation> animation;
    animation = std::make_shared<ViewAnimation>(
        ViewAnimation::Description{[](WindowPoint) {}, kStart, kEnd}, kDuration,
        [&](const ViewAnimation&) { std::exchange(animation, nullptr)->stopAnimation(); });
    animation->startAnimation();
    desk.runLoop.runFor(kDuration);
    EXPECT_EQ(animation, nullptr);
}

} // namespace
} // namespace lightpen
