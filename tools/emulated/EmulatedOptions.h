// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/LogChoice.h"

namespace lightpen {

// How the program with the unit in software begins.
struct EmulatedOptions {
    bool plugged = false;
    bool calibrated = false;
    bool strayLight = false;
    bool hand = true; // it touches the targets of calibrations by itself
    std::optional<std::uint8_t> wireless;
    std::string pose;   // empty: the first one
    std::string screen; // which one the camera looks at; empty: as the settings say
    bool commands = false;
    LogChoice log = LogChoice::automatic;
    bool xtest = false; // the pointer moves through XTest whatever the machine has
    bool help = false;
    bool version = false;
};

inline constexpr const char* kEmulatedUsage =
    "usage: LightPenNX7-emulated [OPTION...]\n"
    "\n"
    "The driver with a camera unit in software, and a window that shows the screen as its camera sees it, "
    "in\n"
    "which the mouse is the pen.\n"
    "\n"
    "  --plugged       the unit is plugged in from the start\n"
    "  --calibrated    its flash holds a calibration\n"
    "  --stray-light   a foreign infrared light is on\n"
    "  --no-hand       the hand does not touch the targets of calibrations by itself\n"
    "  --wireless N    the unit's byte of that name, 0 to 255 (1)\n"
    "  --screen NAME   the screen at which its camera looks, as the desktop calls it (\"HDMI-1\"); otherwise "
    "the\n"
    "                  setting \"Main Screen\" says so, or it is the desktop's primary one\n"
    "  --pose NAME     where the camera stands: keystone (at first), straight or rotated\n"
    "  --commands      reads commands from standard input, one a line, and answers each with a line: plug,\n"
    "                  unplug, replug [MS], tap X Y, hold X Y [MS], drag X Y X Y..., wait, stray on|off,\n"
    "                  pose NAME, wireless N, board N, cmos N, silent on|off, calibrate, erase, flash, hand "
    "on|off,\n"
    "                  state, quit; the end of the input ends the program\n"
    "  --xtest         moves the pointer through XTest, never through the machine's own input devices\n"
    "  --log WHERE     where the log goes: stderr, file (~/.local/state/LightPenNX7-emulated/log) or none;\n"
    "                  otherwise the setting \"Log\" says so, or it goes to a terminal, else to the file\n"
    "  --version       the program's version\n"
    "  --help          this text\n";

// The options behind the program's name; none, and the problem, when they cannot be understood.
std::optional<EmulatedOptions> emulatedOptions(std::span<const std::string_view> arguments,
                                               std::string& problem);

} // namespace lightpen
