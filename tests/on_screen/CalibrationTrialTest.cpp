// SPDX-License-Identifier: MIT
// From an empty flash to an exact pointer, through the real driver, an X server's own pixels and its pointer.
#include "measure/CalibrationTrial.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <cstdio>

#include <QApplication>

#include "kit/PrivateBus.h"
#include "kit/TemporaryDirectory.h"
#include "kit/Xvfb.h"
#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "platform/FileDescriptor.h"

namespace lightpen {
namespace {

using testing::IsEmpty;

// The driver is one for the process, and so is what it stands on; its threads never end.
struct Stage {
    TemporaryDirectory directory;
    FileDescriptor log{::open(directory.file("driver.log").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600)};
    LinuxPlatform real{[this] {
        LinuxPlatformSettings settings;
        settings.units = Units::ofTheProgram;
        settings.pointer = PointerChoice::xtest;
        settings.settingsFile = directory.file("settings.ini");
        settings.applicationFolder = LIGHTPEN_APPLICATION;
        settings.loginFolder = directory.file("autostart");
        settings.log.diagnostics = log.get();
        settings.log.output = log.get();
        return settings;
    }()};
    MappingRecord record{real.log()};
    EmulatedBus bus{real.registry(), real.platform().runLoop, real.platform().clock};
    CalibrationTrial trial{real.platform(), bus, record,
                           [] {
                               std::string problem;
                               return ScreenCapture::create(nullptr, problem);
                           },
                           directory.path()};

    Stage() {
        setLogSink(&record);
        Platform::setCurrent(&real.platform());
        bus.runInRealTime();
    }
};
Stage* stage = nullptr;

// Plays the scene and expects everything that is the same for both ways.
CalibrationOutcome playWell(SessionKind session) {
    constexpr Size kScreen{1920, 1080};
    const Optics optics = Optics::strongKeystone(kScreen);
    const CalibrationOutcome outcome = stage->trial.run({"strong keystone", optics, session, 0});
    EXPECT_EQ(outcome.problem, "");
    EXPECT_EQ(outcome.completions, 1);
    const ScreenPoint targets[] = {{170, 75}, {1750, 75}, {170, 1005}, {1750, 1005}};
    EXPECT_EQ(outcome.stored.size(), std::size(targets));
    for (std::size_t i = 0; i < std::min(outcome.stored.size(), std::size(targets)); ++i) {
        EXPECT_NEAR(outcome.stored[i].x, optics.project(targets[i]).x, 0.6) << i;
        EXPECT_NEAR(outcome.stored[i].y, optics.project(targets[i]).y, 0.6) << i;
    }
    PointList calibration = outcome.readBack;
    calibration.resize(std::min(calibration.size(), outcome.stored.size()));
    EXPECT_EQ(calibration, outcome.stored);
    EXPECT_EQ(outcome.row.accuracy.reached.mapped.count, 40U);
    EXPECT_THAT(missedAims({outcome.row}), IsEmpty()) << tableOf({outcome.row});
    return outcome;
}

TEST(CalibrationTrialTest, ByHandThePointerIsAsExactAsTheCameraAllows) {
    EXPECT_EQ(playWell(SessionKind::byHand).touches, 4);
    EXPECT_TRUE(std::filesystem::exists(stage->directory.path() / "target-by-hand.png"));
}

TEST(CalibrationTrialTest, WithoutAHandItIsAsExact) {
    EXPECT_EQ(playWell(SessionKind::automatic).touches, 0);
    EXPECT_TRUE(std::filesystem::exists(stage->directory.path() / "target-automatic.png"));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const lightpen::Xvfb server("1920x1080");
    server.enter();
    auto bus = std::make_unique<lightpen::NoBus>();
    bus->enter();
    lightpen::setUpQtMessages();
    const QApplication application(argc, argv);
    lightpen::setUpQtApplication();
    auto stage = std::make_unique<lightpen::Stage>();
    lightpen::stage = stage.get();
    const int status = RUN_ALL_TESTS();
    // The driver's threads still run, so the process ends without destructors but for what is left on the
    // disk.
    std::error_code ignored;
    std::filesystem::remove_all(stage->directory.path(), ignored);
    bus.reset();
    std::fflush(stdout);
    stage->real.platform().runLoop.exitProcess(status);
}
