// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/LogChoice.h"
#include "platform/UsbIdentifier.h"

namespace lightpen {

// What the driver program is asked for on its command line.
struct ProgramOptions {
    LogChoice log = LogChoice::automatic;
    std::string screen;                 // which one shows the picture; empty: as the settings say
    std::vector<UsbIdentifier> devices; // what counts as a camera unit beside those that are known
    // What is printed in place of a start; the first of them that was asked for counts.
    bool help = false;
    bool version = false;
    bool list = false;
    std::string action;    // what the application is asked for at once; empty for nothing
    bool restored = false; // by a session manager, which brings back what ran before
};

inline constexpr const char* kProgramUsage =
    "usage: LightPenNX7 [OPTION...]\n"
    "\n"
    "The driver of the camera pen, with an item in the panel. Where it runs already for this user, that one\n"
    "shows its window, and this one ends.\n"
    "\n"
    "  --log WHERE     where the log goes: stderr, file (~/.local/state/LightPenNX7/log) or none; otherwise\n"
    "                  the setting \"Log\" says so, or it goes to a terminal, else to the file\n"
    "  --screen NAME   the screen that shows the picture, as the desktop calls it (\"HDMI-1\"); otherwise "
    "the\n"
    "                  setting \"Main Screen\" says so, or it is the desktop's primary one\n"
    "  --device VID:PID\n"
    "                  takes USB devices of this identifier (hexadecimal numbers) for camera units too;\n"
    "                  may be given more than once\n"
    "  --list          which units, ways to the pointer and screens there are, which would be used, and why\n"
    "                  others would not; starts nothing\n"
    "  --version       the program's version\n"
    "  --action NAME   what to do at once: show (the window), calibrate, settings or help\n"
    "  --help          this text\n";

// The options behind the program's name; none, and the problem, when they cannot be understood.
std::optional<ProgramOptions> programOptions(std::span<const std::string_view> arguments,
                                             std::string& problem);

} // namespace lightpen
