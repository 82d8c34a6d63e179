// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <string>

#include "kernel/gadget/GadgetBus.h"
#include "kernel/support/HandAtDesk.h"
#include "kernel/support/UnitPriority.h"
#include "unit/CameraUnit.h"

namespace lightpen {

// The driver program of an ordinary user at a desk, and a unit that is not plugged in yet. Main thread.
class PenAtDesk : public HandAtDesk {
protected:
    // The desk outlives the test.
    explicit PenAtDesk(Desk& desk) : HandAtDesk(desk) { priority.reset(); }
    // The driver ends before its unit leaves.
    ~PenAtDesk() override { endDriver(); }

    // Starts the driver, with these variables beside those of the screen, and waits for its pointer.
    void startDriver(std::map<std::string, std::string> environment = {});
    void plugIn();
    void perform(const Hand& hand) override { unit.play(hand); }

    std::optional<UnitPriority> priority{std::in_place};
    GadgetBus bus{clock};
    CameraUnit& unit = bus.add<CameraUnit>({}, {}, Optics::strongKeystone(kScreen));
};

} // namespace lightpen
