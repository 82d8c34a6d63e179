// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "linux_desktop/files/ApplicationBundle.h"
#include "linux_desktop/files/Resources.h"
#include "linux_desktop/files/XdgDataFiles.h"
#include "linux_desktop/files/XdgDefaults.h"
#include "linux_desktop/files/XdgLoginItems.h"
#include "linux_desktop/panel/TrayStatusBar.h"
#include "linux_desktop/pointer/LinuxPointer.h"
#include "linux_desktop/process/DBusNotifications.h"
#include "linux_desktop/process/LinuxLocales.h"
#include "linux_desktop/process/LinuxSounds.h"
#include "linux_desktop/process/QtRunLoop.h"
#include "linux_desktop/process/QtWorkspace.h"
#include "linux_desktop/process/StderrLog.h"
#include "linux_desktop/process/SystemClock.h"
#include "linux_desktop/process/SystemThreads.h"
#include "linux_desktop/process/TerminationSignals.h"
#include "linux_desktop/screen/LinuxSystemUI.h"
#include "linux_desktop/screen/QtDesktop.h"
#include "platform/Platform.h"
#include "platform/ServiceRegistry.h"

namespace lightpen {

// Where the registry's camera units come from: found on the machine's USB, or published by the program, as a
// unit in software is.
enum class Units { ofTheMachine, ofTheProgram };

// What differs from one program on this platform to the next.
struct LinuxPlatformSettings {
    Units units = Units::ofTheMachine;
    // Anything but automatic goes before the user default "Pointer" ("uinput" or "xtest").
    PointerChoice pointer = PointerChoice::automatic;
    std::string settingsFile = XdgDefaults::userFile();
    // The folders of the data files that the user has written, and of those that came with the program.
    std::string userFiles = XdgDataFiles::userFolder();
    std::string shippedFiles = resourceFolder().string();
    // The entries of what starts when the user logs in.
    std::string loginFolder = XdgLoginItems::userFolder();
    // The folder with the information dictionary and the resources.
    std::filesystem::path applicationFolder = ApplicationBundle::folderOfTheProgram();
    StderrLog::Settings log;
};

// The platform of a program on a Linux desktop: makes all parts in their order and owns them. It is made on
// the main thread, after the application object and setUpQtApplication(). A program that has started threads
// ends through exitProcess, never by destroying this under them. A program that something else ends with
// exit() still lets go of buttons, writes its log out, and leaves at that point.
class LinuxPlatform {
public:
    static constexpr std::string_view kPointerKey = "Pointer";

    explicit LinuxPlatform(LinuxPlatformSettings settings = {});
    // For programs whose threads have all ended: buttons are let go of, the log is written out.
    ~LinuxPlatform();
    LinuxPlatform(const LinuxPlatform&) = delete;
    LinuxPlatform& operator=(const LinuxPlatform&) = delete;

    Platform& platform() { return platform_; }
    // Runs the main loop until the program is to end; returns the exit status, meant for exitProcess.
    int run() { return runLoop_.run(); }
    // The registry, for a program that publishes units of its own.
    ServiceRegistry& registry() { return registry_; }
    // For windows that belong on the main screen.
    QtDesktop& desktop() { return desktop_; }
    // The log in force, for a program that puts one of its own before it.
    StderrLog& log() { return log_; }

private:
    // Every line goes through the log that does not wait, from before the first part to after the last.
    struct LogInForce {
        explicit LogInForce(LogSink& log) { setLogSink(&log); }
        ~LogInForce() { setLogSink(nullptr); }
        LogInForce(const LogInForce&) = delete;
        LogInForce& operator=(const LogInForce&) = delete;
    };

    class MachineUnits;

    void releaseButtonsAndFlushLog();
    static void atExit(int status, void* unused);

    StderrLog log_;
    LogInForce logInForce_{log_};
    SystemClock clock_;
    SystemThreads threads_;
    QtRunLoop runLoop_;
    TerminationSignals signals_;
    XdgDefaults defaults_;
    XdgDataFiles dataFiles_;
    SharedGeometry geometry_;
    QtDesktop desktop_;
    LinuxPointer pointer_;
    ServiceRegistry registry_;
    std::unique_ptr<MachineUnits> machineUnits_;
    NotificationCenter notifications_;
    DBusNotifications distributedNotifications_;
    LinuxSystemUI systemUI_;
    LinuxSounds sounds_;
    LinuxLocales locales_{notifications_};
    ApplicationBundle bundle_;
    XdgLoginItems loginItems_;
    TrayStatusBar statusBar_;
    QtWorkspace workspace_;
    ApplicationShell shell_{bundle_, locales_, loginItems_, statusBar_, workspace_};
    Platform platform_;
};

} // namespace lightpen
