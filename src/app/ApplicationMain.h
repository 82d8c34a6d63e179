// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace lightpen {

// Makes the controller, runs the main loop (which returns the exit status), and leaves the process by the run
// loop's exitProcess. Never returns. Main thread, with the platform in place.
void applicationMain(const std::function<int()>& mainLoop);

} // namespace lightpen
