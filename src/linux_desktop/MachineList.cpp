// SPDX-License-Identifier: MIT
#include "linux_desktop/MachineList.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <utility>

#include <QGuiApplication>

#include "linux_desktop/files/XdgDefaults.h"
#include "linux_desktop/hid/PermissionCommand.h"
#include "linux_desktop/hid/UdevMonitor.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "platform/FileDescriptor.h"

namespace lightpen {

namespace {

constexpr const char* kWouldBeUsed = "would be used";

// Whole numbers as such.
std::string numberText(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g", value);
    return text.data();
}

std::string nameOfUnit(const UsbDevice& device) {
    std::array<char, 16> identifier{};
    std::snprintf(identifier.data(), identifier.size(), "%04x:%04x", static_cast<unsigned>(device.vendorID),
                  static_cast<unsigned>(device.productID));
    std::string name = identifier.data();
    if (!device.productName.empty())
        name += " \"" + device.productName + "\"";
    return device.serialNumber.empty() ? name : name + ", serial number " + device.serialNumber;
}

// Why the node would not be used; empty when it could be.
std::string problemOf(const HidNode& node, int accessError) {
    if (!isPenNode(node))
        return "interface " + std::to_string(node.interfaceNumber) + ", which is not needed";
    if (!node.initialised)
        return "udev is still at work on it";
    return accessError == 0 ? std::string() : "cannot be opened: " + errorText(accessError);
}

// Where no display is named, Qt would end the program.
bool hasDisplay() {
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

std::string listOfScreensHere(int argc, char** argv, const LinuxPlatformSettings& settings,
                              const UserDefaults& defaults) {
    setUpQtMessages();
    const QGuiApplication application(argc, argv);
    setUpQtApplication();
    SharedGeometry geometry;
    const QtDesktop desktop(defaults, geometry, settings.screen);
    return listOfScreens(desktop.screens(),
                         settings.screen.empty() ? textForKey(defaults, kMainScreenKey) : settings.screen);
}

} // namespace

int errorOfAccess(const std::string& devnode) {
    return ::access(devnode.c_str(), R_OK | W_OK) == 0 ? 0 : errno;
}

std::string listOfUnits(const std::vector<HidNode>& nodes, const std::vector<UsbIdentifier>& further,
                        const std::function<int(const std::string& devnode)>& accessError) {
    std::map<std::string, std::string> units; // by path
    bool used = false;
    for (const HidNode& node : nodes) {
        if (!isCameraUnit(node.device, further))
            continue;
        std::string& text = units[node.device.path];
        if (text.empty())
            text = "  " + nameOfUnit(node.device) + '\n';
        const int error = accessError(node.devnode);
        std::string what = problemOf(node, error);
        if (what.empty())
            what = std::exchange(used, true) ? "could be used; one unit is used at a time" : kWouldBeUsed;
        text += "    " + node.devnode + ": " + what + '\n';
        if (error == EACCES && isPenNode(node))
            text += "      This command gives you the permission:\n      " +
                    commandForPermission({node.device.vendorID, node.device.productID}) + '\n';
    }
    std::string all = "Camera units\n";
    for (const auto& [path, text] : units)
        all += text;
    return units.empty() ? all + "  none is plugged in\n" : all;
}

std::string listOfPointerWays(const std::vector<PointerWay>& ways) {
    std::string all = "Pointer\n";
    bool used = false;
    for (const PointerWay& way : ways) {
        const std::string problem = way.problem ? way.problem() : std::string();
        std::string what = "cannot be used: " + problem;
        if (problem.empty())
            what = std::exchange(used, true) ? "could be used" : kWouldBeUsed;
        all += std::string("  ") + way.name + ": " + what + '\n';
    }
    return all;
}

std::string listOfScreens(const std::vector<Screen>& screens, const std::string& askedFor) {
    std::string all = "Screens\n";
    bool first = true, found = askedFor.empty();
    for (const Screen& screen : screens) {
        const bool named = !askedFor.empty() && screen.name == askedFor;
        all += "  " + (screen.name.empty() ? "without a name" : screen.name) + ": " +
               numberText(screen.frame.size.width) + " x " + numberText(screen.frame.size.height) + " points";
        if (std::exchange(first, false))
            all += std::string("; ") + kWouldBeUsed + ": it is the " +
                   (named ? "one that was asked for" : "desktop's primary one");
        else if (!screen.name.empty())
            all += "; --screen " + screen.name + " would choose it";
        all += '\n';
        found = found || named;
    }
    if (screens.empty())
        all += "  there are none\n";
    return found ? all : all + "  " + askedFor + " was asked for and is not there\n";
}

// The screens come last: a display that is named but not there ends the program.
int printMachine(int argc, char** argv, const LinuxPlatformSettings& settings) {
    const XdgDefaults defaults(settings.settingsFile);
    const auto nodes = hidNodesOfTheMachine();
    std::fputs(listOfUnits(nodes.value_or(std::vector<HidNode>()), settings.furtherUnits).c_str(), stdout);
    if (!nodes)
        std::fputs("  the USB bus cannot be looked at\n", stdout);
    std::fputs(listOfPointerWays(pointerWays(chosenPointer(settings.pointer, defaults))).c_str(), stdout);
    std::fflush(stdout);
    const std::string screens = hasDisplay() ? listOfScreensHere(argc, argv, settings, defaults)
                                             : "Screens\n  there is no display here\n";
    std::fputs(screens.c_str(), stdout);
    return EXIT_SUCCESS;
}

} // namespace lightpen
