// SPDX-License-Identifier: MIT
#include "webcam/CameraState.h"

namespace lightpen::webcam {

CameraState stateOf(CameraProblem::Kind problem, bool manualExposure) {
    switch (problem) {
    case CameraProblem::Kind::none:
        return manualExposure ? CameraState::looking : CameraState::lookingAsItLikes;
    case CameraProblem::Kind::absent:
        return CameraState::absent;
    case CameraProblem::Kind::notPermitted:
        return CameraState::notPermitted;
    case CameraProblem::Kind::busy:
        return CameraState::busy;
    default:
        return CameraState::unusable;
    }
}

std::string_view textKey(CameraState state) {
    switch (state) {
    case CameraState::off:
        return "The camera is switched off";
    case CameraState::looking:
        return "The camera is looking";
    case CameraState::lookingAsItLikes:
        return "The camera is looking, but its exposure cannot be set";
    case CameraState::absent:
        return "No camera unit";
    case CameraState::busy:
        return "Another program uses the camera";
    case CameraState::notPermitted:
        return "No permission to use the camera unit";
    case CameraState::unusable:
        break;
    }
    return "The camera cannot be used";
}

} // namespace lightpen::webcam
