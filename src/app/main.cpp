// SPDX-License-Identifier: MIT
// The driver program: puts the Linux platform together and hands over to the application.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <QApplication>

#include "app/ApplicationMain.h"
#include "app/ProgramOptions.h"
#include "app/ProgramVersion.h"
#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/MachineList.h"
#include "linux_desktop/process/ApplicationBus.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "linux_desktop/process/RootUser.h"
#include "linux_desktop/process/SingleInstance.h"

namespace lightpen {
namespace {

constexpr const char* kProgram = "LightPenNX7";

int programMain(int argc, char** argv) {
    const std::vector<std::string_view> arguments(argv + 1, argv + argc);
    std::string problem;
    const auto options = programOptions(arguments, problem);
    if (!options) {
        std::fprintf(stderr, "%s\n%s", problem.c_str(), kProgramUsage);
        return 2;
    }
    if (options->help) {
        std::fputs(kProgramUsage, stdout);
        return EXIT_SUCCESS;
    }
    if (options->version) {
        std::printf("LightPenNX7 %s\n", kProgramVersion);
        return EXIT_SUCCESS;
    }
    LinuxPlatformSettings settings;
    settings.log.choice = options->log;
    settings.screen = options->screen;
    settings.furtherUnits = options->devices;
    if (options->list)
        return printMachine(argc, argv, settings);
    const SingleInstance instance(kProgram);
    if (instance.runsAlready()) {
        // A session manager that brings back what ran before wants no window.
        if (!options->restored)
            leaveToRunningApplication(argc, argv, kProgram, options->action);
        return EXIT_SUCCESS;
    }
    setUpQtMessages();
    const QApplication application(argc, argv);
    setUpQtApplication();
    LinuxPlatform linuxPlatform(std::move(settings));
    Platform::setCurrent(&linuxPlatform.platform());
    warnOfRoot();
    ApplicationBus requests(kProgram);
    ApplicationSurroundings surroundings;
    surroundings.facts.logFile = linuxPlatform.log().file();
    surroundings.facts.pointer = [&linuxPlatform] { return linuxPlatform.pointerInUse(); };
    surroundings.requests = &requests;
    surroundings.action = options->action;
    applicationMain([&linuxPlatform] { return linuxPlatform.run(); }, surroundings);
    return EXIT_FAILURE; // never: the application leaves by itself
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::programMain(argc, argv);
}
