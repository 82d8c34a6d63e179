// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace lightpen {

// Posted in the process when the condition is another one, or its detail.
inline constexpr std::string_view kPenConditionDidChange = "kPenConditionDidChange";

// Whether the pen can be used now, and if not, why. The controller owns the one of the program and says what
// it knows; whoever shows it asks, and asks again after kPenConditionDidChange. Main thread.
class PenCondition {
public:
    // Where several troubles hold at once, the one that has to be mended first counts.
    enum class State {
        ready,
        noUnit,                // none is plugged in
        noPermission,          // one is, and this user may not open it
        strayLight,            // the light test saw a light that is not the pen's; the pen rests
        otherSession,          // somebody else sits at the machine, or it goes to sleep
        notCalibrated,         // the unit is in use and stores no calibration
        calibrationDoesNotFit, // it was made on a screen of another shape than the present one's
    };
    // What is so, each by itself. As it is made, there is no unit.
    struct Facts {
        bool hasTheSeat = true;
        // The command that gives the user the permission; empty while no unit is shut for want of it.
        std::string permissionCommand = {};
        bool unitInUse = false;
        bool strayLight = false;
        bool calibrated = false;
        bool calibrationFits = true;
        friend bool operator==(const Facts&, const Facts&) = default;
    };

    // What is said of stray light, also by the window with the camera's picture.
    static constexpr std::string_view kStrayLightMessage =
        "Strong lighting in the environment may cause light pen to stop functioning normally or sliding door "
        "doesn't close properly. Please open the sliding door, then confirm the detection range.";

    static State stateOf(const Facts& facts);
    // What is to be said of a state in one line: a key of the string tables.
    static std::string_view textKey(State state);
    // What to do about it, or what it means: such a key too; empty where nothing is to be said.
    static std::string_view adviceKey(State state);

    State state() const { return stateOf(facts_); }
    const Facts& facts() const { return facts_; }
    // What belongs to the state: for noPermission the command that mends it, to be run in a terminal; empty
    // for the others.
    const std::string& detail() const;
    // Takes the facts, and posts kPenConditionDidChange where they change an answer.
    void set(Facts facts);

private:
    Facts facts_;
};

} // namespace lightpen
