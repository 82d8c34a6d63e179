// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kernel/support/DriverProcess.h"
#include "kernel/support/Xorg.h"
#include "linux_desktop/process/QtRunLoop.h"
#include "linux_desktop/process/SystemClock.h"
#include "measure/Analysis.h"
#include "measure/CanvasProcess.h"
#include "unit/room/Hand.h"

namespace lightpen {

// What a user sits at: a screen, and a program that draws what the pointer does. It needs an application
// object.
struct Desk {
    Xorg server;
    SystemClock clock;
    QtRunLoop runLoop{clock};
    CanvasProcess canvas{runLoop};

    // Makes the screen that of this process, and covers it with the canvas. Throws when that fails.
    void prepare();
};

// The driver program of an ordinary user at a desk, and a hand that draws there, with whatever pen. Main
// thread.
class HandAtDesk : public testing::Test {
protected:
    static constexpr Size kScreen = Xorg::kScreen;
    // Two seconds become a right click; more of them when the guest was held up meanwhile.
    static constexpr Microseconds kLongPress = std::chrono::milliseconds(3500);

    // The desk outlives the test.
    explicit HandAtDesk(Desk& desk);
    ~HandAtDesk() override;

    // Starts the driver on the desk's screen, and waits for its pointer.
    void startDriver(DriverOptions options = {});
    // Ends it, as the end of this object does, and shows its log where the test has failed.
    void endDriver();

    // Has the hand do this from now on, unseen by the record.
    virtual void perform(const Hand& hand) = 0;
    // Waits until the driver has a calibration, and the pen moves the pointer. After an arrival the driver
    // throws away what comes first; how much of the hand's doing that takes with it depends on how fast the
    // machine is. So the hand knocks until it is heard.
    void awaitUsable();
    // Touches a place where nobody looks, and waits until that is over.
    void knock();
    // Lets the hand do this, notes what is to come of it, and waits until it is over and has arrived.
    void play(const Hand& hand);
    // How often the button has gone down since then, as far as the canvas knows.
    std::size_t pressesSince(Microseconds start) const;
    // Waits until so many buttons are down of those that went down since then, as far as the canvas knows.
    bool becomes(std::size_t held, Microseconds since = {});
    // What the canvas has seen since the first touch that was noted.
    DemoRecord record() const;
    // Expects that each touch has pressed and released within this distance of the hand, in points. When the
    // whole guest is held up in a touch, a look of the driver finds no report, which ends the press; then the
    // touch has more than one. Returns how far away they were.
    Spread expectEverythingArrived(double worstLanding);

    const Xorg& server;
    SystemClock& clock;
    QtRunLoop& runLoop;
    CanvasProcess& canvas;
    std::size_t driverPointers = 0; // that the X server had taken before the test
    std::unique_ptr<DriverProcess> driver;
    std::vector<HandTouch> touches;
};

// Taps in places whose two coordinates differ everywhere, up to the corners.
Hand tapsEverywhere();

} // namespace lightpen
