// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "linux_desktop/pointer/LinuxPointer.h"
#include "linux_desktop/process/ProgramLog.h"
#include "linux_desktop/screen/QtDesktop.h"
#include "platform/Platform.h"
#include "platform/ServiceRegistry.h"
#include "platform/UsbIdentifier.h"

namespace lightpen {

// Where the registry's camera units come from: found on the machine's USB, or published by the program, as a
// unit in software is.
enum class Units { ofTheMachine, ofTheProgram };

// What differs from one program on this platform to the next.
struct LinuxPlatformSettings {
    // The files and folders of the user and of the running program, whose name those of the user carry.
    explicit LinuxPlatformSettings(const std::string& program = "LightPenNX7");

    Units units = Units::ofTheMachine;
    // Devices of the machine that count as camera units of the first kind, beside those that are known.
    std::vector<UsbIdentifier> furtherUnits;
    // Anything but automatic goes before the user default "Pointer" ("uinput" or "xtest").
    PointerChoice pointer = PointerChoice::automatic;
    // The name of the screen that shows the picture; one that is not empty goes before the user default "Main
    // Screen".
    std::string screen;
    std::string settingsFile; // NAME/settings.ini below $XDG_CONFIG_HOME
    // The folders of the data files that the user has written, NAME below $XDG_DATA_HOME, and of those that
    // came with the program.
    std::string userFiles;
    std::string shippedFiles;
    // The entries of what starts when the user logs in: autostart below $XDG_CONFIG_HOME. Behind it the
    // system's, autostart below $XDG_CONFIG_DIRS, which are only read.
    std::string loginFolder;
    std::vector<std::string> systemLoginFolders;
    // The folder with the information dictionary and the resources, and the program in it that starts at
    // login.
    std::filesystem::path applicationFolder;
    std::string startedProgram = "LightPenNX7";
    // A choice of automatic leaves it to the user default "Log" ("stderr", "file" or "none"). The log file's
    // folder is NAME below $XDG_STATE_HOME.
    ProgramLog::Settings log;
};

// The platform of a program on a Linux desktop: makes all parts in their order and owns them. It is made on
// the main thread, after the application object and setUpQtApplication(). A program that has started threads
// ends through exitProcess, never by destroying this under them. A program that something else ends with
// exit() still lets go of buttons, writes its log out, and leaves at that point.
class LinuxPlatform {
public:
    explicit LinuxPlatform(LinuxPlatformSettings settings = LinuxPlatformSettings());
    // For programs whose threads have all ended: buttons are let go of, the log is written out.
    ~LinuxPlatform();
    LinuxPlatform(const LinuxPlatform&) = delete;
    LinuxPlatform& operator=(const LinuxPlatform&) = delete;

    Platform& platform();
    // Runs the main loop until the program is to end; returns the exit status, meant for exitProcess.
    int run();
    // The registry, for a program that publishes units of its own.
    ServiceRegistry& registry();
    // For windows that belong on the main screen.
    QtDesktop& desktop();
    // The way that pointer events go, "uinput" or "XTest"; empty while there is none.
    std::string pointerInUse() const;
    // The log in force, for a program that puts one of its own before it.
    ProgramLog& log();

private:
    class Parts;
    const std::unique_ptr<Parts> parts_;
};

} // namespace lightpen
