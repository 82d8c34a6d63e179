// SPDX-License-Identifier: MIT
// A pen that is held still for two seconds becomes a right click.
#include "kit/device/PenFixture.h"

namespace lightpen {
namespace {

using std::chrono::seconds;
using testing::IsEmpty;

// Of a pass each: longer than two seconds.
constexpr int kLong = 125;

class LongPressTest : public PenFixture {
protected:
    LongPressTest() { openArmed(); }

    // Presses, and lets the main thread take note.
    void press(double x, double y) {
        passOnScreen(x, y);
        runMainLoop();
    }
    static Deeds rightClick(const std::string& place) {
        return {"release " + place, "right press " + place, "right release " + place};
    }
};

TEST_F(LongPressTest, HeldStillThePenDragsAllTheWhileAndClicksAfterTwoSecondsToTheMicrosecond) {
    happened.clear();
    for (int i = 0; i < kLong; ++i)
        unit.sendReport(penReport(1001, 601)), run(kPassSleep);
    Deeds expected;
    for (int i = 0; i < kLong; ++i) {
        if (i == 120) // two seconds after the press, which was after 16.8 ms
            for (const std::string& deed : rightClick("503 307"))
                expected.push_back("2016.8 " + deed);
        const int tenths = 168 * (i + 1);
        const std::string fraction = tenths % 10 == 0 ? "" : "." + std::to_string(tenths % 10);
        expected.push_back(std::to_string(tenths / 10) + fraction + (i == 0 ? " press" : " drag") +
                           " 503 307");
    }
    EXPECT_EQ(happened.takeTimedDeeds(), expected);
    EXPECT_THAT(hold(kLong), IsEmpty()) << "once";
}

TEST_F(LongPressTest, AScreenThatChangesCancelsItForItsPlaceWasInThePictureBefore) {
    press(503, 307);
    driver->screensDidChange();
    runMainLoop();
    EXPECT_THAT(hold(kLong), IsEmpty());
    // The next one is none of that.
    lift();
    press(90, 61);
    EXPECT_EQ(hold(kLong), rightClick("90 61"));
}

TEST_F(LongPressTest, IsToldLikeThis) {
    happened.clear();
    unit.sendReport(penReport(1001, 601));
    run(kPassSleep);
    driver->wrapper2("{503.5, 307.5}");
    driver->wrapper("{10.25, 20.75}");
    unit.sendReport(penReport(1101, 601)); // there is no anchor to leave any more
    run(kPassSleep);
    EXPECT_TRUE(matchesTranscript("long_press"));
}

TEST_F(LongPressTest, TenPointsAwayItStillFiresWhereThePenWentDown) {
    for (const auto& [x, y] : {std::pair(506.0, 392.0), std::pair(490.0, 400.0), std::pair(500.0, 410.0)}) {
        press(500, 400);
        passOnScreen(x, y);
        EXPECT_EQ(hold(kLong), rightClick("500 400"));
        lift();
    }
}

TEST_F(LongPressTest, FurtherAwayItIsCancelledAndComingBackIsTooLate) {
    for (const auto& [x, y] : {std::pair(510.01, 400.0), std::pair(500.0, 410.01), std::pair(512.0, 405.0)}) {
        press(500, 400);
        passOnScreen(503, 400);
        passOnScreen(x, y);
        passOnScreen(500, 400);
        EXPECT_THAT(hold(kLong), IsEmpty()) << x << ", " << y;
        lift();
    }
}

// The screen's corner is what stands for "no long press is pending".
TEST_F(LongPressTest, OneInTheCornerIsNotCancelledByAMove) {
    press(0, 0);
    passOnScreen(300, 0);
    EXPECT_EQ(hold(kLong), rightClick("0 0"));
}

TEST_F(LongPressTest, PenUpCancelsAndSoDoesSilence) {
    for (const bool silent : {false, true}) {
        press(100.1 + 0.2, 1.0 / 3.0); // cancelled by its text: to the last digit
        EXPECT_EQ(silent ? pass() : lift(), (Deeds{"release 100 0"}));
        EXPECT_THAT(doneWithin(seconds(5)), IsEmpty());
    }
}

TEST_F(LongPressTest, LeavingTheScreenDoesNotCancel) {
    press(3, 400);
    passOnScreen(-200, 400);
    mapper->answer = std::optional(ScreenPoint{-200, 400});
    Deeds deeds = hold(kLong);
    std::erase(deeds, "broadcast LightPenNX7RegionLeft");
    EXPECT_EQ(deeds, rightClick("3 400"));
}

// The main thread was busy: the lift is older than the long press that has come due meanwhile.
TEST_F(LongPressTest, ACancellationThatWaitsRunsBeforeALongPressThatIsDue) {
    press(500, 400);
    desk.clock.sleep(seconds(3)); // nobody runs the main loop, and the pen falls silent
    EXPECT_EQ(happened.takeDeeds(), (Deeds{"release 500 400"}));
    EXPECT_THAT(doneWithin(seconds(5)), IsEmpty());
}

TEST_F(LongPressTest, PressAndLiftThatAreTakenTogetherComeToNothing) {
    passOnScreen(500, 400);
    lift();
    EXPECT_THAT(doneWithin(seconds(5)), IsEmpty());
}

TEST_F(LongPressTest, EachStrokeHasItsOwn) {
    press(500, 400);
    hold(100);
    lift();
    press(300, 200);
    EXPECT_THAT(hold(119), IsEmpty()) << "nothing is left of the first";
    EXPECT_EQ(hold(1), rightClick("300 200"));
}

TEST_F(LongPressTest, LaterDragsOfTheStrokeStayDrags) {
    press(500, 400);
    hold(kLong);
    EXPECT_EQ(passOnScreen(700, 100), (Deeds{"drag 700 100"}));
    EXPECT_THAT(hold(kLong), IsEmpty());
    EXPECT_EQ(lift(), (Deeds{"release 700 100"}));
}

TEST_F(LongPressTest, CancellingWithAnotherPointCancelsNothing) {
    press(500, 400);
    driver->wrapper2("{500, 400.5}");
    driver->wrapper2("{0, 0}");
    EXPECT_EQ(hold(kLong), rightClick("500 400"));
    lift();
    press(500, 400);
    driver->wrapper2("{500, 400}");
    EXPECT_THAT(hold(kLong), IsEmpty());
}

} // namespace
} // namespace lightpen
