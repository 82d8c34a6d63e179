// SPDX-License-Identifier: MIT
// The demo: the real driver with an emulated unit, a hand that writes, and a canvas that sees what arrives.
#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <thread>

#include <QApplication>

#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "measure/CanvasProcess.h"
#include "measure/Injection.h"
#include "measure/PenDemonstration.h"
#include "measure/Table.h"
#include "platform/FileDescriptor.h"

namespace lightpen {
namespace {

constexpr std::string_view kNotifications[] = {"LightPenNX7RegionLeft", "LightPenNX7RegionRight",
                                               "LightPenNX7RegionTop", "LightPenNX7RegionButtom"};
constexpr Microseconds kSavePatience = std::chrono::seconds(5);

// The driver's platform, with the demo's ears on the way out and on the poll of the pen's reports.
class ListenedPlatform {
public:
    explicit ListenedPlatform(LinuxPlatform& real)
        : pointer_(real.platform().pointer, recording),
          broadcast_(real.platform().distributedNotifications, recording), platform{
                                                                               real.platform().registry,
                                                                               pointer_,
                                                                               real.platform().runLoop,
                                                                               real.platform().clock,
                                                                               real.platform().threads,
                                                                               real.platform().notifications,
                                                                               broadcast_,
                                                                               real.platform().desktop,
                                                                               real.platform().defaults,
                                                                               real.platform().systemUI,
                                                                               real.platform().sounds,
                                                                               real.platform().dataFiles,
                                                                               real.platform().shell} {}

    Recording recording;

private:
    RecordedPointer pointer_;
    RecordedBroadcast broadcast_;

public:
    Platform platform;
};

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

int runDemo(LinuxPlatform& real, const std::filesystem::path& output, const std::string& canvasProgram) {
    ListenedPlatform listened(real);
    Platform::setCurrent(&listened.platform);
    CanvasProcess canvas(listened.platform.runLoop);
    if (const std::string problem = canvas.start(canvasProgram); !problem.empty()) {
        std::printf("%s\n", problem.c_str());
        return EXIT_FAILURE;
    }
    EmulatedBus bus(real.registry(), listened.platform.runLoop, listened.platform.clock);
    noteTakenReports(bus, listened.recording, listened.platform.clock);
    bus.runInRealTime();
    PenDemonstration demonstration(listened.platform, bus, canvas);
    const std::string problem = demonstration.run();

    const std::string picture = (output / "canvas.png").string();
    canvas.command("save " + picture);
    const bool saved = canvas.waitFor(CanvasEvent::Kind::saved, kSavePatience);
    const bool complete = report({canvas.size(), demonstration.touches(), listened.recording.injectedEvents(),
                                  listened.recording.postedNotifications(), canvas.events()});
    if (!problem.empty())
        std::printf("%s\n", problem.c_str());
    std::printf("%s\nThe driver's log: %s\n",
                saved ? ("The canvas: " + picture).c_str()
                      : "The picture of the canvas could not be written.",
                (output / "driver.log").c_str());
    const int status = complete && saved && problem.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
    canvas.command("quit");
    std::fflush(stdout);
    // The driver's point thread still runs; nothing is destroyed under it.
    listened.platform.runLoop.exitProcess(status);
    return status;
}

int demoMain(int argc, char** argv) {
    setUpQtMessages();
    const QApplication application(argc, argv);
    setUpQtApplication();
    if (argc != 3 || std::strcmp(argv[1], "--output") != 0) {
        std::fputs("usage: lightpen-demo --output FOLDER\n", stderr);
        return 2;
    }
    const std::filesystem::path output = std::filesystem::absolute(argv[2]);
    std::error_code ignored;
    std::filesystem::create_directories(output, ignored);
    const FileDescriptor log(
        ::open((output / "driver.log").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644));
    if (!log) {
        std::printf("%s cannot be written: %s\n", (output / "driver.log").c_str(), errorText(errno).c_str());
        return EXIT_FAILURE;
    }
    LinuxPlatformSettings settings;
    settings.units = Units::ofTheProgram;
    settings.pointer = PointerChoice::xtest;
    settings.loginFolder = (output / "autostart").string(); // the user's own is left alone
    settings.log.diagnostics = log.get();
    settings.log.output = log.get();
    LinuxPlatform real(std::move(settings));
    return runDemo(real, output, (QCoreApplication::applicationDirPath() + "/lightpen-canvas").toStdString());
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::demoMain(argc, argv);
}
