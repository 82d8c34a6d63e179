// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/LogChoice.h"

namespace lightpen {

// What the driver program is asked for on its command line.
struct ProgramOptions {
    LogChoice log = LogChoice::automatic;
    std::string screen; // which one shows the picture; empty: as the settings say
    bool help = false;
};

inline constexpr const char* kProgramUsage =
    "usage: LightPenNX7 [OPTION...]\n"
    "\n"
    "The driver of the camera pen, with an item in the panel. Where it runs already for this user, it ends.\n"
    "\n"
    "  --log WHERE     where the log goes: stderr, file (~/.local/state/LightPenNX7/log) or none; otherwise\n"
    "                  the setting \"Log\" says so, or it goes to a terminal, else to the file\n"
    "  --screen NAME   the screen that shows the picture, as the desktop calls it (\"HDMI-1\"); otherwise "
    "the\n"
    "                  setting \"Main Screen\" says so, or it is the desktop's primary one\n"
    "  --help          this text\n";

// The options behind the program's name; none, and the problem, when they cannot be understood.
std::optional<ProgramOptions> programOptions(std::span<const std::string_view> arguments,
                                             std::string& problem);

} // namespace lightpen
