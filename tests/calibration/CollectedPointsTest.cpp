// SPDX-License-Identifier: MIT
#include "calibration/CollectedPoints.h"

#include <atomic>
#include <limits>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Verdict = CollectedPoints::Verdict;

constexpr Size kTarget{20, 30};

// Whether the second of two touches counts as the first one again.
bool repeats(CameraPoint earlier, CameraPoint point, Size target) {
    CollectedPoints session(2);
    session.offer(earlier, target);
    return session.offer(point, target) == Verdict::samePoint;
}

TEST(CollectedPointsTest, KeepsWhatItTakesInOrderInListsThatNeverChange) {
    CollectedPoints session(3);
    EXPECT_THAT(*session.points(), IsEmpty());
    EXPECT_EQ(session.offer({300, 20}, kTarget), Verdict::taken);
    const PointListRef before = session.points();
    EXPECT_EQ(session.offer({100, 40}, kTarget), Verdict::taken);
    EXPECT_THAT(*session.points(), ElementsAre(CameraPoint{300, 20}, CameraPoint{100, 40}));
    EXPECT_THAT(*before, ElementsAre(CameraPoint{300, 20}));
}

TEST(CollectedPointsTest, RepeatsOfAnyEarlierPointAreRefused) {
    CollectedPoints session(4);
    session.offer({300, 20}, kTarget);
    session.offer({100, 40}, kTarget);
    EXPECT_EQ(session.offer({309.5, 34.5}, kTarget), Verdict::samePoint);
    EXPECT_EQ(session.offer({100, 40}, kTarget), Verdict::samePoint);
    EXPECT_EQ(session.offer({310, 20}, kTarget), Verdict::taken);
    EXPECT_EQ(session.points()->size(), 3u);
}

TEST(CollectedPointsTest, OneForEachTargetAndNoMore) {
    CollectedPoints session(2);
    session.offer({300, 20}, kTarget);
    session.offer({100, 40}, kTarget);
    EXPECT_EQ(session.offer({500, 60}, kTarget), Verdict::complete);
    EXPECT_EQ(session.offer({100, 40}, kTarget), Verdict::complete) << "not even a repeat";
    EXPECT_EQ(session.points()->size(), 2u);
}

TEST(CollectedPointsTest, AlwaysWaitsForOnePointAndReservesForNoneOfAnUnlikelyNumber) {
    for (const std::int64_t targets : {std::int64_t{0}, std::int64_t{-3}, std::int64_t{1}}) {
        CollectedPoints session(targets);
        EXPECT_EQ(session.offer({1, 2}, kTarget), Verdict::taken);
        EXPECT_EQ(session.offer({3, 400}, kTarget), Verdict::complete);
    }
    CollectedPoints endless(std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(endless.offer({1, 2}, kTarget), Verdict::taken);
}

TEST(CollectedPointsTest, TwoThreadsTogetherGiveOnePointForEachTarget) {
    CollectedPoints session(50);
    std::atomic<int> taken = 0;
    const auto offerAll = [&](double y) {
        for (int i = 0; i < 40; ++i) {
            taken += session.offer({100.0 * i, y}, kTarget) == Verdict::taken;
            EXPECT_LE(session.points()->size(), 50u);
        }
    };
    std::thread other(offerAll, 0);
    offerAll(1000);
    other.join();
    EXPECT_EQ(taken, 50);
    EXPECT_EQ(session.points()->size(), 50u);
}

TEST(CollectedPointsTest, SamePointIsNearerThanHalfTheTargetOnBothAxes) {
    constexpr Size target{30, 10};
    EXPECT_TRUE(repeats({100, 50}, {100, 50}, target));
    EXPECT_TRUE(repeats({100, 50}, {114.999, 45.001}, target));
    EXPECT_TRUE(repeats({100, 50}, {85.001, 54.999}, target));
    EXPECT_FALSE(repeats({100, 50}, {115, 50}, target)) << "half the target is not nearer";
    EXPECT_FALSE(repeats({100, 50}, {100, 55}, target));
    EXPECT_FALSE(repeats({100, 50}, {100, 45}, target));
    EXPECT_FALSE(repeats({100, 50}, {85, 45}, target));
    EXPECT_FALSE(repeats({100, 50}, {100, 62}, target)) << "x alone is not enough";
    EXPECT_FALSE(repeats({100, 50}, {120, 50}, target)) << "y alone is not enough";
    EXPECT_FALSE(repeats({100, 50}, {100, 50}, {})) << "without a target nothing repeats";
}

TEST(CollectedPointsTest, DifferenceIsOfSinglePrecisionBeforeItIsCompared) {
    // Nearer than 10 in double precision, and 10 once rounded.
    const double almostTen = 10 - 1e-8;
    ASSERT_LT(almostTen, 10.0);
    EXPECT_FALSE(repeats({0, 0}, {almostTen, 0}, {20, 20}));
    EXPECT_FALSE(repeats({0, 0}, {0, -almostTen}, {20, 20}));
    EXPECT_TRUE(repeats({0, 0}, {std::nextafterf(10, 0), 0}, {20, 20}));
}

TEST(CollectedPointsTest, WhatIsNoNumberRepeatsNothing) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(repeats({nan, 0}, {nan, 0}, {20, 20}));
    EXPECT_FALSE(repeats({0, 0}, {0, nan}, {20, 20}));
}

} // namespace
} // namespace lightpen
