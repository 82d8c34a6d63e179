// SPDX-License-Identifier: MIT
// The demo: the real driver with an emulated unit, a hand that writes, and a canvas that sees what arrives.
#include <cstdio>
#include <cstring>
#include <thread>
#include <utility>

#include "measure/DriverDesktop.h"
#include "measure/MeasureProgram.h"
#include "measure/PenDemonstration.h"
#include "measure/Table.h"

namespace lightpen {
namespace {

constexpr std::string_view kNotifications[] = {"LightPenNX7RegionLeft", "LightPenNX7RegionRight",
                                               "LightPenNX7RegionTop", "LightPenNX7RegionButtom"};
constexpr Microseconds kSavePatience = std::chrono::seconds(5);

// Only the point thread polls for touches; the main thread asks for answers of the flash.
void noteTakenReports(EmulatedBus& bus, Recording& recording, Clock& clock) {
    bus.onPoll([&recording, &clock, mainThread = std::this_thread::get_id()] {
        if (std::this_thread::get_id() != mainThread)
            recording.reportTaken(clock.now());
    });
}

// Returns whether nothing was lost.
bool report(const DemoRecord& record) {
    std::fputs(("\n" + tableOf(record)).c_str(), stdout);
    const auto lost = losses(record, kNotifications);
    for (const std::string& sentence : lost)
        std::printf("LOST: %s\n", sentence.c_str());
    return lost.empty();
}

int runDemo(DriverDesktop& desktop, const std::filesystem::path& output) {
    CanvasProcess canvas(desktop.platform.runLoop);
    requireNone(canvas.start(beside("lightpen-canvas"), desktop.platform.desktop.mainScreen()->name));
    EmulatedBus bus(desktop.real.registry(), desktop.platform.runLoop, desktop.platform.clock);
    noteTakenReports(bus, desktop.recording, desktop.platform.clock);
    bus.runInRealTime();
    PenDemonstration demonstration(desktop.platform, bus, canvas);
    const std::string problem = demonstration.run();

    const std::string picture = (output / "canvas.png").string();
    canvas.command("save " + picture);
    const bool saved = canvas.waitFor(CanvasEvent::Kind::saved, kSavePatience);
    const bool complete = report({canvas.size(), demonstration.touches(), desktop.recording.injectedEvents(),
                                  desktop.recording.postedNotifications(), canvas.events()});
    if (!problem.empty())
        std::printf("%s\n", problem.c_str());
    std::printf("%s\nThe driver's log: %s\n",
                saved ? ("The canvas: " + picture).c_str()
                      : "The picture of the canvas could not be written.",
                (output / "driver.log").c_str());
    return endWithDriver(desktop.platform.runLoop, canvas, complete && saved && problem.empty());
}

int demoMain(int argc, char** argv) {
    if (argc != 3 || std::strcmp(argv[1], "--output") != 0) {
        std::fputs("usage: lightpen-demo --output FOLDER\n", stderr);
        return 2;
    }
    const std::filesystem::path output = folderNamed(argv[2]);
    LinuxPlatformSettings settings = settingsIn(output);
    settings.settingsFile.clear(); // the demo is of the program as its user has set it
    DriverDesktop desktop(output / "driver.log", std::move(settings));
    return runDemo(desktop, output);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runMeasureProgram(argc, argv, [&] { return lightpen::demoMain(argc, argv); });
}
