// SPDX-License-Identifier: MIT
#include "app/home/PenTrial.h"

#include <cmath>
#include <limits>

#include <gmock/gmock.h>

namespace lightpen {
namespace {

using testing::AllOf;
using testing::Gt;
using testing::Lt;

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
constexpr double kEndless = std::numeric_limits<double>::infinity();

class PenTrialTest : public testing::Test {
protected:
    // A touch that is so far from this cross.
    void miss(std::size_t cross, double x, double y) {
        const ScreenPoint place = trial.crosses()[cross];
        ASSERT_EQ(trial.touch({place.x + x, place.y + y}), std::optional(cross));
    }

    PenTrial trial{{1280, 800}};
};

TEST_F(PenTrialTest, TheCrossesStandInThreeRowsAndNoneAtTheEdge) {
    const auto& crosses = trial.crosses();
    EXPECT_EQ(crosses[0], (ScreenPoint{128, 80}));
    EXPECT_EQ(crosses[1], (ScreenPoint{640, 80}));
    EXPECT_EQ(crosses[3], (ScreenPoint{128, 400}));
    EXPECT_EQ(crosses[4], (ScreenPoint{640, 400}));
    EXPECT_EQ(crosses[8], (ScreenPoint{1152, 720}));
    const PenTrial odd({1366, 767});
    for (const ScreenPoint& cross : odd.crosses()) {
        EXPECT_EQ(cross, (ScreenPoint{std::floor(cross.x), std::floor(cross.y)})) << "whole points";
        EXPECT_THAT(cross.x, AllOf(Gt(100), Lt(1266)));
        EXPECT_THAT(cross.y, AllOf(Gt(60), Lt(707)));
    }
}

TEST_F(PenTrialTest, ATouchIsOneOfTheNearestCross) {
    EXPECT_EQ(trial.touch({140, 70}), std::optional<std::size_t>(0));
    EXPECT_EQ(trial.touch({600, 500}), std::optional<std::size_t>(4));
    EXPECT_EQ(trial.touch({1270, 790}), std::optional<std::size_t>(8)) << "in the picture's corner";
    EXPECT_EQ(trial.touchOf(0), (ScreenPoint{140, 70}));
    EXPECT_EQ(trial.touchOf(4), (ScreenPoint{600, 500}));
    EXPECT_EQ(trial.touchOf(1), std::nullopt);
}

TEST_F(PenTrialTest, ATouchBetweenTheCrossesIsNone) {
    EXPECT_EQ(trial.touch({384, 240}), std::nullopt);
    EXPECT_EQ(trial.touch({128, 240}), std::nullopt) << "just half-way";
    EXPECT_EQ(trial.touch({128, 239}), std::optional<std::size_t>(0));
    EXPECT_EQ(trial.touch({128, 241}), std::optional<std::size_t>(3));
}

TEST_F(PenTrialTest, ALaterTouchReplacesAnEarlierOne) {
    miss(2, 30, 0);
    miss(2, 0, -4);
    EXPECT_EQ(trial.outcome(), (PenTrial::Outcome{1, 4, 4}));
}

TEST_F(PenTrialTest, SaysNothingBeforeTheFirstTouch) {
    EXPECT_EQ(trial.outcome(), std::nullopt);
    EXPECT_FALSE(trial.isComplete());
}

TEST_F(PenTrialTest, TheMedianOfAnEvenNumberIsBetweenTheMiddleTwo) {
    miss(0, 3, 4); // 5
    miss(5, 0, 1);
    EXPECT_EQ(trial.outcome(), (PenTrial::Outcome{2, 3, 5}));
    miss(7, -6, 8); // 10
    EXPECT_EQ(trial.outcome(), (PenTrial::Outcome{3, 5, 10}));
    miss(8, -7, 0);
    EXPECT_EQ(trial.outcome(), (PenTrial::Outcome{4, 6, 10}));
}

TEST_F(PenTrialTest, IsCompleteWithItsLastCross) {
    for (std::size_t cross = 9; cross-- > 0;) {
        EXPECT_FALSE(trial.isComplete()) << cross;
        miss(cross, double(cross), 0);
    }
    EXPECT_TRUE(trial.isComplete());
    EXPECT_EQ(trial.outcome(), (PenTrial::Outcome{9, 4, 8}));
}

TEST_F(PenTrialTest, IsGoodWhileMedianAndWorstAre) {
    EXPECT_TRUE((PenTrial::Outcome{9, 5, 12}).isGood());
    EXPECT_FALSE((PenTrial::Outcome{9, 5.01, 12}).isGood()) << "everywhere a little";
    EXPECT_FALSE((PenTrial::Outcome{9, 1, 12.01}).isGood()) << "in one corner";
}

TEST_F(PenTrialTest, SmallWaysAreEnlargedAndNoneReachesTheNextCross) {
    EXPECT_EQ(trial.enlargement(), 20);
    miss(4, 0, 0);
    EXPECT_EQ(trial.enlargement(), 20) << "exactly met";
    miss(4, 3, 4);
    EXPECT_EQ(trial.enlargement(), 19); // 96 of the 320 points to the next cross
    miss(0, 0, 40);
    EXPECT_EQ(trial.enlargement(), 2);
    miss(1, 100, 0);
    EXPECT_EQ(trial.enlargement(), 1);
}

TEST_F(PenTrialTest, TakesNothingThatIsNoPlace) {
    for (const double value : {kNoNumber, kEndless, -kEndless}) {
        EXPECT_EQ(trial.touch({value, 80}), std::nullopt) << value;
        EXPECT_EQ(trial.touch({128, value}), std::nullopt) << value;
        EXPECT_EQ(trial.touch({value, value}), std::nullopt) << value;
    }
    EXPECT_EQ(trial.outcome(), std::nullopt);
}

TEST_F(PenTrialTest, APictureWithoutAreaHasNoCrossThatCouldBeTouched) {
    for (const Size size : {Size{0, 0}, Size{1280, 0}, Size{0, 800}, Size{-5, -5}, Size{kNoNumber, 800},
                            Size{kEndless, kEndless}}) {
        PenTrial none(size);
        EXPECT_EQ(none.touch({0, 0}), std::nullopt) << size.width;
        EXPECT_EQ(none.touch(none.crosses()[4]), std::nullopt) << size.width;
        EXPECT_GE(none.enlargement(), 1);
    }
    EXPECT_EQ(PenTrial().outcome(), std::nullopt);
}

TEST_F(PenTrialTest, ATinyPictureStillTellsItsCrossesApart) {
    PenTrial tiny({10, 10});
    EXPECT_EQ(tiny.touch({1, 1}), std::optional<std::size_t>(0));
    EXPECT_EQ(tiny.touch({9, 5}), std::optional<std::size_t>(5));
}

} // namespace
} // namespace lightpen
