// SPDX-License-Identifier: MIT
// The whole way, with nothing made up but the camera: a unit is a USB device of the kernel's, udev announces
// it, the driver program of an ordinary user reads it and moves a pointer of the kernel's, the X server
// follows that through libinput, and a window of another program sees what becomes of it.
#include <gmock/gmock.h>

#include <QCoreApplication>

#include "emulated/UnitControl.h"
#include "kernel/support/DriverLines.h"
#include "kernel/support/PenAtDesk.h"
#include "kernel/support/RuleFile.h"
#include "kit/PrivateBus.h"

namespace lightpen {
namespace {

using std::chrono::seconds;
using testing::AllOf;
using testing::Ge;
using testing::Le;
using testing::SizeIs;
using Seen = CanvasEvent::Kind;

Desk* desk = nullptr;

// How far the pointer may land from a hand that rests: the camera's units and the screen's pixels are whole
// numbers, and a pixel is up to one and a half units wide.
constexpr double kWorstLanding = 2;

class PenOnScreenTest : public PenAtDesk {
protected:
    PenOnScreenTest() : PenAtDesk(*desk) { storeCalibration(unit, kScreen); }
};

std::vector<CanvasEvent> movesAfter(const DemoRecord& record, Microseconds start) {
    std::vector<CanvasEvent> moves;
    for (const CanvasEvent& event : record.seen)
        if (event.kind == Seen::move && event.time >= start)
            moves.push_back(event);
    return moves;
}

TEST_F(PenOnScreenTest, AUnitThatIsThereBeforeTheDriverStartsTapsAndClicksOnTheRight) {
    ASSERT_NO_FATAL_FAILURE(plugIn());
    ASSERT_NO_FATAL_FAILURE(startDriver());
    ASSERT_NO_FATAL_FAILURE(awaitUsable());
    play(tapsEverywhere());
    EXPECT_EQ(countOf(record().seen, Seen::rightPress), 0U);
    play(Hand().hold({417, 233}, kLongPress));
    expectEverythingArrived(kWorstLanding);
    EXPECT_GE(countOf(record().seen, Seen::rightPress), 1U);
    EXPECT_GE(countOf(record().seen, Seen::contextMenu), 1U);
}

TEST_F(PenOnScreenTest, AUnitThatIsPluggedInLaterTapsAndDrags) {
    ASSERT_NO_FATAL_FAILURE(startDriver());
    ASSERT_TRUE(driver->waitFor(kStarted));
    ASSERT_NO_FATAL_FAILURE(plugIn());
    ASSERT_NO_FATAL_FAILURE(awaitUsable());
    play(tapsEverywhere());
    // Along y = 200 + (x - 100) / 5 for 1.5 seconds; a point lies on it or it does not. At its end the pen
    // rests, so that a guest that is held up there sees the end all the same.
    const Hand drag = Hand().press({100, 200}).moveTo({1000, 380}, 600).stay(seconds(1)).lift();
    // The driver looks some sixty times a second; how many of its moves a busy machine merges is open. When
    // it is nearly all of them, a second drag has to show more.
    constexpr std::size_t kFewestMoves = 20;
    std::vector<CanvasEvent> moves;
    for (int drags = 0; drags < 2 && moves.size() < kFewestMoves; ++drags) {
        const Microseconds start = clock.now();
        play(drag);
        moves = movesAfter(record(), start);
    }
    expectEverythingArrived(kWorstLanding);
    EXPECT_THAT(moves, SizeIs(AllOf(Ge(kFewestMoves), Le(110U))));
    double x = 0;
    for (const CanvasEvent& move : moves) {
        EXPECT_GE(move.position.x, x) << "the pointer goes back";
        x = move.position.x;
        EXPECT_NEAR(move.position.y, 200 + (x - 100) / 5, kWorstLanding);
    }
    EXPECT_NEAR(x, 1000, 600 * 0.15) << "the last move lies far from the end";
}

TEST_F(PenOnScreenTest, AStrokeThatUnpluggingCutsIsReleasedAndTheHandGoesOnAfterReplugging) {
    ASSERT_NO_FATAL_FAILURE(plugIn());
    ASSERT_NO_FATAL_FAILURE(startDriver());
    ASSERT_NO_FATAL_FAILURE(awaitUsable());
    const Microseconds start = clock.now();
    unit.play(Hand().drag({{200, 600}, {1100, 500}}, 300));
    runLoop.runFor(seconds(1));
    ASSERT_TRUE(becomes(1));
    unit.unplug();
    unit.lift();
    touches.push_back({start, clock.now(), {200, 600}, std::nullopt, false});
    EXPECT_TRUE(becomes(0)) << "unplugging has left a button down";
    ASSERT_NO_FATAL_FAILURE(plugIn());
    ASSERT_NO_FATAL_FAILURE(awaitUsable());
    play(tapsEverywhere());
    expectEverythingArrived(kWorstLanding);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    const lightpen::PrivateBus bus;
    bus.enter();
    const lightpen::PackagedRule rule;
    lightpen::Desk desk;
    desk.prepare();
    lightpen::desk = &desk;
    return RUN_ALL_TESTS();
}
