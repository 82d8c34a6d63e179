// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "app/home/HomeTexts.h"

namespace lightpen {

// Posted in the process when the program's own camera is otherwise than before.
inline constexpr std::string_view kProgramCameraDidChange = "kProgramCameraDidChange";

// A camera that this program makes a camera unit of. Main thread.
struct ProgramCamera {
    std::function<std::string_view()> state; // how it is, in one line: a key of the string tables
    std::function<bool()> switchedOn;        // whether the user wants it to look
    std::function<void(bool)> switchOn;      // plugs the unit in, and lets the camera look; or neither

    // What the camera does itself around an automatic calibration. It posts kProgramCameraDidChange when one
    // of the two has begun, and when it is over.
    struct Calibration {
        // Before the targets are shown: goOn is called once they may be, and not at all when it is ended
        // before that.
        std::function<void(std::function<void()> goOn)> before;
        // When it has been stored.
        std::function<void(const HomeTexts& texts)> after;
        std::function<bool()> underWay;
        std::function<void()> end; // as the user does
    };
    std::optional<Calibration> calibration = std::nullopt; // none where it does nothing
};

// What the window says of the running program, which the program's entry alone knows.
struct ProgramFacts {
    std::string logFile; // the path; empty where the log goes to no file
    // The way that pointer events go now; empty while there is none.
    std::function<std::string()> pointer = [] { return std::string(); };
    // Whether a camera finds targets on the screen without a hand. One in software has to look at the
    // screen, which a desktop may let no program do.
    bool cameraSeesScreen = true;
    // None where units come by cable.
    std::optional<ProgramCamera> camera = std::nullopt;
};

} // namespace lightpen
