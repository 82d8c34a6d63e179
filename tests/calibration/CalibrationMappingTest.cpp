// SPDX-License-Identifier: MIT
#include "calibration/KVRCalibrationCenter.h"

#include <limits>
#include <thread>

#include "kit/calibration/SessionFixture.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

PointListRef pointList(PointList points) {
    return std::make_shared<const PointList>(std::move(points));
}

const PointList kFour{{312, 271}, {2201, 188.5}, {164, 1633}, {2390, 1702}};

class CalibrationMappingTest : public testing::Test {
protected:
    std::vector<std::string> linesOf(const std::function<void()>& action) {
        log.clear();
        action();
        return log.takeLines();
    }
    TestPlatform desk;
    RecordingLog log;
    const bool application = ensureOffscreenApplication();
    KVRCalibrationCenter center{2, kClearColor, 0, Screen{"", {{0, 0}, {1920, 1080}}}};
};

TEST_F(CalibrationMappingTest, WithoutPointsNoCalibratorIsMade) {
    center.createCalibrator();
    EXPECT_THAT(*center.calibrators(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CalibrationMappingTest, CalibratorWithPointsTurnsTheRowsIntoAQuadrilateral) {
    constexpr ScreenRect rect{{170, 75}, {30, 40}};
    const auto calibrator = center.calibratorWithPoints({{{1, 2}, {30, 4}, {5, 60}, {70, 80}}}, rect);
    EXPECT_EQ(calibrator->sourcePoints(), (_KVRQuadPoints{{1, 2}, {30, 4}, {70, 80}, {5, 60}}));
    EXPECT_EQ(calibrator->destinationRect(), rect);
}

TEST_F(CalibrationMappingTest, FourPointsMakeOneCalibrator) {
    center.setCalibrationPoints(pointList(kFour));
    EXPECT_EQ(center.totalPoints(), 4);
    EXPECT_EQ(*center.calibrationPoints(), kFour);
    const auto list = center.calibrators();
    ASSERT_EQ(list->size(), 1u);
    EXPECT_EQ(list->front()->sourcePoints(),
              (_KVRQuadPoints{{312, 271}, {2201, 188.5}, {2390, 1702}, {164, 1633}}));
    EXPECT_EQ(list->front()->destinationRect(), (ScreenRect{{170, 75}, {1580, 930}}));
}

TEST_F(CalibrationMappingTest, GridAndCalibratorsFollowTheNumberOfPoints) {
    const std::pair<std::size_t, std::size_t> expected[] = {{4, 1},   {9, 4}, {25, 16},
                                                            {80, 63}, {7, 1}, {6, 1}};
    for (const auto& [points, calibrators] : expected) {
        center.setCalibrationPoints(spreadPoints(points));
        EXPECT_EQ(center.totalPoints(), static_cast<std::int64_t>(points));
        EXPECT_EQ(center.calibrators()->size(), calibrators) << points;
    }
}

TEST_F(CalibrationMappingTest, NinePointsOnAnUprightScreen) {
    center.setCalibrationScreen(Screen{"", ScreenRect{{0, 0}, {1080, 1920}}});
    const auto points = spreadPoints(9);
    center.setCalibrationPoints(points);
    const auto& at = *points;
    const auto list = center.calibrators();
    EXPECT_EQ(list->at(1)->sourcePoints(), (_KVRQuadPoints{at[1], at[2], at[5], at[4]}));
    EXPECT_EQ(list->at(2)->sourcePoints(), (_KVRQuadPoints{at[3], at[4], at[7], at[6]}));
    EXPECT_EQ(list->at(2)->destinationRect(), (ScreenRect{{170, 885}, {200, 810}}));
}

TEST_F(CalibrationMappingTest, ScreenOriginDoesNotCountAndNoScreenIsOfSizeZero) {
    center.setCalibrationScreen(Screen{"", ScreenRect{{-1366, 40}, {1366, 768}}});
    center.setCalibrationPoints(pointList(kFour));
    EXPECT_EQ(center.calibrators()->at(0)->destinationRect(), (ScreenRect{{170, 75}, {1026, 618}}));
    KVRCalibrationCenter blind(0, kClearColor, 0, std::nullopt);
    blind.setCalibrationPoints(pointList(kFour));
    EXPECT_EQ(blind.calibrators()->at(0)->destinationRect(), (ScreenRect{{170, 75}, {-340, -150}}));
}

TEST_F(CalibrationMappingTest, EmptyAndNullListsDropTheCalibrationSilently) {
    for (const PointListRef& none : {pointList({}), PointListRef()}) {
        center.setCalibrationPoints(pointList(kFour));
        const auto lines = linesOf([&] { center.setCalibrationPoints(none); });
        EXPECT_THAT(lines, IsEmpty());
        EXPECT_EQ(center.totalPoints(), 0);
        ASSERT_NE(center.calibrationPoints(), nullptr);
        EXPECT_THAT(*center.calibrationPoints(), IsEmpty());
        EXPECT_THAT(*center.calibrators(), IsEmpty());
    }
}

TEST_F(CalibrationMappingTest, FewerThanFourPointsAreOneMoreLineAndNoCalibrator) {
    for (const std::size_t count : {1u, 2u, 3u}) {
        center.setCalibrationPoints(pointList(kFour));
        const auto lines = linesOf([&] { center.setCalibrationPoints(spreadPoints(count)); });
        ASSERT_EQ(lines.size(), 3u);
        EXPECT_THAT(lines[2], testing::HasSubstr(std::to_string(count) + " calibration points are too few"));
        EXPECT_THAT(*center.calibrators(), IsEmpty());
    }
}

TEST_F(CalibrationMappingTest, ListThatDoesNotFitAGridSetByHandIsNeverReadBeyondItsEnd) {
    constexpr auto huge = std::numeric_limits<std::int64_t>::max();
    constexpr std::pair<std::int64_t, std::int64_t> grids[] = {{5, 5},   {3, 2},    {1, 1},      {0, 0},
                                                               {-1, 80}, {1, huge}, {huge, huge}};
    for (const auto& [rows, columns] : grids) {
        center.setCalibrationPoints(pointList(kFour));
        center.setTotalPoints(4);
        center.setCalibrationRows(rows, columns);
        EXPECT_THAT(linesOf([&] { center.createCalibrator(); }), Not(IsEmpty()));
        EXPECT_THAT(*center.calibrators(), IsEmpty()) << rows << " " << columns;
    }
}

TEST_F(CalibrationMappingTest, RowsAndColumnsAloneChangeNeitherTotalNorCalibrators) {
    center.setCalibrationPoints(spreadPoints(25));
    center.setCalibrationRows(2, 3);
    EXPECT_EQ(center.totalPoints(), 25);
    EXPECT_EQ(center.calibrators()->size(), 16u);
    center.setTotalPoints(9);
    center.setCalibrationRows(2, 3);
    center.createCalibrator();
    ASSERT_EQ(center.calibrators()->size(), 2u);
    const auto& at = *center.calibrationPoints();
    EXPECT_EQ(center.calibrators()->at(1)->sourcePoints(), (_KVRQuadPoints{at[1], at[2], at[5], at[4]}));
}

TEST_F(CalibrationMappingTest, CreatingAgainAddsAndTheTotalEmpties) {
    center.setCalibrationPoints(pointList(kFour));
    center.createCalibrator();
    EXPECT_EQ(center.calibrators()->size(), 2u);
    center.setTotalPoints(4);
    EXPECT_THAT(*center.calibrators(), IsEmpty());
    EXPECT_EQ(*center.calibrationPoints(), kFour) << "the points stay";
    center.createCalibrator();
    EXPECT_EQ(center.calibrators()->size(), 1u);
}

TEST_F(CalibrationMappingTest, EveryPointIsMappedByTheFirstCalibrator) {
    center.setCalibrationPoints(spreadPoints(9));
    const auto first = center.calibrators()->front();
    for (const CameraPoint point :
         {CameraPoint{110, 60}, {2500, 1900}, {-1, -1}, {4294967295.0, 4294967295.0}}) {
        ScreenPoint mapped;
        const auto lines = linesOf([&] { mapped = center.mapPointFrom(point); });
        EXPECT_EQ(mapped, first->transformed(point));
        EXPECT_THAT(lines, ElementsAre(testing::EndsWith(": " + NSStringFromPoint(mapped))));
    }
}

TEST_F(CalibrationMappingTest, WithoutCalibratorsPointsLieBeyondTheLowerRightCorner) {
    desk.desktop.frame = ScreenRect{{300, 200}, {1366, 768}};
    EXPECT_EQ(center.mapPointFrom({1000, 700}), (ScreenPoint{1367, 769}));
    desk.desktop.frame.reset();
    EXPECT_EQ(center.mapPointFrom({1000, 700}), (ScreenPoint{1, 1}));
    EXPECT_THAT(log.lines(), IsEmpty());
}

// The one result that counts as none is looked at again with every calibrator.
TEST_F(CalibrationMappingTest, ResultOfMinusOneIsTheSmallestOfAllCalibrators) {
    // The screen makes cells of 2 by 2, and the camera's 2 by 2 cells lie on them exactly.
    center.setCalibrationScreen(Screen{"", ScreenRect{{0, 0}, {684, 304}}});
    PointList exact;
    for (const double y : {75, 77, 79})
        for (const double x : {170, 172, 174})
            exact.push_back({x, y});
    center.setCalibrationPoints(pointList(exact));
    ASSERT_EQ(center.calibrators()->size(), 4u);
    ASSERT_EQ(center.calibrators()->front()->transformed({-1, -1}), (ScreenPoint{-1, -1}));
    double x = 1921, y = 1081;
    for (const auto& calibrator : *center.calibrators()) {
        x = std::min(x, calibrator->transformed({-1, -1}).x);
        y = std::min(y, calibrator->transformed({-1, -1}).y);
    }
    EXPECT_EQ(linesOf([&] { EXPECT_EQ(center.mapPointFrom({-1, -1}), (ScreenPoint{x, y})); }).size(), 5u);
}

TEST_F(CalibrationMappingTest, OneCoordinateOfMinusOneIsAResult) {
    center.setCalibrationScreen(Screen{"", ScreenRect{{0, 0}, {684, 304}}});
    center.setCalibrationPoints(pointList({{170, 75}, {514, 75}, {170, 229}, {514, 229}}));
    ASSERT_EQ(center.calibrators()->front()->transformed({-1, 100}).x, -1);
    const auto lines = linesOf([&] { center.mapPointFrom({-1, 100}); });
    EXPECT_EQ(lines.size(), 1u);
}

TEST_F(CalibrationMappingTest, WhoeverMapsSeesOneWholeCalibration) {
    const auto first = pointList(kFour);
    const auto second = spreadPoints(80);
    center.setCalibrationPoints(first);
    const ScreenPoint byFirst = center.mapPointFrom({1000, 700});
    center.setCalibrationPoints(second);
    const ScreenPoint bySecond = center.mapPointFrom({1000, 700});
    ASSERT_NE(byFirst, bySecond);

    std::atomic<bool> stop = false;
    std::atomic<int> mapped = 0, strange = 0;
    std::thread point([&] {
        while (!stop) {
            const ScreenPoint result = center.mapPointFrom({1000, 700});
            strange += result != byFirst && result != bySecond;
            ++mapped;
        }
    });
    for (int i = 0; i < 50 || mapped < 50; ++i) {
        center.setCalibrationPoints(i % 2 ? second : first);
        log.clear();
    }
    stop = true;
    point.join();
    EXPECT_EQ(strange, 0);
    EXPECT_GE(mapped, 50);
}

} // namespace
} // namespace lightpen
