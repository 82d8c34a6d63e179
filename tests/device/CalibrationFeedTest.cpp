// SPDX-License-Identifier: MIT
// While a calibration runs it gets the raw point of each touch, and the pointer gets nothing.
#include "kit/device/PenFixture.h"

namespace lightpen {
namespace {

using std::chrono::seconds;
using testing::Contains;
using testing::IsEmpty;

class CalibrationFeedTest : public PenFixture {
protected:
    CalibrationFeedTest() {
        calibration->onPoint = [this](CameraPoint point) {
            happened.deed("calibration " + NSStringFromPoint(point));
        };
    }
    void begin() {
        openArmed();
        driver->setDelegate(calibration);
    }

    std::shared_ptr<RecordingCalibration> calibration = std::make_shared<RecordingCalibration>();
};

TEST_F(CalibrationFeedTest, IsToldLikeThis) {
    openArmed();
    happened.clear();
    // The stroke after each touch says how many touches were counted: 1, 2, 3, 0 and 1.
    for (int touch = 0; touch < 5; ++touch) {
        driver->setDelegate(calibration);
        for (const ReportBytes& report : {penReport(1001, 601), penReport(1002, 601), penUpReport()})
            unit.sendReport(report), run(kPassSleep);
        driver->exitCalib();
        for (const ReportBytes& report : {penReport(1001, 601), penUpReport()})
            unit.sendReport(report), run(kPassSleep);
    }
    EXPECT_TRUE(matchesTranscript("calibration_feed"));
}

TEST_F(CalibrationFeedTest, ATouchIsHandedOverOnceHoweverLongItLasts) {
    begin();
    EXPECT_EQ(passOn(1001, 601), (Deeds{"calibration {1001, 601}"}));
    EXPECT_EQ(calibration->sender.load(), driver.get());
    for (int x = 1002; x < 1012; ++x)
        EXPECT_THAT(passOn(x, 601), IsEmpty());
    EXPECT_THAT(hold(125), IsEmpty()) << "no long press either";
    lift();
    EXPECT_EQ(passOn(303, 205), (Deeds{"calibration {303, 205}"}));
}

TEST_F(CalibrationFeedTest, ANewThreadKnowsNothingOfATouchUnderWay) {
    begin();
    passOn(1001, 601);
    driver->setUpPointQueue();
    turnTaking.nextTurn();
    EXPECT_EQ(passOn(1001, 601), (Deeds{"calibration {1001, 601}"}));
}

TEST_F(CalibrationFeedTest, SilenceIsAPenUp) {
    begin();
    passOn(1001, 601);
    EXPECT_THAT(pass(), IsEmpty());
    EXPECT_EQ(passOn(1001, 601), (Deeds{"calibration {1001, 601}"}));
}

TEST_F(CalibrationFeedTest, EitherCoordinateOfMinusOneIsAPenUp) {
    begin();
    for (const auto& [x, y] : {std::pair(0xFFFF, 601), std::pair(1001, 0xFFFF), std::pair(0xFFFF, 0xFFFF)}) {
        EXPECT_EQ(passOn(1001, 601), (Deeds{"calibration {1001, 601}"}));
        EXPECT_THAT(passOn(x, y), IsEmpty());
    }
}

TEST_F(CalibrationFeedTest, FarAwayPointsAreHandedOverToo) {
    begin();
    EXPECT_EQ(passOn(2561, 601), (Deeds{"calibration {4294967295, 4294967295}"}));
}

TEST_F(CalibrationFeedTest, NeitherACalibrationNorACleanStartIsNeededForIt) {
    begin();
    driver->setCalibrationCenter(nullptr);
    driver->exitCalib();
    startAgain(penReport(1001, 601), penUpReport());
    lift();
    driver->setDelegate(calibration);
    EXPECT_EQ(passOn(1001, 601), (Deeds{"calibration {1001, 601}"}));
}

TEST_F(CalibrationFeedTest, ADelegateThatDoesNotRespondGetsNothing) {
    begin();
    calibration->responds = false;
    EXPECT_THAT(passOn(1001, 601), IsEmpty());
    calibration->responds = true;
    EXPECT_THAT(passOn(1001, 601), IsEmpty()) << "it was a touch all the same";
}

// A pairing table that is read meanwhile. Its queue makes the polls empty, so the touch is there before it.
class PairingReadDuringFeedTest : public CalibrationFeedTest {
protected:
    // What the HID layer is asked for while this touch, the first to the fourth, meets a pairing read. So
    // many touches were made with another unit before.
    std::vector<std::string> callsAtTouch(int number, std::uint8_t pairedWith, int before = 0) {
        unitAnswers.wireless = pairedWith;
        begin();
        for (int touch = 0; touch < before; ++touch) {
            passOn(1001, 601);
            lift();
        }
        if (before > 0) {
            replug();
            arm();
        }
        int requests = 0;
        unitAnswers.then = [&](const SentReport& report) {
            if (report.bytes.at(0) == 'R' && ++requests > 30)
                unit.unplug();
            return kIOReturnSuccess;
        };
        for (int touch = 1; touch < number; ++touch) {
            passOn(1001, 601);
            lift();
        }
        calibration->onPoint = [this](CameraPoint) { desk.clock.sleep(seconds(1)); };
        passOn(1001, 601);
        unit.takeOperations();
        driver->Nx9commd('R');
        return unit.takeOperations();
    }
};

TEST_F(PairingReadDuringFeedTest, TheThirdTouchEndsThatOfAnUnpairedPen) {
    EXPECT_THAT(callsAtTouch(3, 0), Contains("queue5.stop()"));
}

TEST_F(PairingReadDuringFeedTest, TheSecondDoesNot) {
    EXPECT_THAT(callsAtTouch(2, 0), testing::Not(Contains("queue5.stop()")));
}

TEST_F(PairingReadDuringFeedTest, TouchesOfAnEarlierUnitDoNotCount) {
    EXPECT_THAT(callsAtTouch(2, 0, 1), testing::Not(Contains(testing::EndsWith(".stop()"))));
}

TEST_F(PairingReadDuringFeedTest, ThatOfAPairedPenGoesOn) {
    const auto calls = callsAtTouch(3, 1);
    EXPECT_THAT(calls, Contains("queue5.start()"));
    EXPECT_THAT(calls, testing::Not(Contains("queue5.stop()")));
}

// A calibration that begins in the middle of a stroke

TEST_F(CalibrationFeedTest, AStrokeUnderWayIsReleasedAndIsNoTouch) {
    openArmed();
    passOn(1001, 601);
    driver->setDelegate(calibration);
    EXPECT_EQ(passOn(1003, 601), (Deeds{"release 503 307"}));
    EXPECT_THAT(hold(125), IsEmpty()) << "nor a long press";
    lift();
    EXPECT_EQ(passOn(1001, 601), (Deeds{"calibration {1001, 601}"}));
}

TEST_F(CalibrationFeedTest, AStrokeThatEndsAsItBeginsIsReleasedOnce) {
    openArmed();
    passOn(1001, 601);
    driver->setDelegate(calibration);
    EXPECT_EQ(lift(), (Deeds{"release 503 307"}));
    EXPECT_THAT(lift(), IsEmpty());
    EXPECT_EQ(passOn(1001, 601), (Deeds{"calibration {1001, 601}"}));
}

// The pointer drops it, since no button is down.
TEST_F(CalibrationFeedTest, ATouchThatOutlivesTheCalibrationIsReleasedInTheCorner) {
    openArmed();
    passOn(1001, 601);
    lift();
    driver->setDelegate(calibration);
    passOn(1001, 601);
    driver->exitCalib();
    EXPECT_EQ(lift(), (Deeds{"release 0 0"}));
}

TEST_F(CalibrationFeedTest, ATouchThatOutlivesTheCalibrationDragsWithoutAButton) {
    begin();
    passOn(1001, 601);
    EXPECT_FALSE(driver->exitCalib());
    EXPECT_EQ(passOn(1003, 601), (Deeds{"drag 504 307"}));
    EXPECT_EQ(lift(), (Deeds{"release 504 307"}));
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

} // namespace
} // namespace lightpen
