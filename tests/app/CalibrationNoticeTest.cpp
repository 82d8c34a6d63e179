// SPDX-License-Identifier: MIT
// What the user is told after a calibration, and what the notice's actions do.
#include <gmock/gmock.h>

#include "app/ControllerFixture.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const PointList kBefore{{210, 140}, {2330, 161}, {233, 1709}, {2291, 1688}};
const PointList kGood{{220, 150}, {2320, 171}, {243, 1719}, {2281, 1678}};
// The last touch is nearly on the line between two others.
const PointList kDoubtful{{210, 140}, {2330, 161}, {233, 1709}, {1290, 930}};

class CalibrationNoticeTest : public ControllerFixture {
protected:
    // A controller with a unit that holds these points. What is told of the unit itself is not looked at.
    void startWith(const PointList& stored) {
        openUnit({.points = stored});
        start();
        desk.notices.shown.clear();
    }
    void complete(const PointList& points) {
        controller->calibrationDidComplete(
            {std::string(kCalibrationCompleted),
             nullptr,
             {{std::string(kCalibrationPoints), std::make_shared<const PointList>(points)}}});
        happened.clear();
    }
    const std::vector<UserNotice>& shown() const { return desk.notices.shown; }
    void choose(std::size_t action) { shown().back().actions.at(action).chosen(); }
    // Which calibration is in force, and what the driver holds for the unit's.
    void expectInForce(const PointList& points) const {
        const auto mapper = driver->calibrationCenter();
        ASSERT_TRUE(mapper);
        const ScreenPoint corner = mapper->mapPointFrom(points.front());
        EXPECT_NEAR(corner.x, 170, 1);
        EXPECT_NEAR(corner.y, 75, 1);
        PointList held = *driver->calibrationPointsFromFlash();
        held.resize(points.size()); // a read yields the unit's information behind them
        EXPECT_EQ(held, points);
    }
};

TEST_F(CalibrationNoticeTest, AGoodOneIsToldOnce) {
    startWith(kBefore);
    complete(kGood);
    ASSERT_THAT(shown(), SizeIs(1));
    EXPECT_EQ(shown().front().title, "The calibration is stored");
    EXPECT_TRUE(shown().front().goesByItself);
    EXPECT_THAT(desk.notices.labels(), ElementsAre("Keep the one before"));
    expectInForce(kGood);
    complete(kBefore);
    EXPECT_THAT(shown(), SizeIs(1));
    expectInForce(kBefore);
}

TEST_F(CalibrationNoticeTest, AGoodOneCanBeTakenBack) {
    startWith(kBefore);
    complete(kGood);
    choose(0);
    expectInForce(kBefore);
}

TEST_F(CalibrationNoticeTest, TheFirstGoodOneMakesThePenReady) {
    startWith({});
    complete(kGood);
    EXPECT_EQ(controller->penCondition().state(), PenCondition::State::ready);
    ASSERT_THAT(shown(), SizeIs(1)) << "nobody has to hear it twice";
    EXPECT_EQ(shown().front().title, "The calibration is stored");
    EXPECT_THAT(desk.notices.labels(), IsEmpty());
}

TEST_F(CalibrationNoticeTest, ADoubtfulOneIsInForceAndTold) {
    startWith(kBefore);
    complete(kDoubtful);
    ASSERT_THAT(shown(), SizeIs(1));
    EXPECT_EQ(shown().front().title, "The calibration may be wrong");
    EXPECT_FALSE(shown().front().goesByItself);
    EXPECT_THAT(desk.notices.labels(), ElementsAre("Calibrate again", "Keep the one before"));
    expectInForce(kDoubtful);
}

TEST_F(CalibrationNoticeTest, TheOneBeforeIsWrittenBack) {
    startWith(kBefore);
    complete(kDoubtful);
    choose(1);
    EXPECT_EQ(happened.takeDeeds().size(), 3U) << "a record for each point but the last";
    expectInForce(kBefore);
    choose(1);
    EXPECT_THAT(happened.takeDeeds(), IsEmpty()) << "once is enough";
}

TEST_F(CalibrationNoticeTest, AnotherSessionMayFollow) {
    startWith(kBefore);
    complete(kDoubtful);
    choose(0);
    EXPECT_TRUE(windowIsVisible());
    pressEscape();
    expectInForce(kDoubtful);
}

TEST_F(CalibrationNoticeTest, AnEmptyUnitHasNoneBefore) {
    startWith({});
    complete(kDoubtful);
    EXPECT_THAT(desk.notices.labels(), ElementsAre("Calibrate again"));
}

TEST_F(CalibrationNoticeTest, OneThatTheUnitDidNotTakeIsTold) {
    startWith(kBefore);
    unit.onSetReport = [](const SentReport& report) {
        return report.bytes.at(0) == 'C' && report.bytes.at(1) == 1 ? kIOReturnError : kIOReturnSuccess;
    };
    complete(kGood);
    ASSERT_THAT(shown(), SizeIs(1));
    EXPECT_EQ(shown().front().title, "The calibration was not stored");
    EXPECT_THAT(desk.notices.labels(), ElementsAre("Calibrate again", "Keep the one before"));
    unit.onSetReport = [](const SentReport&) { return kIOReturnSuccess; };
    choose(1);
    expectInForce(kBefore);
    EXPECT_THAT(shown(), SizeIs(1));
}

TEST_F(CalibrationNoticeTest, TheOneBeforeIsTriedUntilTheUnitTakesIt) {
    startWith(kBefore);
    complete(kDoubtful);
    unit.onSetReport = [](const SentReport&) { return kIOReturnError; };
    for (const std::size_t notices : {2U, 3U}) {
        choose(1);
        ASSERT_THAT(shown(), SizeIs(notices));
        EXPECT_EQ(shown().back().title, "The calibration was not stored");
        EXPECT_THAT(desk.notices.labels(), ElementsAre("Calibrate again", "Keep the one before"));
    }
    unit.onSetReport = [](const SentReport&) { return kIOReturnSuccess; };
    choose(1);
    EXPECT_THAT(shown(), SizeIs(3));
    expectInForce(kBefore);
}

TEST_F(CalibrationNoticeTest, ItsActionsAreNoneOfAnotherUnitsBusiness) {
    startWith(kBefore);
    complete(kDoubtful);
    openUnit({.points = kGood});
    controller->deviceDidAddCallback(*driver);
    happened.clear();
    choose(0);
    choose(1);
    EXPECT_FALSE(windowIsVisible());
    expectInForce(kGood);
}

TEST_F(CalibrationNoticeTest, ItSpeaksTheUsersLanguage) {
    desk.defaults.set["Language"] = std::string("de");
    startWith(kBefore);
    complete(kDoubtful);
    EXPECT_EQ(shown().front().title, "de:The calibration may be wrong");
    EXPECT_THAT(desk.notices.labels(), ElementsAre("de:Calibrate again", "de:Keep the one before"));
}

} // namespace
} // namespace lightpen
