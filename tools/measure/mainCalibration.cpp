// SPDX-License-Identifier: MIT
// Calibrates emulated units by hand and without one, and measures how exactly the pointer then follows the
// pen.
#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>

#include <QApplication>

#include "emulated/ScreenArea.h"
#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "measure/CalibrationTrial.h"
#include "measure/CanvasProcess.h"
#include "platform/FileDescriptor.h"

namespace lightpen {
namespace {

constexpr const char* kUsage =
    "usage: lightpen-calibration --output FOLDER [--all]\n"
    "\n"
    "Calibrates a unit with an empty flash by hand and automatically on the display, with a camera far "
    "beside\n"
    "the middle, then measures the distance from the hand to the pointer. --all: with three poses of the\n"
    "camera, each also with sensor noise of one camera unit. The driver's log and pictures of the targets go "
    "to\n"
    "the folder. Fails when an aim for a sensor without noise is missed.\n";

struct Options {
    std::filesystem::path output;
    bool all = false;
};

std::optional<Options> optionsFrom(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--all") == 0)
            options.all = true;
        else if (std::strcmp(argv[i], "--output") == 0 && i + 1 < argc)
            options.output = std::filesystem::absolute(argv[++i]);
        else
            return std::nullopt;
    }
    return options.output.empty() ? std::nullopt : std::optional(options);
}

// The looks at the main screen.
CalibrationTrial::NewCapture captures(LinuxPlatform& real) {
    return [area = areaOf(*real.desktop().mainScreen())] {
        std::string problem;
        auto capture = ScreenCapture::create(nullptr, problem, area);
        if (!capture)
            std::printf("%s.\n", problem.c_str());
        return capture;
    };
}

// Plays the scenes and adds what was measured; returns whether all went well.
bool play(const std::vector<CalibrationScene>& scenes, CalibrationTrial& trial,
          std::vector<AccuracyRow>& rows) {
    bool well = true;
    for (const CalibrationScene& scene : scenes) {
        std::printf("Calibrating %s, %s%s...\n",
                    scene.session == SessionKind::byHand ? "by hand" : "automatically", scene.pose.c_str(),
                    scene.noise > 0 ? ", with noise" : "");
        std::fflush(stdout);
        const CalibrationOutcome outcome = trial.run(scene);
        rows.push_back(outcome.row);
        if (!outcome.problem.empty()) {
            std::printf("%s\n", outcome.problem.c_str());
            well = false;
        }
        if (Platform::current().runLoop.terminating())
            return false;
    }
    return well;
}

// Returns whether every aim is met.
bool report(const std::vector<AccuracyRow>& rows, const std::filesystem::path& output) {
    const auto missed = missedAims(rows);
    std::printf("\n%s", tableOf(rows).c_str());
    for (const std::string& sentence : missed)
        std::printf("MISSED: %s\n", sentence.c_str());
    std::printf("\nThe targets, as they were shown: %s/target-*.png\n", output.c_str());
    return missed.empty();
}

int perform(LinuxPlatform& real, const Options& options) {
    MappingRecord record(real.log());
    setLogSink(&record);
    Platform& platform = real.platform();
    Platform::setCurrent(&platform);
    CanvasProcess canvas(platform.runLoop); // under the taps, so that nobody else is hit by them
    if (const std::string problem =
            canvas.start((QCoreApplication::applicationDirPath() + "/lightpen-canvas").toStdString());
        !problem.empty()) {
        std::printf("%s\n", problem.c_str());
        return EXIT_FAILURE;
    }
    EmulatedBus bus(real.registry(), platform.runLoop, platform.clock);
    bus.runInRealTime();
    CalibrationTrial trial(platform, bus, record, captures(real), options.output);
    std::vector<AccuracyRow> rows;
    const bool well = play(calibrationScenes(canvas.size(), options.all), trial, rows);
    const bool met = report(rows, options.output);
    canvas.command("quit");
    std::fflush(stdout);
    setLogSink(&real.log());
    // The driver's point thread still runs; nothing is destroyed under it.
    const int status = well && met ? EXIT_SUCCESS : EXIT_FAILURE;
    platform.runLoop.exitProcess(status);
    return status;
}

int calibrationMain(int argc, char** argv) {
    setUpQtMessages();
    const QApplication application(argc, argv);
    setUpQtApplication();
    const auto options = optionsFrom(argc, argv);
    if (!options) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    std::error_code ignored;
    std::filesystem::create_directories(options->output, ignored);
    const std::string logFile = (options->output / "calibration.log").string();
    const FileDescriptor log(
        ::open(logFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644));
    if (!log) {
        std::printf("%s cannot be written: %s\n", logFile.c_str(), errorText(errno).c_str());
        return EXIT_FAILURE;
    }
    LinuxPlatformSettings settings;
    settings.units = Units::ofTheProgram;
    settings.pointer = PointerChoice::xtest;
    settings.settingsFile = (options->output / "settings.ini").string(); // the user's own are left alone
    settings.loginFolder = (options->output / "autostart").string();
    settings.log.diagnostics = log.get();
    settings.log.output = log.get();
    LinuxPlatform real(std::move(settings));
    return perform(real, *options);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::calibrationMain(argc, argv);
}
