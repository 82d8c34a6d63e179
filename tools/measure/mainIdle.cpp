// SPDX-License-Identifier: MIT
// What a program costs while nothing happens: the driver with an emulated unit attached and no pen, or a bare
// Qt program for comparison. scripts/measure-idle runs both side by side.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <string>

#include <QApplication>
#include <QTimer>

#include "app/LightPenNX7Controller.h"
#include "device/EventGeneratorNX7.h"
#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "measure/Waiting.h"
#include "unit/CameraUnit.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {
namespace {

using std::chrono::seconds;

// After this the unit has said its last idle report, and whatever start-up has left to do is done.
constexpr Microseconds kSettling = seconds(5);
constexpr Microseconds kOpeningPatience = seconds(20);

using ThreadSet = std::set<std::string>; // by their folders under /proc

ThreadSet threadsNow() {
    ThreadSet threads;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
        threads.insert(entry.path().string());
    return threads;
}

// Of this process, but for the threads that do not count.
Microseconds processorTime(const ThreadSet& others = {}) {
    std::chrono::nanoseconds sum{};
    for (const std::string& thread : threadsNow()) {
        std::int64_t onProcessor = 0;
        if (!others.contains(thread))
            std::ifstream(thread + "/schedstat") >> onProcessor;
        sum += std::chrono::nanoseconds(onProcessor);
    }
    return std::chrono::duration_cast<Microseconds>(sum);
}

double residentMegabytes() {
    std::ifstream statm("/proc/self/statm");
    long total = 0;
    long resident = 0;
    statm >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

void print(const char* name, Microseconds used, Microseconds span) {
    std::printf("%s %.4f %.1f\n", name,
                100.0 * static_cast<double>(used.count()) / static_cast<double>(span.count()),
                residentMegabytes());
    std::fflush(stdout);
}

int measureBare(Microseconds span) {
    const auto after = [](Microseconds delay, auto function) {
        QTimer::singleShot(std::chrono::duration_cast<std::chrono::milliseconds>(delay), function);
    };
    after(kSettling, [&] {
        const Microseconds before = processorTime();
        after(span, [=] {
            print("bare", processorTime() - before, span);
            QApplication::quit();
        });
    });
    return QApplication::exec();
}

int measureDriver(Microseconds span) {
    LinuxPlatformSettings settings;
    settings.units = Units::ofTheProgram;
    settings.pointer = PointerChoice::xtest;
    // What is measured must not start at the user's next login.
    settings.loginFolder = settings.userFiles + "/measured/autostart";
    settings.systemLoginFolders.clear();
    LinuxPlatform real(std::move(settings));
    Platform& platform = real.platform();
    Platform::setCurrent(&platform);
    EmulatedBus bus(real.registry(), platform.runLoop, platform.clock);
    // The unit in software stands for hardware; what its own thread costs is not the driver's.
    const ThreadSet before = threadsNow();
    bus.runInRealTime();
    ThreadSet unitThreads;
    std::ranges::set_difference(threadsNow(), before, std::inserter(unitThreads, unitThreads.end()));
    const auto controller = std::make_shared<LightPenNX7Controller>();
    controller->awakeFromNib();
    bus.add<CameraUnit>().plug();
    const auto heard = [&] { return EventGeneratorNX7::hearsPen() && controller->deviceConnected(); };
    if (!waitUntil(platform, heard, kOpeningPatience))
        platform.runLoop.exitProcess(EXIT_FAILURE);
    platform.runLoop.runFor(kSettling);
    const Microseconds used = processorTime(unitThreads);
    platform.runLoop.runFor(span);
    print("driver", processorTime(unitThreads) - used, span);
    platform.runLoop.exitProcess(EXIT_SUCCESS);
    return EXIT_SUCCESS;
}

int idleMain(int argc, char** argv) {
    const QApplication application(argc, argv);
    setUpQtApplication();
    const bool driver = argc == 3 && std::strcmp(argv[1], "driver") == 0;
    if (!driver && (argc != 3 || std::strcmp(argv[1], "bare") != 0)) {
        std::fputs("usage: lightpen-idle driver|bare SECONDS\n", stderr);
        return 2;
    }
    const long count = std::strtol(argv[2], nullptr, 10);
    if (count <= 0) {
        std::fputs("lightpen-idle: the seconds must be a number above 0\n", stderr);
        return 2;
    }
    const Microseconds span = seconds(count);
    return driver ? measureDriver(span) : measureBare(span);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::idleMain(argc, argv);
}
