// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "emulated/ScreenCapture.h"
#include "emulated/SeekingHand.h"
#include "kernel/support/PenAtDesk.h"
#include "kit/PrivateBus.h"
#include "measure/desktop/FakeStatusNotifierWatcher.h"
#include "measure/desktop/MenuOverDBus.h"
#include "measure/desktop/XWindows.h"

namespace lightpen {

// What a user sits at: the session's bus with a panel on it, and a screen with a program in use. It needs an
// application object.
struct DeskWithPanel {
    PrivateBus bus{BusUsers::everybody};
    std::unique_ptr<FakeStatusNotifierWatcher> panel;
    Desk desk;

    // Makes bus and screen those of this process. Throws when that fails.
    void prepare();
    // What a program finds the session's bus by.
    std::map<std::string, std::string> environment() const;
    // Waits for the status item of the one program that has one; null when it does not come.
    std::unique_ptr<MenuOverDBus> awaitMenu();
    // Another look at the screen. Throws when that cannot be had.
    std::unique_ptr<ScreenCapture> look() const;
    // The hand looks, and touches each target that it sees, until this is so or that takes too long. Returns
    // how often it touched.
    int touchTargets(SeekingHand hand, const std::function<bool()>& done);

    // A guest that is held up for as long as a short touch lasts never sees it.
    static constexpr Microseconds kContact = std::chrono::milliseconds(200);
};

// The program of an ordinary user, seen from outside only: its menu over the bus, its windows on the screen,
// its unit through the kernel. Main thread.
class ApplicationAtDesk : public PenAtDesk {
protected:
    // By then even a guest that is held up has polled after the unit fell silent.
    static constexpr Microseconds kLiftSeen = std::chrono::milliseconds(500);

    // The desk outlives the test.
    explicit ApplicationAtDesk(DeskWithPanel& at);

    // Starts the program and waits for its status item.
    void startApplication();
    // Those of the program that are on the screen.
    std::vector<ShownWindow> windows() { return screen.shown(static_cast<std::uint32_t>(driver->pid())); }
    // The hand touches each target that it sees until this is so, or that takes too long. Returns how often
    // it touched.
    int touchTargets(const std::function<bool()>& done);
    // Waits until the hand has come to rest, and what it did last has been seen.
    void awaitRest();

    DeskWithPanel& desk;
    XWindows screen{server.display()};
    const std::unique_ptr<ScreenCapture> eyes;
    std::unique_ptr<MenuOverDBus> menu; // once there is an item
};

} // namespace lightpen
