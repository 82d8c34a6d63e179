// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "webcam/camera/CameraMode.h"

namespace lightpen::webcam {

// Why a camera cannot be used.
struct CameraProblem {
    enum class Kind {
        none,         // it can
        absent,       // nothing is plugged in there
        notPermitted, // this user may not open it
        busy,         // another program has it
        notACamera,   // no video node, or one that captures no pictures
        noFormat,     // it has no format that is read here
        failed,       // it answers requests with an error
    };

    Kind kind = Kind::none;
    // One line for the log and the terminal, in English, with the node and without a full stop; empty when
    // there is none.
    std::string text;

    explicit operator bool() const { return kind != Kind::none; } // whether there is one
};

// The problem that the kernel's error number stands for when this node cannot be opened, or used.
CameraProblem problemOfError(const std::string& node, int error);
// The problem of a camera that has none of the modes that are read here; none when it has one.
CameraProblem problemOfModes(const std::string& node, const std::vector<CameraMode>& modes);

} // namespace lightpen::webcam
