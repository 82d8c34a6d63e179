// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

namespace lightpen {

// What the window says of the running program, which the program's entry alone knows.
struct ProgramFacts {
    std::string logFile; // the path; empty where the log goes to no file
    // The way that pointer events go now; empty while there is none.
    std::function<std::string()> pointer = [] { return std::string(); };
    // Whether a camera finds targets on the screen without a hand. One in software has to look at the
    // screen, which a desktop may let no program do.
    bool cameraSeesScreen = true;
};

} // namespace lightpen
