// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "app/home/ProgramFacts.h"

namespace lightpen {

// What a user who asks for help sends along, as English plain text: the versions of program, Qt and kernel,
// the desktop with its screens, the unit that is open, the pointer in use, the settings, and the last 200
// lines of the log file. It does not tell where the pen was, nor who the user is: no coordinates, no serial
// number, no name of the home folder. Reads the log's files. Main thread.
std::string helpReport(const ProgramFacts& facts);

} // namespace lightpen
