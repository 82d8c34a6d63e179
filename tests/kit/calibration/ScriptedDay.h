// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "calibration/KVRCalibrationCenter.h"
#include "device/EventGeneratorNX7.h"
#include "kit/TestPlatform.h"
#include "kit/TurnTaking.h"
#include "platform/Log.h"
#include "unit/CameraUnit.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {

// What a step of a script does. What somebody does with the units takes place whatever the program waits for;
// what the user chooses in the program is asked of its main loop.
enum class DayStep : std::uint8_t {
    wait, // so many times 8 ms, and once more
    plug, // unit 0 or 1, as the argument is even or odd; so do unplug and all that follow up to "information"
    unplug,
    touch,     // on a grid of 16 by 16 places of the screen: the column is in the upper half of the argument
    spot,      // the same on the camera's whole range and beyond it
    lift,      //
    light,     // a foreign light appears, or goes
    silence,   // answers no more, or again
    length,    // each report has another length
    garbage,   // random reports
    deafness,  // does not read what it is sent, or reads it again
    pullAt,    // its plug is pulled at the next moment of this kind
    flash,     // how the flash answers
    delay,     // answers come later
    behaviour, // does not behave as a good unit, or does again
    information, // wireless, and how the unit works
    calibrate,   // the user from here on; 4, 9, 25 or 80 targets, by hand or by the camera
    cancel,      //
    picture,     //
    settings,    //
    keys,        // of the pairing key window
    menu,        // opens, or closes
    preview,     // shows the preview window, or hides it
    mend,        // both units are good again, and calibrated
    count
};

// The process's driver with a calibration centre and two camera units, in virtual time, and somebody who does
// with them what a script says. The point thread and he who plays the script are threads of their own, and
// take turns with the main one. The driver's log is formatted and dropped. One at a time.
class ScriptedDay final : private LogSink {
public:
    ScriptedDay();
    ~ScriptedDay() override;
    ScriptedDay(const ScriptedDay&) = delete;
    ScriptedDay& operator=(const ScriptedDay&) = delete;

    // Plays the steps, of two bytes each: what is done (a DayStep, modulo their count), and an argument. At
    // the end both units are good again, one of them is plugged in anew and draws, and both are unplugged.
    // Answers what is wrong then; empty when nothing is. It can be called again, unless something was wrong.
    std::string play(std::span<const std::uint8_t> script);

    Microseconds now() { return desk_.clock.now(); }
    // What happened so far: steps, presses of the left button, calibrations that were completed, pictures
    // that came, and lights that were found.
    struct Tally {
        long steps = 0;
        long presses = 0;
        long calibrations = 0;
        long pictures = 0;
        long lights = 0;
    };
    const Tally& tally() const { return tally_; }

private:
    class User;

    static constexpr std::size_t kUnits = 2;

    void logLine(std::string_view) override {}
    void standardOutput(std::string_view) override {}

    void playScript(std::span<const std::uint8_t> script);
    void endDay();
    void unplugAll();
    void mendUnits();
    bool programEnds() const;
    void drawOnceMore();
    bool drawsAt(ScreenPoint place);
    void perform(DayStep step, std::uint8_t argument);
    void performAtUnit(DayStep step, CameraUnit& unit, std::uint8_t argument);
    void perform(std::function<void()> operation);
    void calibrate(std::uint8_t argument);
    static void pressKeys(std::uint8_t argument);
    void posted(const RecordingPointer::Posted& event);
    void wait(Microseconds duration, const std::function<bool()>& woken = {});
    std::string whatIsWrong() const;
    void forgetWhatWasKept();

    EventGeneratorNX7* const driver_;
    TestPlatform desk_;
    TurnTaking turnTaking_{desk_.clock};
    std::shared_ptr<IONotificationPort> port_;
    std::shared_ptr<KVRCalibrationCenter> center_;
    std::shared_ptr<User> user_;
    EmulatedBus bus_{desk_.registry, desk_.runLoop, desk_.clock};
    CameraUnit* units_[kUnits]{};

    Tally tally_;
    bool leftDown_ = false;
    bool rightDown_ = false;
    bool cursorHidden_ = false;
    std::optional<ScreenPoint> drawnAt_; // where the left button was pressed or dragged last
    std::atomic<int> threads_{0};        // of the driver
    std::atomic<long> turns_{0};         // of the main loop, outside of all that the driver waits for
    std::atomic<bool> over_{false};
    std::string finding_;
};

} // namespace lightpen
