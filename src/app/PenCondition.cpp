// SPDX-License-Identifier: MIT
#include "app/PenCondition.h"

#include <utility>

#include "platform/Platform.h"

namespace lightpen {

PenCondition::State PenCondition::stateOf(const Facts& facts) {
    if (!facts.hasTheSeat)
        return State::otherSession;
    if (facts.strayLight)
        return State::strayLight;
    if (!facts.unitInUse)
        return facts.permissionCommand.empty() ? State::noUnit : State::noPermission;
    if (!facts.calibrated)
        return State::notCalibrated;
    return facts.calibrationFits ? State::ready : State::calibrationDoesNotFit;
}

std::string_view PenCondition::textKey(State state) {
    switch (state) {
    case State::ready:
        return "The pen is ready";
    case State::noUnit:
        return "No camera unit";
    case State::noPermission:
        return "No permission to use the camera unit";
    case State::strayLight:
        return "The camera sees stray light";
    case State::otherSession:
        return "The camera unit is left to another user";
    case State::notCalibrated:
        return "The pen is not calibrated";
    case State::calibrationDoesNotFit:
        return "The calibration may not fit the screen any more";
    }
    return {};
}

std::string_view PenCondition::adviceKey(State state) {
    switch (state) {
    case State::ready:
        break;
    case State::noUnit:
        return "Plug the camera unit in. If it is, try another port.";
    case State::noPermission:
        return "Run this command in a terminal:";
    case State::strayLight:
        return kStrayLightMessage;
    case State::otherSession:
        return "The pen works again when your session is the one that is shown.";
    case State::notCalibrated:
        return "Touch the targets once, and the pen moves the pointer.";
    case State::calibrationDoesNotFit:
        return "The screen had another shape when the pen was calibrated.";
    }
    return {};
}

const std::string& PenCondition::detail() const {
    static const std::string none;
    return state() == State::noPermission ? facts_.permissionCommand : none;
}

void PenCondition::set(Facts facts) {
    const State stateBefore = state();
    const std::string detailBefore = detail();
    facts_ = std::move(facts);
    if (state() != stateBefore || detail() != detailBefore)
        Platform::current().notifications.post({std::string(kPenConditionDidChange), this});
}

} // namespace lightpen
