// SPDX-License-Identifier: MIT
#include "emulated/TargetSeeker.h"

#include <gtest/gtest.h>

namespace lightpen {
namespace {

using Place = std::optional<ScreenPoint>;

constexpr ScreenPoint kFirst{170, 75};
constexpr ScreenPoint kSecond{1750, 75};

// Somebody who looks every 30 ms.
class TargetSeekerTest : public testing::Test {
protected:
    Place look(Place seen) { return seeker.look(seen, time += std::chrono::milliseconds(30)); }
    // Looks until something is touched or the time is over.
    Place lookFor(Place seen, Microseconds span) {
        const Microseconds end = time + span;
        Place touched;
        while (!touched && time < end)
            touched = look(seen);
        return touched;
    }

    TargetSeeker seeker;
    Microseconds time{};
};

TEST_F(TargetSeekerTest, ATargetIsTouchedOnceItRests) {
    EXPECT_EQ(look(kFirst), std::nullopt);
    const Microseconds begin = time;
    EXPECT_EQ(lookFor(kFirst, std::chrono::seconds(1)), kFirst);
    EXPECT_GE(time - begin, TargetSeeker::kRest);
    EXPECT_LT(time - begin, TargetSeeker::kRest + std::chrono::milliseconds(30));
    EXPECT_EQ(lookFor(kFirst, std::chrono::seconds(1)), std::nullopt);
}

TEST_F(TargetSeekerTest, AMovingTargetIsNotTouched) {
    for (double x = 170; x < 1750; x += 4)
        EXPECT_EQ(look(ScreenPoint{x, 75}), std::nullopt);
    for (double y = 75; y < 200; y += 0.5)
        EXPECT_EQ(look(ScreenPoint{1750, y}), std::nullopt);
    EXPECT_EQ(lookFor(kSecond, std::chrono::seconds(1)), kSecond);
}

TEST_F(TargetSeekerTest, TheNextTargetIsTouchedAndAlsoOneWhereTheFirstWas) {
    EXPECT_TRUE(lookFor(kFirst, std::chrono::seconds(1)));
    EXPECT_EQ(lookFor(kSecond, std::chrono::seconds(1)), kSecond);
    EXPECT_EQ(lookFor(kFirst, std::chrono::seconds(1)), kFirst);
}

TEST_F(TargetSeekerTest, ATargetThatStaysIsTouchedAgainAfterAWhile) {
    EXPECT_TRUE(lookFor(kFirst, std::chrono::seconds(1)));
    const Microseconds touched = time;
    EXPECT_TRUE(lookFor(ScreenPoint{173, 78}, std::chrono::seconds(10)));
    EXPECT_GE(time - touched, TargetSeeker::kPatience);
    EXPECT_EQ(lookFor(ScreenPoint{174, 80}, std::chrono::seconds(1)), std::nullopt);
    EXPECT_TRUE(lookFor(ScreenPoint{179, 78}, std::chrono::seconds(1)));
}

TEST_F(TargetSeekerTest, RestBeginsAnewWhenTheTargetIsGoneForAMoment) {
    EXPECT_EQ(lookFor(kFirst, TargetSeeker::kRest - std::chrono::milliseconds(60)), std::nullopt);
    EXPECT_EQ(look(std::nullopt), std::nullopt);
    EXPECT_EQ(lookFor(kFirst, TargetSeeker::kRest - std::chrono::milliseconds(60)), std::nullopt);
    EXPECT_TRUE(lookFor(kFirst, std::chrono::milliseconds(120)));
}

} // namespace
} // namespace lightpen
