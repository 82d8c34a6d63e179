// SPDX-License-Identifier: MIT
// A session that nobody touches ends by itself: it holds the keyboard, and nobody could lock the screen.
#include "kit/calibration/SessionFixture.h"

namespace lightpen {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::Not;

constexpr Microseconds kPatience = KVRCalibrationCenter::kPatience;
constexpr Microseconds kMoment{1};
constexpr const char* kLine = "log \"Calibration: nobody has touched the screen for three minutes; it ends\"";

class CalibrationPatienceTest : public SessionFixture {
protected:
    CalibrationPatienceTest() {
        openUnit();
        store(kStored);
    }
    void waitFor(Microseconds time) { desk.runLoop.runFor(time); }
    void expectEnded() {
        EXPECT_FALSE(windowIsVisible());
        EXPECT_EQ(canceled.size(), 1u);
        EXPECT_EQ(driver->delegate(), nullptr);
        EXPECT_EQ(desk.systemUI.mode, kUIModeNormal);
        EXPECT_EQ(*center->calibrationPoints(), kStored);
    }

    const PointList kStored{{400, 300}, {2100, 300}, {300, 1500}, {2200, 1600}};
};

TEST_F(CalibrationPatienceTest, IsThreeMinutes) {
    EXPECT_EQ(kPatience, std::chrono::seconds(180));
    for (const Kind kind : {Kind::manual, Kind::automatic}) {
        canceled.clear();
        start(kind);
        waitFor(kPatience - kMoment);
        EXPECT_TRUE(windowIsVisible());
        waitFor(kMoment);
        expectEnded();
    }
}

TEST_F(CalibrationPatienceTest, BeginsAnewWithEachTouch) {
    start(Kind::manual);
    for (const CameraPoint& point : {kFour[0], kFour[1], kFour[1]}) { // the last one is refused
        waitFor(kPatience - kMoment);
        touch(point);
    }
    waitFor(kMoment);
    touch({77, 88}); // while the target glides, or not
    waitFor(kPatience - kMoment);
    EXPECT_TRUE(windowIsVisible());
    waitFor(kMoment);
    expectEnded();
}

TEST_F(CalibrationPatienceTest, AReportWithoutAPointIsNoTouch) {
    start(Kind::manual);
    waitFor(kPatience - kMoment);
    touch({-1, -1});
    waitFor(kMoment);
    expectEnded();
}

TEST_F(CalibrationPatienceTest, EndsWithItsSession) {
    start(Kind::manual);
    waitFor(kPatience - kMoment);
    pressEscape();
    canceled.clear();
    start(Kind::manual);
    waitFor(kPatience - kMoment);
    EXPECT_TRUE(windowIsVisible());
    EXPECT_THAT(canceled, IsEmpty());
    touchAll();
    EXPECT_EQ(completed.size(), 1u);
    happened.clear();
    waitFor(2 * kPatience);
    EXPECT_THAT(happened.takeAll(), Not(Contains(testing::HasSubstr(kLine))));
    EXPECT_THAT(canceled, IsEmpty());
}

TEST_F(CalibrationPatienceTest, ASessionThatReplacesAnotherHasItsOwn) {
    start(Kind::manual);
    waitFor(kPatience - kMoment);
    start(Kind::manual);
    waitFor(kPatience - kMoment);
    EXPECT_TRUE(windowIsVisible());
    waitFor(kMoment);
    expectEnded();
}

TEST_F(CalibrationPatienceTest, SaysWhy) {
    start(Kind::manual);
    happened.clear();
    waitFor(kPatience);
    EXPECT_THAT(happened.takeAll(), Contains(testing::HasSubstr(kLine)));
}

} // namespace
} // namespace lightpen
