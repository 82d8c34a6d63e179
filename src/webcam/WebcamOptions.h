// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "app/ProgramOptions.h"

namespace lightpen::webcam {

// What the program is asked for on its command line.
struct WebcamOptions {
    ProgramOptions program; // what it has in common with the driver of units on a cable
    std::string camera;     // which camera; empty: the best there is
    bool report = false;    // print what tells about the cameras, and start nothing
};

inline constexpr const char* kWebcamUsage =
    "usage: LightPenNX7-webcam [OPTION...]\n"
    "\n"
    "The driver of the camera pen, with a webcam in place of the camera unit. It is LightPenNX7 otherwise, "
    "with\n"
    "its settings: only one of the two runs for a user. Where one does already, that one shows its window.\n"
    "\n"
    "  --camera DEVICE the camera: its node (/dev/video2), a link to it (/dev/v4l/by-id/...) or its name, "
    "as\n"
    "                  --list has it; otherwise the best there is\n"
    "  --list          which cameras there are, and which would be used, also with --camera; starts "
    "nothing.\n"
    "                  The status is 1 when it would be none\n"
    "  --report        what to send when a camera does not work: formats, controls and measured rates, no\n"
    "                  picture; starts nothing\n"
    "  --log WHERE     where the log goes: stderr, file (~/.local/state/LightPenNX7/log) or none; otherwise\n"
    "                  the setting \"Log\" says so, or it goes to a terminal, else to the file\n"
    "  --screen NAME   the screen that shows the picture, as the desktop calls it (\"HDMI-1\"); otherwise "
    "the\n"
    "                  setting \"Main Screen\" says so, or it is the desktop's primary one\n"
    "  --version       the program's version\n"
    "  --action NAME   what to do at once: show (the window), calibrate, settings or help\n"
    "  --help          this text\n";

// The program's name and version in one line, with a line break.
std::string webcamVersionLine();

// The options behind the program's name; none, and the problem, when they cannot be understood.
std::optional<WebcamOptions> webcamOptions(std::span<const std::string_view> arguments, std::string& problem);

} // namespace lightpen::webcam
