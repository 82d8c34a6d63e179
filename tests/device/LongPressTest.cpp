// SPDX-License-Identifier: MIT
// A pen that is held still for two seconds becomes a right click.
#include "kit/device/PassFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

class LongPressTest : public PassFixture {
protected:
    LongPressTest() { beginArmedThread(); }

    // Presses, and lets the main thread take note.
    void press(double x, double y) {
        passOnScreen(x, y);
        runMainLoop();
        desk.pointer.takePosted();
    }
    // What the main thread posts within the time.
    std::vector<Posted> postedWithin(Microseconds time) {
        desk.runLoop.runFor(time);
        return desk.pointer.takePosted();
    }
    static std::vector<Posted> rightClick(int x, int y) { return {up(x, y), rightDown(x, y), rightUp(x, y)}; }
};

TEST_F(LongPressTest, FiresAfterTwoSecondsToTheMicrosecond) {
    press(500, 400);
    // The press's own pass has slept; the two seconds begin when the main thread takes the request.
    EXPECT_THAT(postedWithin(Microseconds{1'999'999}), IsEmpty());
    EXPECT_EQ(postedWithin(Microseconds{1}), rightClick(500, 400));
    EXPECT_EQ(driver->_AnchorPointForLongPress.load(), ScreenPoint{});
    EXPECT_THAT(postedWithin(seconds(10)), IsEmpty()); // once
}

TEST_F(LongPressTest, IsAnnouncedAndAskedForOnTheMainThread) {
    passOnScreen(500, 400);
    log.clear();
    runMainLoop();
    EXPECT_THAT(log.takeLines(), ElementsAre("Event n:2546 !!!post rmouse click"));
}

TEST_F(LongPressTest, HeldStillThePenDragsAllTheWhile) {
    passOnScreen(500, 400);
    std::vector<Posted> posted;
    for (int i = 0; i < 130; ++i) {
        for (const Posted& event : passOnScreen(500, 400).posted)
            posted.push_back(event);
        for (const Posted& event : postedWithin(Microseconds{0}))
            posted.push_back(event);
    }
    // The request is taken with the second pass; 119 sleeps of 16.8 ms stay below two seconds, 120 do not.
    std::vector<Posted> expected(121, drag(500, 400));
    for (const Posted& event : rightClick(500, 400))
        expected.push_back(event);
    expected.resize(expected.size() + 9, drag(500, 400));
    EXPECT_EQ(posted, expected);
}

TEST_F(LongPressTest, TenPointsAwayItStillFiresWhereThePenWentDown) {
    press(500, 400);
    passOnScreen(506, 408);
    desk.pointer.takePosted();
    EXPECT_EQ(postedWithin(seconds(2)), rightClick(500, 400));
}

TEST_F(LongPressTest, FurtherAwayItIsCancelled) {
    press(500, 400);
    passOnScreen(510.01, 400);
    desk.pointer.takePosted();
    EXPECT_THAT(postedWithin(seconds(5)), IsEmpty());
    EXPECT_EQ(passOnScreen(500, 400).posted, (std::vector{drag(500, 400)})); // coming back is too late
    EXPECT_THAT(postedWithin(seconds(5)), IsEmpty());
}

TEST_F(LongPressTest, PenUpCancels) {
    press(500, 400);
    passOn(penUpReport());
    desk.pointer.takePosted();
    EXPECT_THAT(postedWithin(seconds(5)), IsEmpty());
}

TEST_F(LongPressTest, SilenceCancelsToo) {
    press(500, 400);
    pass();
    desk.pointer.takePosted();
    EXPECT_THAT(postedWithin(seconds(5)), IsEmpty());
}

TEST_F(LongPressTest, FractionsOfPointsAreCancelledExactly) {
    press(100.1 + 0.2, 1.0 / 3.0);
    passOn(penUpReport());
    desk.pointer.takePosted();
    EXPECT_THAT(postedWithin(seconds(5)), IsEmpty());
}

TEST_F(LongPressTest, LeavingTheScreenDoesNotCancel) {
    press(3, 400);
    passOnScreen(-200, 400);
    EXPECT_EQ(postedWithin(seconds(2)), rightClick(3, 400));
}

// The main thread was busy: it takes press and lift together, and the lift still comes in time.
TEST_F(LongPressTest, ACancellationThatWaitsRunsBeforeALongPressThatIsDue) {
    press(500, 400);
    desk.clock.sleep(seconds(3)); // nobody runs the main loop
    passOn(penUpReport());
    desk.pointer.takePosted();
    EXPECT_THAT(postedWithin(seconds(5)), IsEmpty());
}

TEST_F(LongPressTest, PressAndLiftThatAreTakenTogetherComeToNothing) {
    passOnScreen(500, 400);
    passOn(penUpReport());
    desk.pointer.takePosted();
    EXPECT_THAT(postedWithin(seconds(5)), IsEmpty());
}

TEST_F(LongPressTest, EachStrokeHasItsOwn) {
    press(500, 400);
    desk.runLoop.runFor(milliseconds(1500));
    passOn(penUpReport());
    press(300, 200);
    EXPECT_THAT(postedWithin(milliseconds(1999)), IsEmpty()); // nothing is left of the first
    EXPECT_EQ(postedWithin(milliseconds(1)), rightClick(300, 200));
}

TEST_F(LongPressTest, LaterDragsOfTheStrokeStayDrags) {
    press(500, 400);
    desk.runLoop.runFor(seconds(2));
    const Pass later = passOnScreen(700, 100);
    EXPECT_EQ(later.posted, (std::vector{drag(700, 100)}));
    EXPECT_EQ(later.lines.back(), "Event n:1806 state mouse drag"); // there is no anchor to leave
    EXPECT_EQ(passOn(penUpReport()).posted, (std::vector{up(700, 100)}));
}

TEST_F(LongPressTest, CancellingWithAnotherPointCancelsNothing) {
    press(500, 400);
    driver->wrapper2("{500, 400.5}");
    driver->wrapper2("{0, 0}");
    EXPECT_EQ(postedWithin(seconds(2)), rightClick(500, 400));
    press(500, 400);
    driver->wrapper2("{500, 400}");
    EXPECT_THAT(postedWithin(seconds(2)), IsEmpty());
}

} // namespace
} // namespace lightpen
