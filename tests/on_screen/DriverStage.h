// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include <QApplication>

#include "app/LightPenNX7Controller.h"
#include "device/EventGeneratorNX7.h"
#include "emulated/ScreenCapture.h"
#include "kit/PrivateBus.h"
#include "kit/TemporaryDirectory.h"
#include "kit/Xvfb.h"
#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "measure/MappingRecord.h"
#include "measure/PenReadiness.h"
#include "measure/Waiting.h"
#include "platform/FileDescriptor.h"
#include "unit/CameraUnit.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {

// The whole driver on an X server: the Linux platform with units of the program, a bus in real time and the
// controller. The driver is one for the process, and so is what it stands on; its threads never end.
struct DriverStage {
    static constexpr Size kScreen{1920, 1080};

    // The folder holds the settings and the log, and the data files in its folders user and shipped.
    explicit DriverStage(const std::filesystem::path& folder)
        : log(::open((folder / "driver.log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600)),
          real([&] {
              LinuxPlatformSettings settings;
              settings.units = Units::ofTheProgram;
              settings.pointer = PointerChoice::xtest;
              settings.settingsFile = (folder / "settings.ini").string();
              settings.shippedFiles = (folder / "shipped").string();
              settings.applicationFolder = LIGHTPEN_APPLICATION;
              settings.loginFolder = (folder / "autostart").string();
              settings.log.diagnostics = log.get();
              settings.log.output = log.get();
              return settings;
          }()) {
        setLogSink(&record);
        Platform::setCurrent(&real.platform());
        bus.runInRealTime();
        controller->awakeFromNib();
    }

    Platform& platform() { return real.platform(); }
    static EventGeneratorNX7& driver() { return *EventGeneratorNX7::sharedEventGeneratorNX7(); }
    std::unique_ptr<ScreenCapture> look() {
        std::string problem;
        return ScreenCapture::create(nullptr, problem);
    }
    // As a calibration with four targets on this screen leaves it.
    static void calibrate(CameraUnit& unit) {
        unit.flash()->store(unit.seen({170, 75}), unit.seen({1750, 75}), unit.seen({170, 1005}),
                            unit.seen({1750, 1005}));
    }
    // Plugs the unit in; whether the driver took it into use.
    bool plugIn(CameraUnit& unit) {
        unit.plug();
        const auto open = [this] { return controller->deviceConnected() && EventGeneratorNX7::isUnitOpen(); };
        return waitUntil(platform(), open, std::chrono::seconds(20)) && arm(unit);
    }
    // Whether the driver noticed that the unit was gone, the pauses of the removal included.
    bool unplug(CameraUnit& unit) {
        unit.lift();
        unit.unplug();
        const auto gone = [this] {
            return !controller->deviceConnected() && !EventGeneratorNX7::isUnitOpen();
        };
        const bool noticed = waitUntil(platform(), gone, std::chrono::seconds(20));
        platform().runLoop.runFor(std::chrono::seconds(1));
        return noticed;
    }

    // Whether the pen of the unit, which is in use, comes to count.
    bool arm(CameraUnit& unit) {
        return waitUntilPenIsHeard(platform(), unit, {kScreen.width / 2, kScreen.height / 2});
    }

    FileDescriptor log;
    LinuxPlatform real;
    MappingRecord record{real.log()};
    EmulatedBus bus{real.registry(), real.platform().runLoop, real.platform().clock};
    std::shared_ptr<LightPenNX7Controller> controller = std::make_shared<LightPenNX7Controller>();
};

// The main function of a test on the stage: makes it on a server of its own, in the folder, and runs the
// tests. The driver's threads still run then, so the process ends without destructors but for what is left on
// the disk.
template <class Run>
void runOnDriverStage(int argc, char** argv, Run run) {
    auto folder = std::make_unique<TemporaryDirectory>();
    ::setenv("XDG_DATA_HOME", folder->file("user").c_str(), 1);
    const Xvfb server("1920x1080");
    server.enter();
    auto noBus = std::make_unique<NoBus>();
    noBus->enter();
    setUpQtMessages();
    const QApplication application(argc, argv);
    setUpQtApplication();
    auto stage = std::make_unique<DriverStage>(folder->path());
    const int status = run(*stage, folder->path());
    folder.reset();
    noBus.reset();
    std::fflush(stdout);
    stage->platform().runLoop.exitProcess(status);
}

} // namespace lightpen
