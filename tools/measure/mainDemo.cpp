// SPDX-License-Identifier: MIT
// The demo: the real driver with an emulated unit, a hand that writes, and a canvas that sees what arrives.
#include <sched.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <thread>
#include <utility>

#include "measure/DriverDesktop.h"
#include "measure/Figures.h"
#include "measure/Load.h"
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

// Under load the canvas may see a touch when the next one has begun, and merges moves; what counts is that
// each touch is one press and one release. Returns whether it is.
bool reportUnderLoad(const DemoRecord& record) {
    std::fputs(("\n" + tableOf(record)).c_str(), stdout);
    const std::size_t touches = touchesOnScreen(record);
    return countOf(record.seen, CanvasEvent::Kind::press) == touches &&
           countOf(record.seen, CanvasEvent::Kind::release) == touches;
}

void writeFigures(const DemoRecord& record, bool load) {
    const std::string where = load ? "the demo under load, " : "the demo, ";
    const auto touches = static_cast<double>(touchesOnScreen(record));
    for (const auto& [what, kind] :
         {std::pair{"presses", CanvasEvent::Kind::press}, {"releases", CanvasEvent::Kind::release}})
        writeFigure({where + what, "", static_cast<double>(countOf(record.seen, kind)), "touches of the hand",
                     touches, Goal::difference});
    const Spread delay = spreadOf(pointerDelays(record.injected, record.seen));
    writeFigure({where + "from the poll to the window, median", "ms", delay.median});
    writeFigure({where + "from the poll to the window, 99th percentile", "ms", delay.percentile99});
}

// The unit stands for a device, which sends its reports whatever the machine is busy with: its thread goes
// before ordinary programs where this one may have it so.
void startUnit(EmulatedBus& bus) {
    const sched_param first{1};
    const sched_param ordinary{0};
    const bool may = sched_setscheduler(0, SCHED_FIFO, &first) == 0;
    bus.runInRealTime();
    if (may)
        sched_setscheduler(0, SCHED_OTHER, &ordinary);
    else
        std::puts("The unit's own thread has no priority: under load it may be late itself.");
}

int runDemo(DriverDesktop& desktop, const std::filesystem::path& output, bool underLoad) {
    CanvasProcess canvas(desktop.platform.runLoop);
    requireNone(canvas.start(beside("lightpen-canvas"), desktop.platform.desktop.mainScreen()->name));
    EmulatedBus bus(desktop.real.registry(), desktop.platform.runLoop, desktop.platform.clock);
    noteTakenReports(bus, desktop.recording, desktop.platform.clock);
    auto load = underLoad ? std::make_unique<Load>(output) : nullptr;
    startUnit(bus);
    PenDemonstration demonstration(desktop.platform, bus, canvas);
    const std::string problem = demonstration.run();
    load.reset();

    const std::string picture = (output / "canvas.png").string();
    canvas.command("save " + picture);
    const bool saved = canvas.waitFor(CanvasEvent::Kind::saved, kSavePatience);
    const DemoRecord record{canvas.size(), demonstration.touches(), desktop.recording.injectedEvents(),
                            desktop.recording.postedNotifications(), canvas.events()};
    const bool complete = underLoad ? reportUnderLoad(record) : report(record);
    writeFigures(record, underLoad);
    if (!problem.empty())
        std::printf("%s\n", problem.c_str());
    std::printf("%s\nThe driver's log: %s\n",
                saved ? ("The canvas: " + picture).c_str()
                      : "The picture of the canvas could not be written.",
                (output / "driver.log").c_str());
    return endWithDriver(desktop.platform.runLoop, canvas, complete && saved && problem.empty());
}

int demoMain(int argc, char** argv) {
    const bool underLoad = argc == 4 && std::strcmp(argv[3], "--load") == 0;
    if ((argc != 3 && !underLoad) || std::strcmp(argv[1], "--output") != 0) {
        std::fputs("usage: lightpen-demo --output FOLDER [--load]\n"
                   "--load: with programs that compute and write beside it, so that the machine is busy\n",
                   stderr);
        return 2;
    }
    const std::filesystem::path output = folderNamed(argv[2]);
    LinuxPlatformSettings settings = settingsIn(output);
    settings.settingsFile.clear(); // the demo is of the program as its user has set it
    DriverDesktop desktop(output / "driver.log", std::move(settings));
    return runDemo(desktop, output, underLoad);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runMeasureProgram(argc, argv, [&] { return lightpen::demoMain(argc, argv); });
}
