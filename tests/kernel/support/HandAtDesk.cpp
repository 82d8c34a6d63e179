// SPDX-License-Identifier: MIT
#include "kernel/support/HandAtDesk.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include "kernel/support/DriverLines.h"
#include "kit/Eventually.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;
using testing::Each;
using testing::Le;
using testing::SizeIs;
using Seen = CanvasEvent::Kind;

constexpr const char* kPointerName = "LightPenNX7 pointer";
constexpr Microseconds kContact = milliseconds(200);
constexpr Microseconds kSettled = milliseconds(700); // what was sent has arrived by then

} // namespace

void Desk::prepare() {
    server.enter();
    const std::string problem = canvas.start(LIGHTPEN_CANVAS);
    if (!problem.empty() || canvas.size() != Xorg::kScreen)
        throw std::runtime_error(problem + "\n" + server.log());
}

HandAtDesk::HandAtDesk(Desk& desk)
    : server(desk.server), clock(desk.clock), runLoop(desk.runLoop), canvas(desk.canvas),
      driverPointers(server.timesAdded(kPointerName)) {}

HandAtDesk::~HandAtDesk() {
    endDriver();
}

void HandAtDesk::endDriver() {
    if (HasFailure() && driver)
        std::printf("--- the driver's log:\n%s--- end of the driver's log\n", driver->log().c_str());
    driver.reset();
}

void HandAtDesk::startDriver(DriverOptions options) {
    options.environment["QT_QPA_PLATFORM"] = "xcb";
    options.environment["DISPLAY"] = server.display();
    driver = std::make_unique<DriverProcess>(std::move(options));
    ASSERT_TRUE(driver->waitFor(kPointerThroughUinput));
    ASSERT_TRUE(server.awaitAdded(kPointerName, driverPointers)) << server.log();
}

void HandAtDesk::awaitUsable() {
    ASSERT_TRUE(driver->waitFor(kCalibrated));
    const std::size_t before = countOf(canvas.events(), Seen::release);
    for (int knocks = 0; knocks < 10 && countOf(canvas.events(), Seen::release) == before; ++knocks)
        knock();
    ASSERT_GT(countOf(canvas.events(), Seen::release), before) << "the pen moves nothing";
}

void HandAtDesk::knock() {
    const Hand hand = Hand().tap({59, 31}, kContact);
    perform(hand);
    runLoop.runFor(hand.duration() + kSettled);
}

void HandAtDesk::play(const Hand& hand) {
    const Microseconds start = clock.now();
    perform(hand);
    for (const Hand::Touch& touch : hand.touches())
        touches.push_back({start + touch.start, start + touch.end, touch.first, touch.last,
                           touch.end - touch.start >= kLongPress});
    runLoop.runFor(hand.duration() + kSettled);
    // Before the last touch has arrived, no button is down either.
    EXPECT_TRUE(eventually([&] { return pressesSince(start) >= hand.touches().size(); },
                           [this] { runLoop.runFor(milliseconds(5)); }))
        << "a touch has not arrived";
    // Of this playing alone. Around a calibration the canvas has seen one half of a press; where the other
    // went is not known, but the kernel's button was up.
    EXPECT_TRUE(becomes(0, start)) << "a button is still down";
}

std::size_t HandAtDesk::pressesSince(Microseconds start) const {
    const auto& events = canvas.events();
    return static_cast<std::size_t>(
        std::count_if(events.begin(), events.end(), [start](const CanvasEvent& event) {
            return event.kind == Seen::press && event.time >= start;
        }));
}

bool HandAtDesk::becomes(std::size_t held, Microseconds since) {
    const auto now = [this, since] {
        std::size_t down = 0;
        for (const CanvasEvent& event : canvas.events()) {
            if (event.time >= since && event.kind == Seen::press)
                ++down;
            if (event.time >= since && event.kind == Seen::release)
                --down;
        }
        return down;
    };
    return eventually([&] { return now() == held; }, [this] { runLoop.runFor(milliseconds(5)); });
}

DemoRecord HandAtDesk::record() const {
    DemoRecord record{canvas.size(), touches, {}, {}, {}};
    for (const CanvasEvent& event : canvas.events())
        if (event.time >= touches.front().start)
            record.seen.push_back(event);
    return record;
}

Spread HandAtDesk::expectEverythingArrived(double worstLanding) {
    const DemoRecord all = record();
    const auto rested = std::count_if(touches.begin(), touches.end(),
                                      [](const HandTouch& touch) { return touch.last == touch.first; });
    const auto landed = landingDistances(all);
    EXPECT_THAT(landed, SizeIs(2 * static_cast<std::size_t>(rested))) << "a touch was not seen";
    EXPECT_THAT(landed, Each(Le(worstLanding)));
    EXPECT_GE(countOf(all.seen, Seen::press), touches.size());
    EXPECT_EQ(countOf(all.seen, Seen::press), countOf(all.seen, Seen::release));
    EXPECT_EQ(countOf(all.seen, Seen::rightPress), countOf(all.seen, Seen::rightRelease));
    const Spread spread = spreadOf(landed);
    std::printf("%zu touches, %zu presses; landed %.2f pixels away in the median, %.2f at worst\n",
                touches.size(), countOf(all.seen, Seen::press), spread.median, spread.worst);
    return spread;
}

Hand tapsEverywhere() {
    Hand hand;
    for (const ScreenPoint place :
         {ScreenPoint{5, 9}, {1271, 14}, {1268, 713}, {11, 702}, {333, 444}, {871, 118}, {640, 607}})
        hand.tap(place, kContact);
    return hand;
}

} // namespace lightpen
