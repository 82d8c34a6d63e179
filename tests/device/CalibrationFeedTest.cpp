// SPDX-License-Identifier: MIT
// While a calibration runs it gets the raw point of each touch, and the pointer gets nothing.
#include "kit/device/PassFixture.h"

namespace lightpen {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

class CalibrationFeedTest : public PassFixture {
protected:
    CalibrationFeedTest() { beginArmedThread(); }

    void begin() { driver->setDelegate(calibration); }
    // A touch of one report, and its end.
    void touch(int x = 1001, int y = 601) {
        passOn(x, y);
        passOn(penUpReport());
    }
    static Pass handedOver() {
        return {.lines = {"Event n:1505 ( 1001, 601)", "Event n:1706 callback to delegate",
                          "Event n:1719 pointFromDevice: {1001, 601}"},
                .sleeps = {kPassSleep}};
    }

    std::shared_ptr<RecordingCalibration> calibration = std::make_shared<RecordingCalibration>();
};

TEST_F(CalibrationFeedTest, ATouchIsHandedOverOnceHoweverLongItLasts) {
    begin();
    EXPECT_EQ(passOn(1001, 601), handedOver());
    for (int x = 1002; x < 1012; ++x)
        EXPECT_EQ(passOn(x, 601), (Pass{.lines = {"Event n:1505 ( " + std::to_string(x) + ", 601)"},
                                        .sleeps = {kPassSleep}}));
    EXPECT_THAT(calibration->takePoints(), ElementsAre(CameraPoint{1001, 601}));
    EXPECT_EQ(calibration->sender.load(), driver.get());
    EXPECT_EQ(driver->_lightPenState, 1);
    runMainLoop();
    EXPECT_THAT(desk.pointer.takePosted(), IsEmpty());
}

TEST_F(CalibrationFeedTest, APenUpMakesWayForTheNextTouch) {
    begin();
    driver->_previousPoint = {5, 6};
    touch(1001, 601);
    EXPECT_EQ(driver->_lightPenState, 0);
    EXPECT_EQ(driver->_previousPoint, ScreenPoint{});
    touch(303, 205);
    EXPECT_THAT(calibration->takePoints(), ElementsAre(CameraPoint{1001, 601}, CameraPoint{303, 205}));
}

TEST_F(CalibrationFeedTest, SilenceIsAPenUp) {
    begin();
    passOn(1001, 601);
    EXPECT_EQ(pass(), (Pass{.lines = {"Event n:1537 ( 0, 0)"}, .sleeps = {kPassSleep}}));
    EXPECT_EQ(passOn(1001, 601), handedOver());
}

TEST_F(CalibrationFeedTest, EitherCoordinateOfMinusOneIsAPenUp) {
    begin();
    for (const auto& [x, y] : {std::pair(0xFFFF, 601), std::pair(1001, 0xFFFF), std::pair(0xFFFF, 0xFFFF)}) {
        passOn(1001, 601);
        passOn(x, y);
        EXPECT_EQ(driver->_lightPenState, 0) << x << ", " << y;
    }
    EXPECT_EQ(calibration->takePoints().size(), 3U);
}

TEST_F(CalibrationFeedTest, FarAwayPointsAreHandedOverToo) {
    begin();
    EXPECT_EQ(passOn(2561, 601).lines.back(), "Event n:1719 pointFromDevice: {4294967295, 4294967295}");
    EXPECT_THAT(calibration->takePoints(), ElementsAre(kFarAwayPoint));
}

TEST_F(CalibrationFeedTest, NeitherACalibrationNorACleanStartIsNeededForIt) {
    begin();
    driver->setCalibrationCenter(nullptr);
    driver->_isStaring = true;
    driver->_hasNoise = true;
    EXPECT_EQ(passOn(1001, 601), handedOver());
    EXPECT_TRUE(driver->_isStaring);
    EXPECT_TRUE(driver->_hasNoise);
}

TEST_F(CalibrationFeedTest, ADelegateThatDoesNotRespondIsOnlyLogged) {
    begin();
    calibration->responds = false;
    EXPECT_EQ(passOn(1001, 601),
              (Pass{.lines = {"Event n:1505 ( 1001, 601)", "Event n:1719 pointFromDevice: {1001, 601}"},
                    .sleeps = {kPassSleep}}));
    EXPECT_THAT(calibration->takePoints(), IsEmpty());
    EXPECT_EQ(sharedState.delegateCallbackCount, 0);
    EXPECT_EQ(driver->_lightPenState, 1);
}

// The count of points

TEST_F(CalibrationFeedTest, PointsAreCountedToThreeAndTheFourthBeginsAnew) {
    begin();
    std::vector<int> counts;
    for (int i = 0; i < 9; ++i) {
        touch();
        counts.push_back(sharedState.delegateCallbackCount);
    }
    EXPECT_THAT(counts, ElementsAre(1, 2, 3, 0, 1, 2, 3, 0, 1));
}

// A queue for the pairing table that appears while the point is handed over; one that is there before makes
// the polls empty.
class PairingReadDuringFeedTest : public CalibrationFeedTest {
protected:
    class Calibration final : public EventGeneratorNX7CallbackProtocol {
    public:
        explicit Calibration(std::function<void()> then) : then_(std::move(then)) {}
        void lightPenCallbackAtPoint(CameraPoint, EventGeneratorNX7&) override { then_(); }

    private:
        std::function<void()> then_;
    };
    // What the pairing queue is told at each of four touches.
    std::vector<std::vector<std::string>> toldOverFourTouches() {
        const IOHIDQueueRef queue = unit.makeQueue();
        driver->setDelegate(std::make_shared<Calibration>([&] { driver->_RetPairingData = queue; }));
        std::vector<std::vector<std::string>> told;
        for (int i = 0; i < 4; ++i) {
            passOn(1001, 601);
            told.push_back(unit.takeOperations());
            driver->_RetPairingData = nullptr;
            passOn(penUpReport());
        }
        return told;
    }
};

TEST_F(PairingReadDuringFeedTest, TheThirdPointEndsThatOfAnUnpairedPen) {
    sharedState.wireless = 0;
    EXPECT_THAT(toldOverFourTouches(),
                ElementsAre(IsEmpty(), IsEmpty(), ElementsAre("queue2.stop()"), IsEmpty()));
}

TEST_F(PairingReadDuringFeedTest, ThatOfAPairedOrUnknownPenGoesOn) {
    for (const int wireless : {1, -1}) {
        sharedState.wireless = wireless;
        sharedState.delegateCallbackCount = 0;
        EXPECT_THAT(toldOverFourTouches(), ElementsAre(IsEmpty(), IsEmpty(), IsEmpty(), IsEmpty()));
    }
}

// A calibration that begins in the middle of a stroke

TEST_F(CalibrationFeedTest, AStrokeUnderWayIsReleasedAndIsNoTouch) {
    passOn(1001, 601);
    begin();
    EXPECT_EQ(passOn(1003, 601), (Pass{.posted = {up(503, 307)},
                                       .lines = {"Event n:1505 ( 1003, 601)", "Event n:2456 Mouse Up 0",
                                                 "Event n:1737 state down to up 0"},
                                       .sleeps = {kPassSleep}}));
    for (int i = 0; i < 3; ++i)
        EXPECT_THAT(passOn(1003, 601).posted, IsEmpty());
    EXPECT_THAT(calibration->takePoints(), IsEmpty());
    desk.runLoop.runFor(seconds(5));
    EXPECT_THAT(desk.pointer.takePosted(), IsEmpty()); // nor a long press
    passOn(penUpReport());
    EXPECT_EQ(passOn(1001, 601), handedOver());
}

TEST_F(CalibrationFeedTest, AStrokeThatEndsAsItBeginsIsReleasedOnce) {
    passOn(1001, 601);
    begin();
    EXPECT_EQ(passOn(penUpReport()).posted, (std::vector{up(503, 307)}));
    EXPECT_THAT(passOn(penUpReport()).posted, IsEmpty());
    EXPECT_EQ(passOn(1001, 601), handedOver());
}

TEST_F(CalibrationFeedTest, ATouchThatOutlivesTheCalibrationDragsWithoutAButton) {
    begin();
    passOn(1001, 601);
    EXPECT_FALSE(driver->exitCalib());
    EXPECT_EQ(passOn(1003, 601).posted, (std::vector{drag(504, 307)}));
    EXPECT_EQ(passOn(penUpReport()).posted, (std::vector{up(504, 307)}));
    EXPECT_EQ(passOn(1001, 601).posted, (std::vector{down(503, 307)}));
}

} // namespace
} // namespace lightpen
