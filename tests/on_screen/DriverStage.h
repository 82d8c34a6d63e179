// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <QApplication>

#include "app/LightPenNX7Controller.h"
#include "device/EventGeneratorNX7.h"
#include "emulated/ScreenCapture.h"
#include "emulated/UnitControl.h"
#include "kit/PrivateBus.h"
#include "kit/TemporaryDirectory.h"
#include "kit/Xvfb.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "measure/DriverDesktop.h"
#include "measure/TapSeries.h"
#include "measure/UnitInUse.h"
#include "measure/Waiting.h"
#include "unit/CameraUnit.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {

// The whole driver on an X server: the Linux platform with units of the program, a bus in real time and the
// controller. The driver is one for the process, and so is what it stands on; its threads never end.
struct DriverStage {
    static constexpr Size kScreen{1920, 1080};

    // The folder holds the settings and the log, and the data files in its folders user and shipped.
    explicit DriverStage(const std::filesystem::path& ownFolder)
        : folder(ownFolder), desktop(folder / "driver.log", [&] {
              LinuxPlatformSettings settings = settingsIn(folder);
              settings.shippedFiles = (folder / "shipped").string();
              settings.applicationFolder = LIGHTPEN_APPLICATION;
              return settings;
          }()) {
        bus.runInRealTime();
        controller->awakeFromNib();
    }

    Platform& platform() { return desktop.platform; }
    static EventGeneratorNX7& driver() { return *EventGeneratorNX7::sharedEventGeneratorNX7(); }
    std::unique_ptr<ScreenCapture> look() {
        std::string problem;
        return ScreenCapture::create(nullptr, problem);
    }
    // As a calibration with four targets on this screen leaves it.
    static void calibrate(CameraUnit& unit) { storeCalibration(unit, kScreen); }
    // Plugs the unit in; whether the driver took it into use.
    bool plugIn(CameraUnit& unit) { return takeIntoUse(platform(), *controller, unit, kMiddle); }
    // Whether the driver noticed that the unit was gone, the pauses of the removal included.
    bool unplug(CameraUnit& unit) {
        unit.lift();
        unit.unplug();
        return waitUntilRemoved(platform(), *controller);
    }
    // Whether the pen of the unit, which is in use, comes to count.
    bool arm(CameraUnit& unit) { return waitUntilPenIsHeard(platform(), unit, kMiddle); }
    // Has the hand tap there, and expects the pointer there.
    void tap(CameraUnit& unit, ScreenCapture& eyes, ScreenPoint place) {
        const HeardMapping heard(desktop.recording, driver());
        std::vector<Tap> taps;
        ASSERT_EQ(tapAt({place}, unit, desktop.recording, eyes, platform(), taps), "");
        ASSERT_EQ(taps.size(), 1U);
        EXPECT_LT(std::hypot(taps[0].pointer.x - place.x, taps[0].pointer.y - place.y), 4);
    }

    static constexpr ScreenPoint kMiddle{kScreen.width / 2, kScreen.height / 2};

    const std::filesystem::path folder;
    DriverDesktop desktop;
    EmulatedBus bus{desktop.real.registry(), desktop.platform.runLoop, desktop.platform.clock};
    std::shared_ptr<LightPenNX7Controller> controller = std::make_shared<LightPenNX7Controller>();
};

// The stage of this process; null before there is one.
inline DriverStage* stage = nullptr;

// The main function of a test on the stage: makes it on a server of its own, in a folder of its own, and runs
// the tests. The driver's threads still run then, so the process ends without destructors but for what is
// left on the disk.
inline void runTestsOnDriverStage(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    auto folder = std::make_unique<TemporaryDirectory>();
    ::setenv("XDG_DATA_HOME", folder->file("user").c_str(), 1);
    const Xvfb server("1920x1080");
    server.enter();
    auto noBus = std::make_unique<NoBus>();
    noBus->enter();
    setUpQtMessages();
    const QApplication application(argc, argv);
    setUpQtApplication();
    const auto owned = std::make_unique<DriverStage>(folder->path());
    stage = owned.get();
    const int status = RUN_ALL_TESTS();
    folder.reset();
    noBus.reset();
    std::fflush(stdout);
    stage->platform().runLoop.exitProcess(status);
}

} // namespace lightpen
