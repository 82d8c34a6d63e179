// SPDX-License-Identifier: MIT
// Calibrates emulated units by hand and without one, and measures how exactly the pointer then follows the
// pen.
#include <cstdio>
#include <cstring>
#include <optional>

#include "emulated/ScreenArea.h"
#include "measure/CalibrationTrial.h"
#include "measure/MeasureProgram.h"

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
            options.output = folderNamed(argv[++i]);
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

int perform(DriverDesktop& desktop, const Options& options) {
    Platform& platform = desktop.platform;
    CanvasProcess canvas(platform.runLoop); // under the taps, so that nobody else is hit by them
    requireNone(canvas.start(beside("lightpen-canvas")));
    EmulatedBus bus(desktop.real.registry(), platform.runLoop, platform.clock);
    bus.runInRealTime();
    const auto controller = std::make_shared<LightPenNX7Controller>();
    controller->awakeFromNib();
    CalibrationTrial trial(desktop, bus, *controller, captures(desktop.real), options.output);
    std::vector<AccuracyRow> rows;
    const bool well = play(calibrationScenes(canvas.size(), options.all), trial, rows);
    const bool met = report(rows, options.output);
    return endWithDriver(platform.runLoop, canvas, well && met);
}

int calibrationMain(int argc, char** argv) {
    const auto options = optionsFrom(argc, argv);
    if (!options) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    DriverDesktop desktop(options->output / "calibration.log", settingsIn(options->output));
    return perform(desktop, *options);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runMeasureProgram(argc, argv, [&] { return lightpen::calibrationMain(argc, argv); });
}
