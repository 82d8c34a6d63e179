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

TEST(CollectedPointsTest, KeepsWhatItTakesInOrder) {
    CollectedPoints session(3);
    EXPECT_THAT(*session.points(), IsEmpty());
    EXPECT_EQ(session.offer({300, 20}, kTarget), Verdict::taken);
    EXPECT_EQ(session.offer({100, 40}, kTarget), Verdict::taken);
    EXPECT_THAT(*session.points(), ElementsAre(CameraPoint{300, 20}, CameraPoint{100, 40}));
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

TEST(CollectedPointsTest, ListOnceHandedOutNeverChanges) {
    CollectedPoints session(4);
    session.offer({300, 20}, kTarget);
    const PointListRef before = session.points();
    session.offer({100, 40}, kTarget);
    EXPECT_THAT(*before, ElementsAre(CameraPoint{300, 20}));
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

} // namespace
} // namespace lightpen
