// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "kit/device/DriverFixture.h"

namespace lightpen {

// Everything that one pass of the point thread did.
struct Pass {
    bool goesOn = true;
    std::vector<RecordingPointer::Posted> posted = {};
    std::vector<std::string> lines = {};
    std::vector<Microseconds> sleeps = {};
    std::vector<std::string> regions = {}; // the notifications that were broadcast
    friend bool operator==(const Pass&, const Pass&) = default;
};

inline constexpr Microseconds kPassSleep{16'800};

inline void PrintTo(const Pass& pass, std::ostream* stream) {
    *stream << (pass.goesOn ? "goes on; " : "ends; ") << testing::PrintToString(pass.posted) << " lines "
            << testing::PrintToString(pass.lines) << " sleeps";
    for (const Microseconds sleep : pass.sleeps)
        *stream << " " << sleep.count() << " us";
    *stream << " regions " << testing::PrintToString(pass.regions);
}

// A point thread that a test drives pass by pass, on a unit that is open. It maps camera (x, y) to
// (x / 2 + 3, y / 2 + 7), on a screen of 1280 by 800.
class PassFixture : public DriverFixture {
protected:
    PassFixture() {
        desk.desktop.frame = ScreenRect{{100, 50}, {1280, 800}};
        openUnit();
        driver->setCalibrationCenter(mapper);
    }

    // Starts the thread; the unit counts as open, asked for, and without stray light.
    void beginThread() {
        thread = driver->beginPointThread();
        sharedState.unitOpen = 1;
        sharedState.deviceDelegateQueried = 1;
        sharedState.strayLightLevel = 0;
        forgetWhatWas();
    }
    // The same with pointer output armed.
    void beginArmedThread() {
        beginThread();
        sharedState.mouseArmed = 1;
    }
    // Ends what was recorded before.
    void forgetWhatWas() {
        desk.pointer.takePosted();
        log.clear();
        desk.clock.takeSleeps();
        desk.broadcast.takeNames();
        unit.takeOperations();
    }
    Pass pass() {
        forgetWhatWas();
        Pass done;
        done.goesOn = driver->pointThreadPass(thread);
        done.posted = desk.pointer.takePosted();
        done.lines = log.takeLines();
        done.sleeps = desk.clock.takeSleeps();
        done.regions = desk.broadcast.takeNames();
        return done;
    }
    // A pass that finds this report.
    Pass passOn(const ReportBytes& report) {
        unit.sendReport(report);
        return pass();
    }
    Pass passOn(int x, int y) { return passOn(penReport(x, y)); }
    // A pass that finds a spot which is mapped to this screen point.
    Pass passOnScreen(double x, double y) {
        mapper->answer = std::optional(ScreenPoint{x, y});
        return passOn(1001, 601);
    }
    // Passes on an empty queue.
    void emptyPasses(int count) {
        for (int i = 0; i < count; ++i)
            pass();
    }

    // A pass that slept and did nothing else.
    static Pass idle() { return {.sleeps = {kPassSleep}}; }
    // The lines of a spot that becomes pointer output, up to where the screen takes over.
    static std::vector<std::string> mappedLines(const std::string& camera, const std::string& rawTwoDigits,
                                                const std::string& screen, int region) {
        return {"Event n:1505 ( " + camera + ")", "Event n:1759 mappedPoint: (" + rawTwoDigits + ")",
                "Event n:1763 mappedPoint: {" + screen + "}, in Region: " + std::to_string(region)};
    }
    // Those of passOnScreen, with what follows them.
    static std::vector<std::string> screenLines(const std::string& screen, int region,
                                                const std::vector<std::string>& rest = {}) {
        auto lines = mappedLines("1001, 601", "1001.00,601.00", screen, region);
        lines.insert(lines.end(), rest.begin(), rest.end());
        return lines;
    }

    std::shared_ptr<ShiftingMapper> mapper = std::make_shared<ShiftingMapper>(0.5, ScreenPoint{3, 7});
    PointThreadState thread;
};

} // namespace lightpen
