// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "app/LightPenNX7Controller.h"
#include "kit/TemporaryDirectory.h"
#include "measure/DriverDesktop.h"

namespace lightpen {

// The driver's parts in the test's own process, with the machine's units and a pointer device of the
// kernel's. They are one for the process, and their threads never end.
struct DriverSeat {
    TemporaryDirectory folder;
    DriverDesktop desktop{folder.file("driver.log"), [this] {
                              LinuxPlatformSettings settings;
                              settings.pointer = PointerChoice::uinput;
                              settings.settingsFile = folder.file("settings.ini");
                              settings.applicationFolder =
                                  std::filesystem::path(LIGHTPEN_PROGRAM).parent_path();
                              return settings;
                          }()};
    Platform& platform = desktop.platform;
    std::shared_ptr<LightPenNX7Controller> controller = std::make_shared<LightPenNX7Controller>();

    DriverSeat() { controller->awakeFromNib(); }

    // What the driver has logged since the log was emptied.
    std::string logged() {
        desktop.real.log().flush();
        return readFile(folder.file("driver.log"));
    }
    // For a failing test's reader.
    void printLog() {
        std::printf("--- the driver's log:\n%s--- end of the driver's log\n", logged().c_str());
    }
};

} // namespace lightpen
