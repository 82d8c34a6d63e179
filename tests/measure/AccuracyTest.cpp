// SPDX-License-Identifier: MIT
#include "measure/Accuracy.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr Size kScreen{1920, 1080};

AccuracyRow rowOf(double mappedMedian, double mappedWorst, double pointerMedian, double pointerWorst) {
    AccuracyRow row{"keystone", "by hand", 0, {}};
    row.accuracy.reached.mapped = {40, 0, mappedMedian, 1.25, 1.5, mappedWorst};
    row.accuracy.reached.pointer = {40, 0, pointerMedian, 2.25, 2.5, pointerWorst};
    row.accuracy.limit.mapped = {40, 0, 0.125, 0.375, 0.5, 0.625};
    row.accuracy.limit.pointer = {40, 0, 0.75, 0.875, 0.9, 1.125};
    return row;
}

TEST(UnevenGridTest, HasFortyPlacesInsideTheScreenAtFractionsOfPoints) {
    for (const Size screen : {kScreen, Size{1280, 720}, Size{640, 480}}) {
        const auto points = unevenGrid(screen);
        ASSERT_EQ(points.size(), 40U);
        for (const ScreenPoint& point : points) {
            EXPECT_TRUE(point.x > 2 && point.x < screen.width - 2) << point.x;
            EXPECT_TRUE(point.y > 2 && point.y < screen.height - 2) << point.y;
        }
    }
}

TEST(UnevenGridTest, ReachesAllCornersAndRepeatsNeitherAColumnNorARow) {
    std::set<double> xs;
    std::set<double> ys;
    bool corners[2][2] = {};
    for (const ScreenPoint& point : unevenGrid(kScreen)) {
        xs.insert(point.x);
        ys.insert(point.y);
        if ((point.x < 40 || point.x > 1880) && (point.y < 40 || point.y > 1040))
            corners[point.x > 40][point.y > 40] = true;
    }
    EXPECT_EQ(xs.size(), 40U);
    EXPECT_GE(ys.size(), 35U);
    for (const auto& side : corners)
        EXPECT_TRUE(side[0] && side[1]);
}

TEST(AccuracyTest, MeasuresFromTheHand) {
    const Optics optics = Optics::straight(kScreen); // 0.9375 and 1.1667 camera units a point
    const Accuracy accuracy = accuracyOf({{{100.5, 200.5}, {0, 0}, {103.5, 204.5}, {103, 204}},
                                          {{10, 20}, {0, 0}, {10, 20}, {10, 21}},
                                          {{1000, 500}, {0, 0}, {1000, 502}, {1006, 508}}},
                                         optics);
    EXPECT_EQ(accuracy.reached.mapped.count, 3U);
    EXPECT_DOUBLE_EQ(accuracy.reached.mapped.median, 2);
    EXPECT_DOUBLE_EQ(accuracy.reached.mapped.worst, 5);
    EXPECT_DOUBLE_EQ(accuracy.reached.pointer.median, std::hypot(2.5, 3.5));
    EXPECT_DOUBLE_EQ(accuracy.reached.pointer.worst, 10);
}

TEST(AccuracyTest, TheLimitIsTheCamerasViewTurnedRound) {
    const Optics optics = Optics::straight(kScreen);
    const CameraPoint reported{1318, 1031}; // (1000.53, 600.86)
    const Accuracy accuracy = accuracyOf({{{1000, 600}, reported, {0, 0}, {0, 0}}}, optics);
    EXPECT_NEAR(accuracy.limit.mapped.worst,
                std::hypot((1318 - 380) / 0.9375 - 1000, 701 * 1080.0 / 1260 - 600), 1e-9);
    EXPECT_NEAR(accuracy.limit.pointer.worst, 0, 1e-9);
}

TEST(AccuracyTest, NoTapsAreNoAccuracy) {
    EXPECT_EQ(accuracyOf({}, Optics::straight(kScreen)).reached.mapped.count, 0U);
}

TEST(AccuracyTableTest, EachRowShowsWhatWasReachedAndTheLimit) {
    AccuracyRow noisy = rowOf(1, 2, 3, 4);
    noisy.noise = 1;
    const std::string table = tableOf({rowOf(0.5, 1.75, 1.125, 2.5), noisy});
    EXPECT_THAT(
        table,
        HasSubstr("  keystone           by hand    no noise     0.50  1.25  1.75    1.12  2.25  2.50    "
                  "0.12  0.38  0.62    0.75  0.88  1.12\n"));
    EXPECT_THAT(table, HasSubstr("by hand    noise 1.0    1.00  1.25  2.00    3.00  2.25  4.00"));
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 4);
}

TEST(AimsTest, AreMetUpToTheirEdges) {
    EXPECT_THAT(missedAims({rowOf(0.6, 1.999, 1.15, 2.599)}), IsEmpty());
}

TEST(AimsTest, EachMissIsASentence) {
    EXPECT_THAT(missedAims({rowOf(0.601, 1, 1, 2)}),
                ElementsAre("keystone, by hand: the mapped point's median is 0.601, the aim is 0.60."));
    EXPECT_THAT(missedAims({rowOf(0.5, 2, 1, 2)}), ElementsAre(HasSubstr("the mapped point's worst")));
    EXPECT_THAT(missedAims({rowOf(0.5, 1, 1.151, 2)}), ElementsAre(HasSubstr("the pointer's median")));
    EXPECT_THAT(missedAims({rowOf(0.5, 1, 1, 2.6)}), ElementsAre(HasSubstr("the pointer's worst")));
}

TEST(AimsTest, NoiseHasNoneAndNothingMeasuredIsAMiss) {
    AccuracyRow noisy = rowOf(9, 9, 9, 9);
    noisy.noise = 1;
    EXPECT_THAT(missedAims({noisy}), IsEmpty());
    EXPECT_THAT(missedAims({AccuracyRow{"straight", "automatic", 0, {}}}),
                ElementsAre("straight, automatic: nothing was measured."));
}

} // namespace
} // namespace lightpen
