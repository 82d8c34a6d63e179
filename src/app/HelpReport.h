// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace lightpen {

// What the program's entry alone knows.
struct HelpReportFacts {
    std::string logFile; // its path; empty where the log goes elsewhere
    std::string pointer; // the way that pointer events go; empty while there is none
};

// What a user who asks for help sends along, as English plain text: the versions of program, Qt and kernel,
// the desktop with its screens, the unit that is open, the pointer in use, the settings, and the last 200
// lines of the log file. It does not tell where the pen was, nor who the user is: no coordinates, no serial
// number, no name of the home folder. Reads the log's files. Main thread.
std::string helpReport(const HelpReportFacts& facts);

} // namespace lightpen
