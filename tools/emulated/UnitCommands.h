// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "emulated/UnitControl.h"

namespace lightpen {

// The words that drive a unit from outside, one command a line:
//
//   plug, unplug, replug [MS]                 the plug; replug with a pause
//   tap X Y, hold X Y [MS]                    touches, in screen points
//   drag X Y X Y [X Y ...]                    a stroke through these screen points
//   wait                                      until the hand rests and what it did has arrived
//   stray on [X Y], stray off                 a foreign light, in camera units
//   pose keystone|straight|rotated            where the camera stands
//   wireless N, board N, cmos N               bytes that the unit tells when its flash is read next
//   silent on|off                             whether the unit leaves every question without an answer
//   calibrate, erase, flash                   stores a calibration, erases it, tells the stored points
//   hand on|off                               whether the hand touches the targets of calibrations by itself
//   state                                     the unit and the driver in words
//   quit                                      ends the program
//
// An answer is "ok", "ok" with what was asked for, or "error" with the reason. Main thread.
class UnitCommands {
public:
    // What the commands reach beside the unit.
    struct Surroundings {
        std::function<void(bool)> letHandTouchTargets;
        std::function<std::string()> driverState; // name=value, for the command state
        std::function<void()> quit;
    };

    // The control outlives this object.
    UnitCommands(UnitControl& control, Surroundings surroundings);

    // Performs the command. None: it is not done yet; the same line is to be asked again a little later.
    std::optional<std::string> perform(std::string_view line);

private:
    UnitControl& control_;
    const Surroundings surroundings_;
};

} // namespace lightpen
