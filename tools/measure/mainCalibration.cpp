// SPDX-License-Identifier: MIT
// Calibrates emulated units by hand and without one, and measures how exactly the pointer then follows the
// pen.
#include <cstdio>
#include <cstring>

#include "emulated/ScreenArea.h"
#include "measure/CalibrationTrial.h"
#include "measure/Figures.h"
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

// The looks at the main screen.
CalibrationTrial::NewCapture captures(LinuxPlatform& real) {
    return [&real] {
        std::string problem;
        auto capture = ScreenCapture::create(nullptr, problem,
                                             [area = areaOf(*real.desktop().mainScreen())] { return area; });
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
    for (const AccuracyRow& row : rows) {
        const Goal goal = row.noise > 0 ? Goal::none : Goal::value;
        const std::string what = row.pose + ", " + row.session + (row.noise > 0 ? ", noise" : "");
        const auto& [reached, limit] = row.accuracy;
        const char* const against = "the camera's whole numbers";
        writeFigure({what + ", median", "points", reached.pointer.median, against, limit.pointer.median, goal,
                     AccuracyAims().pointerMedian});
        writeFigure({what + ", worst", "points", reached.pointer.worst, against, limit.pointer.worst, goal,
                     AccuracyAims().pointerWorst});
    }
    const auto missed = missedAims(rows);
    std::printf("\n%s", tableOf(rows).c_str());
    for (const std::string& sentence : missed)
        std::printf("MISSED: %s\n", sentence.c_str());
    std::printf("\nThe targets, as they were shown: %s/target-*.png\n", output.c_str());
    return missed.empty();
}

int perform(DriverDesktop& desktop, const std::filesystem::path& output, bool all) {
    Platform& platform = desktop.platform;
    CanvasProcess canvas(platform.runLoop); // under the taps, so that nobody else is hit by them
    requireNone(canvas.start(beside("lightpen-canvas"), platform.desktop.mainScreen()->name));
    EmulatedBus bus(desktop.real.registry(), platform.runLoop, platform.clock);
    bus.runInRealTime();
    const auto controller = std::make_shared<LightPenNX7Controller>();
    controller->awakeFromNib();
    CalibrationTrial trial(desktop, bus, *controller, captures(desktop.real), output);
    std::vector<AccuracyRow> rows;
    const bool well = play(calibrationScenes(canvas.size(), all), trial, rows);
    const bool met = report(rows, output);
    return endWithDriver(platform.runLoop, canvas, well && met);
}

int calibrationMain(int argc, char** argv) {
    const bool all = argc == 4 && std::strcmp(argv[3], "--all") == 0;
    if ((argc != 3 && !all) || std::strcmp(argv[1], "--output") != 0) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const std::filesystem::path output = folderNamed(argv[2]);
    DriverDesktop desktop(output / "calibration.log", settingsIn(output));
    return perform(desktop, output, all);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runMeasureProgram(argc, argv, [&] { return lightpen::calibrationMain(argc, argv); });
}
