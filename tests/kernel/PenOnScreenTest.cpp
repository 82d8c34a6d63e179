// SPDX-License-Identifier: MIT
// The whole way, with nothing made up but the camera: a unit is a USB device of the kernel's, udev announces
// it, the driver program of an ordinary user reads it and moves a pointer of the kernel's, the X server
// follows that through libinput, and a window of another program sees what becomes of it.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QCoreApplication>

#include "demo/Analysis.h"
#include "demo/CanvasProcess.h"
#include "emulator/GadgetBus.h"
#include "kernel/support/DriverProcess.h"
#include "kernel/support/PackagedRule.h"
#include "kernel/support/UnitPriority.h"
#include "kernel/support/Xorg.h"
#include "linux_desktop/QtRunLoop.h"
#include "linux_desktop/SystemClock.h"
#include "support/Eventually.h"
#include "support/PrivateBus.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::AllOf;
using testing::Each;
using testing::Ge;
using testing::Le;
using testing::SizeIs;
using Injected = InjectedEvent::Kind;
using Seen = CanvasEvent::Kind;

// What a user sits at: a session, a screen, and a program that draws what the pointer does.
struct Desk {
    Xorg server;
    SystemClock clock;
    QtRunLoop runLoop{clock};
    CanvasProcess canvas{runLoop};
};
Desk* desk = nullptr;

constexpr const char* kPointerName = "LightPenNX7 pointer";
constexpr const char* kPointerUsed = "Pointer: events go through uinput";
constexpr const char* kCalibrated = "create calibrator using point";

constexpr Size kScreen = Xorg::kScreen;
// Two seconds become a right click; more of them when the guest was held up meanwhile.
constexpr Microseconds kLongPress = milliseconds(3500);
constexpr Microseconds kSettled = milliseconds(700); // what was sent has arrived by then
// How far the pointer may land from a hand that rests: the camera's units and the screen's pixels are whole
// numbers, and a pixel is up to one and a half units wide.
constexpr double kWorstLanding = 2;

class PenOnScreenTest : public testing::Test {
protected:
    PenOnScreenTest() {
        priority.reset();
        const double right = kScreen.width - 170;
        const double bottom = kScreen.height - 75;
        unit.flash()->store(unit.seen({170, 75}), unit.seen({right, 75}), unit.seen({170, bottom}),
                            unit.seen({right, bottom}));
        driverPointers = server.timesAdded(kPointerName);
    }
    ~PenOnScreenTest() override {
        if (HasFailure() && driver)
            std::printf("--- the driver's log:\n%s--- end of the driver's log\n", driver->log().c_str());
    }

    void startDriver() {
        driver = std::make_unique<DriverProcess>(
            DriverOptions{.environment = {{"QT_QPA_PLATFORM", "xcb"}, {"DISPLAY", server.display()}}});
        ASSERT_TRUE(driver->waitFor(kPointerUsed));
        ASSERT_TRUE(server.awaitAdded(kPointerName, driverPointers)) << server.log();
    }
    void plugIn() {
        unit.plug();
        ASSERT_TRUE(bus.settle(unit)) << bus.failure(unit);
    }
    // After an arrival the driver throws away what comes first; how much of the hand's doing that takes with
    // it depends on how fast the machine is. So the hand knocks until it is heard.
    void awaitUsable() {
        ASSERT_TRUE(driver->waitFor(kCalibrated));
        const std::size_t before = countOf(canvas.events(), Seen::release);
        for (int knocks = 0; knocks < 10 && countOf(canvas.events(), Seen::release) == before; ++knocks)
            knock();
        ASSERT_GT(countOf(canvas.events(), Seen::release), before) << "the pen moves nothing";
    }
    void knock() {
        const Hand hand = Hand().tap({59, 31}, milliseconds(200));
        unit.play(hand);
        runLoop.runFor(hand.duration() + kSettled);
    }

    // Lets the hand do this, notes what is to come of it, and waits until it is over and has arrived.
    void play(const Hand& hand) {
        const Microseconds start = clock.now();
        unit.play(hand);
        for (const Hand::Touch& touch : hand.touches())
            touches.push_back({start + touch.start, start + touch.end, touch.first, touch.last,
                               touch.end - touch.start >= kLongPress});
        runLoop.runFor(hand.duration() + kSettled);
        EXPECT_TRUE(becomes(0)) << "a button is still down";
    }
    // Waits until so many buttons are down, as far as the canvas knows.
    bool becomes(std::size_t held) {
        const auto now = [this] {
            return countOf(canvas.events(), Seen::press) - countOf(canvas.events(), Seen::release);
        };
        return eventually([&] { return now() == held; }, [this] { runLoop.runFor(milliseconds(5)); });
    }
    // What the canvas has seen since the first touch.
    DemoRecord record() const {
        DemoRecord record{canvas.size(), touches, {}, {}, {}};
        for (const CanvasEvent& event : canvas.events())
            if (event.time >= touches.front().start)
                record.seen.push_back(event);
        return record;
    }
    // Each touch has pressed and released where the hand was. When the whole guest is held up in a touch, a
    // look of the driver finds no report, which ends the press; then the touch has more than one.
    void everythingArrived() {
        const DemoRecord all = record();
        const auto rested = std::count_if(touches.begin(), touches.end(),
                                          [](auto& touch) { return touch.last == touch.first; });
        const auto landed = landingDistances(all, Measured::restingTouches);
        EXPECT_THAT(landed, SizeIs(2 * static_cast<std::size_t>(rested))) << "a touch was not seen";
        EXPECT_THAT(landed, Each(Le(kWorstLanding)));
        EXPECT_GE(countOf(all.seen, Seen::press), touches.size());
        EXPECT_EQ(countOf(all.seen, Seen::press), countOf(all.seen, Seen::release));
        EXPECT_EQ(countOf(all.seen, Seen::rightPress), countOf(all.seen, Seen::rightRelease));
        const Spread spread = spreadOf(landed);
        std::printf("%zu touches, %zu presses; landed %.2f pixels away in the median, %.2f at worst\n",
                    touches.size(), countOf(all.seen, Seen::press), spread.median, spread.worst);
    }

    const Xorg& server = desk->server;
    SystemClock& clock = desk->clock;
    QtRunLoop& runLoop = desk->runLoop;
    CanvasProcess& canvas = desk->canvas;
    std::optional<UnitPriority> priority{std::in_place};
    GadgetBus bus{clock};
    CameraUnit& unit = bus.addUnit({.optics = Optics::strongKeystone(kScreen)});
    std::size_t driverPointers = 0;
    std::unique_ptr<DriverProcess> driver;
    std::vector<HandTouch> touches;
};

// Taps in places whose two coordinates differ everywhere, up to the corners.
Hand tapsEverywhere() {
    Hand hand;
    for (const ScreenPoint place :
         {ScreenPoint{5, 9}, {1271, 14}, {1268, 713}, {11, 702}, {333, 444}, {871, 118}, {640, 607}})
        hand.tap(place, milliseconds(160));
    return hand;
}

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
    everythingArrived();
    EXPECT_GE(countOf(record().seen, Seen::rightPress), 1U);
    EXPECT_GE(countOf(record().seen, Seen::contextMenu), 1U);
}

TEST_F(PenOnScreenTest, AUnitThatIsPluggedInLaterTapsAndDrags) {
    ASSERT_NO_FATAL_FAILURE(startDriver());
    ASSERT_NO_FATAL_FAILURE(plugIn());
    ASSERT_NO_FATAL_FAILURE(awaitUsable());
    play(tapsEverywhere());
    const Microseconds start = clock.now();
    // Along y = 200 + (x - 100) / 5 for 1.5 seconds; a point lies on it or it does not.
    play(Hand().drag({{100, 200}, {1000, 380}}, 600));
    everythingArrived();
    const auto moves = movesAfter(record(), start);
    // The driver looks some sixty times a second; how many of its moves a busy machine merges is open.
    EXPECT_THAT(moves, SizeIs(AllOf(Ge(20U), Le(110U))));
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
    everythingArrived();
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    const lightpen::PrivateBus bus;
    bus.enter();
    lightpen::installPackagedRule();
    lightpen::Desk seat;
    seat.server.enter();
    if (const std::string problem = seat.canvas.start(LIGHTPEN_CANVAS);
        !problem.empty() || seat.canvas.size() != lightpen::Xorg::kScreen) {
        std::printf("%s\n%s", problem.c_str(), seat.server.log().c_str());
        return EXIT_FAILURE;
    }
    lightpen::desk = &seat;
    return RUN_ALL_TESTS();
}
