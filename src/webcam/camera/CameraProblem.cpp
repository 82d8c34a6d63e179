// SPDX-License-Identifier: MIT
#include "webcam/camera/CameraProblem.h"

#include "platform/FileDescriptor.h"

namespace lightpen::webcam {

CameraProblem problemOfError(const std::string& node, int error) {
    using Kind = CameraProblem::Kind;
    switch (error) {
    case 0:
        return {};
    case ENOENT:
    case ENODEV:
    case ENXIO:
        return {Kind::absent, node + " is not there: no camera is plugged in"};
    case EACCES:
    case EPERM:
        return {Kind::notPermitted, node + " may not be opened by this user (the group \"video\" may)"};
    case EBUSY:
        return {Kind::busy, node + " is used by another program"};
    case ENOSPC:
        return {Kind::failed, node + " cannot be used: its USB bus has no room for its pictures"};
    case ENOTTY:
        return {Kind::notACamera, node + " is no camera"};
    default:
        return {Kind::failed, node + " cannot be used: " + errorText(error)};
    }
}

CameraProblem problemOfModes(const std::string& node, const std::vector<CameraMode>& modes) {
    if (!modes.empty())
        return {};
    return {CameraProblem::Kind::noFormat, node + " sends none of the formats GREY, YUYV and MJPG"};
}

} // namespace lightpen::webcam
