// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "kit/device/DriverFixture.h"

namespace lightpen {

inline constexpr Microseconds kPassSleep{16'800};

// A driver with an open unit, whose point thread is driven pass by pass. It maps camera (x, y) to
// (x / 2 + 3, y / 2 + 7), on a screen of 1280 by 800.
class PenFixture : public DriverFixture {
protected:
    PenFixture() {
        desk.desktop.frame = ScreenRect{{100, 50}, {1280, 800}};
        driver->setCalibrationCenter(mapper);
    }
    ~PenFixture() override { endThreads(); }

    // Starts the driver and plugs the unit in: the point thread waits for what arms it.
    void open() {
        start();
        plugIn();
        turnTaking.nextTurn();
        happened.clear();
    }
    // The same, until touches count.
    void openArmed() {
        open();
        arm();
    }
    // Ends the wait of a unit that has just been opened.
    void arm() {
        for (int i = 0; i < 6; ++i)
            passOn(penUpReport());
        pass();
        runMainLoop();
        happened.clear();
    }
    // Another one in its place, which waits to be armed.
    void replug() {
        unplug();
        plugIn();
        turnTaking.nextTurn();
    }
    using DriverFixture::passOn;
    Deeds passOn(int x, int y) { return passOn(penReport(x, y)); }
    // A pass that finds a spot which is mapped to this screen point.
    Deeds passOnScreen(double x, double y) {
        mapper->answer = std::optional(ScreenPoint{x, y});
        return passOn(1001, 601);
    }
    Deeds lift() { return passOn(penUpReport()); }
    // The pen stays there for so many passes, with the main loop running: what happens but for the drags.
    Deeds hold(int passes) {
        happened.clear();
        for (int i = 0; i < passes; ++i) {
            unit.sendReport(penReport(1001, 601));
            run(kPassSleep);
        }
        Deeds deeds = happened.takeDeeds();
        std::erase_if(deeds, [](const std::string& deed) { return deed.starts_with("drag "); });
        return deeds;
    }
    // Starts the open unit once more; with its two flash requests the point thread finds these reports. This
    // is done in between.
    void startAgain(
        const ReportBytes& first, const ReportBytes& second, const std::function<void()>& between = [] {}) {
        unitAnswers.then = [&, requests = 0](const SentReport& report) mutable {
            if (report.bytes.at(0) != 'H')
                return kIOReturnSuccess;
            if (++requests == 2)
                between();
            unit.sendReport(requests == 1 ? first : second);
            return kIOReturnSuccess;
        };
        driver->startDevice();
        unitAnswers.then = nullptr;
    }
    // What happens within the time, with the main loop running.
    Deeds doneWithin(Microseconds time) {
        happened.clear();
        run(time);
        return happened.takeDeeds();
    }

    std::shared_ptr<ShiftingMapper> mapper = std::make_shared<ShiftingMapper>(0.5, ScreenPoint{3, 7});
};

} // namespace lightpen
