// SPDX-License-Identifier: MIT
// Waiting to arm: what a unit reports right after it was opened must not become pointer output.
#pragma once

#include "platform/Shared.h"

namespace lightpen {

// How far the wait is.
enum class Arming {
    noUnit,  // no unit is open
    waiting, // the unit was opened a moment ago: what it reports is thrown away
    due,     // enough passes have been waited: the next empty poll arms
    armed    // what the unit reports is used
};

// What a pass of the point thread does with the result of its poll.
enum class ArmingStep {
    goOn,      // the pass goes on with it
    throwAway, // the report is thrown away and the pass counted
    arm        // the unit is armed from now on, and the pass goes on
};

//   state           stray light   a report was taken   nothing was taken
//   noUnit, armed   -             goOn                 goOn
//   waiting         -             throwAway            goOn
//   due             no            throwAway            arm
//   due             yes           arm                  arm
constexpr ArmingStep armingStep(Arming state, bool strayLight, bool reportTaken) {
    if (state == Arming::noUnit || state == Arming::armed)
        return ArmingStep::goOn;
    if (state == Arming::due && (strayLight || !reportTaken))
        return ArmingStep::arm;
    return reportTaken ? ArmingStep::throwAway : ArmingStep::goOn;
}

// How many passes are waited.
inline constexpr int kPassesBeforeArming = 6;

// The state that these words stand for. The first pass of a wait counts as waiting even when the
// deviceDelegate getter has armed beside it.
constexpr Arming armingOf(int unitOpen, int mouseArmed, int disarmedPollCount) {
    if (unitOpen != 1)
        return Arming::noUnit;
    if (mouseArmed != 0 && disarmedPollCount != 1)
        return Arming::armed;
    return disarmedPollCount < kPassesBeforeArming ? Arming::waiting : Arming::due;
}

// The words that both threads read and write, and what is done with them.
struct ArmingWords {
    // 1 while a unit is open. Written by init (1, unit or not), arrival and restart (0, then 1), removal (0).
    SharedWord unitOpen{0};
    // 1 from the first question for the device delegate on: polling begins. Removal and restart clear it.
    SharedWord deviceDelegateQueried{0};
    // 1 once reports become pointer output. Written by the point thread (1), the deviceDelegate getter (1, or
    // 0 to hold output back), arrival, removal and restart (0).
    SharedWord mouseArmed{0};
    // Passes spent waiting to arm. Written by the point thread; arrival, removal and restart clear it.
    SharedWord disarmedPollCount{0};
    // Sightings of the light test, -1 before the first. Written by startDevice; restart clears it.
    SharedWord strayLightLevel{-1};

    Arming arming() const { return armingOf(unitOpen, mouseArmed, disarmedPollCount); }
    // Whether the point thread takes reports.
    bool polls() const { return unitOpen == 1 && deviceDelegateQueried == 1 && strayLightLevel == 0; }
    // Whether image reports are collected without being asked for.
    bool collectsPictures() const {
        return mouseArmed == 1 && disarmedPollCount == 0 && strayLightLevel == 0;
    }
    // The pass is counted before its sleep, so that the deviceDelegate getter sees a pass that is under way.
    void countPass() { disarmedPollCount = disarmedPollCount + 1; }
    void arm() {
        mouseArmed = 1;
        disarmedPollCount = 0;
    }
    // Each question for the device delegate starts the polling. It arms a unit that is open, unless a wait is
    // under way, which then goes on.
    void delegateIsAskedFor() {
        deviceDelegateQueried = 1;
        mouseArmed = disarmedPollCount <= 0 ? unitOpen.load() : 0;
    }
    void waitAnew() {
        mouseArmed = 0;
        disarmedPollCount = 0;
    }
    // The unit is gone: nothing is polled until the delegate is asked for again.
    void close() {
        waitAnew();
        unitOpen = 0;
        deviceDelegateQueried = 0;
    }
};

} // namespace lightpen
