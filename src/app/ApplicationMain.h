// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

#include "app/home/ProgramFacts.h"
#include "platform/ApplicationRequests.h"

namespace lightpen {

// What the program's entry knows and the application asks for.
struct ApplicationSurroundings {
    ProgramFacts facts = {};
    ApplicationRequests* requests = nullptr; // not owned; null where nobody can ask
    std::string action = {};                 // to be performed first; empty for none
};

// Makes the controller, runs the main loop (which returns the exit status), and leaves the process by the run
// loop's exitProcess. Never returns. Main thread, with the platform in place.
void applicationMain(const std::function<int()>& mainLoop, const ApplicationSurroundings& surroundings = {});

} // namespace lightpen
