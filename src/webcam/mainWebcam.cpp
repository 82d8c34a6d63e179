// SPDX-License-Identifier: MIT
// The driver program with a webcam as its camera unit, on a bus in this process.
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <QApplication>

#include "app/ApplicationMain.h"
#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/files/XdgDataFiles.h"
#include "linux_desktop/process/ApplicationBus.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "linux_desktop/process/RootUser.h"
#include "linux_desktop/process/SingleInstance.h"
#include "linux_desktop/process/SystemClock.h"
#include "webcam/WebcamDesk.h"
#include "webcam/WebcamOptions.h"
#include "webcam/camera/CameraReport.h"
#include "webcam/camera/KernelVideo.h"

namespace lightpen::webcam {
namespace {

// It is the user's driver, whose name locks, buses and files have.
constexpr const char* kDriver = "LightPenNX7";
constexpr const char* kProgram = "LightPenNX7-webcam";

// Prints what was asked for in place of a start; the exit status.
int printCameras(const LinuxPlatformSettings& settings, const WebcamOptions& options) {
    KernelVideo devices;
    const auto cameras = listCameras(devices);
    if (options.program.list) {
        std::fputs(listText(cameras, options.camera).c_str(), stdout);
        return usedCamera(cameras, options.camera) ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    const XdgDataFiles files(settings.userFiles, settings.shippedFiles);
    const ControlsFile controls(files, settings.userFiles);
    SystemClock clock;
    std::fputs(cameraReport(devices, controls, clock, cameras).c_str(), stdout);
    return EXIT_SUCCESS;
}

// What is done in place of a start; none when the program is to start.
std::optional<int> answered(int argc, char** argv, const WebcamOptions& options,
                            const LinuxPlatformSettings& settings) {
    if (options.program.help) {
        std::fputs(kWebcamUsage, stdout);
        return EXIT_SUCCESS;
    }
    if (options.program.version) {
        std::fputs(webcamVersionLine().c_str(), stdout);
        return EXIT_SUCCESS;
    }
    if (options.program.list || options.report)
        return printCameras(settings, options);
    static const SingleInstance instance(kDriver);
    if (!instance.runsAlready())
        return std::nullopt;
    // A session manager that brings back what ran before wants no window.
    if (!options.program.restored)
        leaveToRunningApplication(argc, argv, kDriver, options.program.action);
    return EXIT_SUCCESS;
}

LinuxPlatformSettings settingsFor(const WebcamOptions& options) {
    LinuxPlatformSettings settings(kDriver);
    settings.units = Units::ofTheProgram;
    settings.log.choice = options.program.log;
    settings.screen = options.program.screen;
    settings.startedProgram = kProgram;
    return settings;
}

int webcamMain(int argc, char** argv) {
    const std::vector<std::string_view> arguments(argv + 1, argv + argc);
    std::string problem;
    const auto options = webcamOptions(arguments, problem);
    if (!options) {
        std::fprintf(stderr, "%s\n%s", problem.c_str(), kWebcamUsage);
        return 2;
    }
    LinuxPlatformSettings settings = settingsFor(*options);
    if (const auto status = answered(argc, argv, *options, settings))
        return *status;
    setUpQtMessages();
    const QApplication application(argc, argv);
    setUpQtApplication();
    const std::string folder = settings.userFiles;
    LinuxPlatform real(std::move(settings));
    Platform::setCurrent(&real.platform());
    warnOfRoot();
    KernelVideo devices;
    WebcamDesk desk(real.platform(), real.registry(), devices, folder, options->camera);
    ApplicationBus requests(kDriver);
    const auto mainLoop = [&] {
        desk.start();
        const int status = real.run();
        desk.end();
        return status;
    };
    applicationMain(mainLoop, {{.logFile = real.log().file(),
                                .pointer = [&real] { return real.pointerInUse(); },
                                .camera = desk.camera()},
                               &requests,
                               options->program.action});
    return EXIT_FAILURE; // never: the application leaves by itself
}

} // namespace
} // namespace lightpen::webcam

int main(int argc, char** argv) {
    return lightpen::webcam::webcamMain(argc, argv);
}
