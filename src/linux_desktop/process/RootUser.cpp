// SPDX-License-Identifier: MIT
#include "linux_desktop/process/RootUser.h"

#include "platform/Log.h"

namespace lightpen {

void warnOfRoot(uid_t user) {
    if (user == 0)
        logLine(
            "Application: started as root; a fault in what it reads from the unit would then endanger the "
            "whole system, and its settings and files are root's: start it as the user at the screen");
}

} // namespace lightpen
