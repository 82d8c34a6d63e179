// SPDX-License-Identifier: MIT
// What a user is told who asks for a list of what the driver would find: lines of English, made without
// starting anything, so that a driver may run meanwhile.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/hid/UnitPublisher.h"
#include "platform/Screen.h"
#include "platform/UsbIdentifier.h"

namespace lightpen {

// Why this user may not open a node for reading and writing, as an error number; 0 when he may. Nothing is
// opened.
int errorOfAccess(const std::string& devnode);

// The camera units among the nodes, each with its nodes. The first pen's node that could be opened is the one
// that would be used.
std::string listOfUnits(const std::vector<HidNode>& nodes, const std::vector<UsbIdentifier>& further,
                        const std::function<int(const std::string& devnode)>& accessError = errorOfAccess);

// The ways in their order: the first that could be opened would be used.
std::string listOfPointerWays(const std::vector<PointerWay>& ways);

// The screens, of which the first would show the picture. The name is that of the screen that was asked for;
// empty when none was.
std::string listOfScreens(const std::vector<Screen>& screens, const std::string& askedFor);

// Prints all of it as this machine has it for a program with these settings; returns its exit status. Makes
// the application object, and ends the program like that does where a display is named but not there.
int printMachine(int argc, char** argv, const LinuxPlatformSettings& settings);

} // namespace lightpen
