// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

#include "linux_desktop/LinuxPlatform.h"
#include "measure/Injection.h"
#include "measure/Recording.h"
#include "platform/FileDescriptor.h"
#include "platform/Platform.h"

namespace lightpen {

// Settings for a driver in this process that has units of the program and the X server's pointer, and whose
// settings and login entry are files of this folder: the user's own are left alone.
LinuxPlatformSettings settingsIn(const std::filesystem::path& folder);

// A Linux desktop for a driver in this process, with ears on what the driver gives out and its log in a file.
// A process has one driver, whose threads never end: it must be ended without destructors, by exitProcess.
class DriverDesktop {
    FileDescriptor log_;

public:
    // The settings but for the log's. Its platform is the current one from now on. Throws when the log's
    // file, which is emptied, cannot be written.
    DriverDesktop(const std::filesystem::path& logFile, LinuxPlatformSettings settings);
    DriverDesktop(const DriverDesktop&) = delete;
    DriverDesktop& operator=(const DriverDesktop&) = delete;

    // Empties the log.
    void emptyLog();

    LinuxPlatform real;
    Recording recording;

private:
    RecordedPointer pointer_;
    RecordedBroadcast broadcast_;

public:
    Platform platform; // the real one, and the ears
};

} // namespace lightpen
