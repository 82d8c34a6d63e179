// SPDX-License-Identifier: MIT
// How long it takes from a report of the pen, as the unit writes it to the kernel, to the event that a window
// gets from the X server, on a quiet machine and on a busy one: with the driver, with the plainest forwarder
// that could do the job, and with interception-tools, in turns. To be run in the guest, whose times are good
// for comparing only; scripts/measure --kernel does so.
//
//   ReportToPointer [ROUNDS]    LIGHTPEN_INTERCEPTION names the folder of interception-tools
#include <sys/resource.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "bench/kernel/DelayTable.h"
#include "bench/kernel/EvdevPointer.h"
#include "bench/kernel/PointerWindow.h"
#include "emulated/UnitControl.h"
#include "kernel/gadget/GadgetBus.h"
#include "kernel/support/DriverProcess.h"
#include "kernel/support/HostNodes.h"
#include "kernel/support/RuleFile.h"
#include "kernel/support/UnitPriority.h"
#include "kernel/support/Xorg.h"
#include "kit/Eventually.h"
#include "linux_desktop/process/SystemClock.h"
#include "measure/Load.h"
#include "measure/Requirement.h"
#include "unit/CameraUnit.h"

namespace lightpen::bench {
namespace {

using std::chrono::milliseconds;

constexpr int kRounds = 3; // unless said otherwise
constexpr int kStrokes = 10;
constexpr double kSpeed = 900; // screen points a second: 7 from report to report
constexpr Microseconds kSettled = milliseconds(500);
// What the pointers of the others are called among the input devices.
constexpr const char* kForwarderName = "LightPenNX7 yardstick";
constexpr const char* kInterceptedName = "LightPenNX7 intercepted";

// The camera looks straight on, so that a fixed scale is a calibration; these are its corners.
constexpr Size kScreen = Xorg::kScreen;
const Optics kOptics = Optics::straight(kScreen);

class Bench {
public:
    Bench();
    // One with real-time priority, or one of a user that has none.
    void runDriver(Contender& driver, bool realTime);
    void runForwarder();
    void runInterception();
    void runRound() {
        runDriver(driver_, true);
        runDriver(ordinaryDriver_, false);
        runForwarder();
        if (interception_)
            runInterception();
    }
    void print() const { printDelays({&driver_, &ordinaryDriver_}, {&forwarder_, &others_}); }

private:
    void noteReport(const UnitReport& report);
    bool knock();
    void measure(Contender& contender);
    void play(Delays& delays);
    std::vector<SentReport> takeSent();
    PointerRange range();

    SystemClock clock_;
    const PackagedRule rule_;
    Xorg xorg_;
    PointerWindow window_{xorg_.display()};
    std::optional<UnitPriority> priority_{std::in_place};
    GadgetBus bus_{clock_};
    CameraUnit& unit_ = bus_.add<CameraUnit>({.reportLength = 32}, {}, kOptics);
    std::mutex mutex_;
    std::vector<SentReport> sent_;
    bool touching_ = false;
    FileDescriptor intercepted_; // a pointer beside the unit, while somebody is to have it
    const char* const interception_ = std::getenv("LIGHTPEN_INTERCEPTION");
    Contender driver_{"this driver, real-time priority"};
    Contender ordinaryDriver_{"this driver, ordinary priority"};
    Contender forwarder_{"a plain forwarder, hidraw to uinput"};
    Contender others_{"interception-tools, evdev to uinput"};
};

Bench::Bench() {
    priority_.reset();
    storeCalibration(unit_, kScreen);
    unit_.onReport([this](const UnitReport& report) { noteReport(report); });
    unit_.plug();
    require(bus_.settle(unit_), "The unit cannot be plugged in: " + bus_.failure(unit_));
}

// The unit writes the report to the kernel as soon as this has returned.
void Bench::noteReport(const UnitReport& report) {
    const std::lock_guard hold(mutex_);
    const bool spot = report.kind == ReportKind::spot;
    const bool says = spot || touching_;
    if (spot) {
        const auto& bytes = report.bytes;
        const ScreenPoint place = kOptics.unproject(
            {static_cast<double>(bytes[1] | bytes[2] << 8), static_cast<double>(bytes[3] | bytes[4] << 8)});
        sent_.push_back({clock_.now(), place, !touching_});
    }
    touching_ = spot;
    if (intercepted_ && says && !writeReport(intercepted_.get(), report.bytes))
        std::fputs("A pointer event was not taken.\n", stderr);
}

// Of the camera's view of the screen.
PointerRange Bench::range() {
    const CameraPoint topLeft = unit_.seen({0, 0});
    const CameraPoint bottomRight = unit_.seen({kScreen.width, kScreen.height});
    const auto whole = [](double value) { return static_cast<int>(std::lround(value)); };
    return {whole(topLeft.x), whole(topLeft.y), whole(bottomRight.x), whole(bottomRight.y)};
}

std::vector<SentReport> Bench::takeSent() {
    const std::lock_guard hold(mutex_);
    return std::exchange(sent_, {});
}

// A driver that has just started throws away what comes first: taps until the window sees one.
bool Bench::knock() {
    window_.takeEvents();
    for (int knocks = 0; knocks < 10; ++knocks) {
        unit_.play(Hand().tap({59, 31}, milliseconds(200)));
        clock_.sleep(milliseconds(200) + kSettled);
        for (const CanvasEvent& event : window_.takeEvents())
            if (event.kind == CanvasEvent::Kind::release)
                return true;
    }
    return false;
}

void Bench::measure(Contender& contender) {
    play(contender.quiet);
    const char* const figures = std::getenv("LIGHTPEN_FIGURES");
    // The host's disk, where there is one: the guest's own files are in its memory.
    const Load load(figures ? std::filesystem::path(figures).parent_path() : "/tmp");
    play(contender.loaded);
}

// One hand for all: strokes to the right, each from another place, so that no two touches fall alike into
// the driver's passes.
void Bench::play(Delays& delays) {
    Hand hand;
    for (int stroke = 0; stroke < kStrokes; ++stroke)
        hand.drag({{60.0 + 37 * stroke, 80.0 + 55 * stroke}, {760.0 + 41 * stroke, 100.0 + 55 * stroke}},
                  kSpeed)
            .wait(milliseconds(100 + 7 * stroke));
    window_.takeEvents();
    takeSent();
    unit_.play(hand);
    clock_.sleep(hand.duration() + kSettled);
    delays.add(takeSent(), window_.takeEvents(), kStrokes);
}

void Bench::runDriver(Contender& contender, bool realTime) {
    DriverProcess driver({.environment = {{"QT_QPA_PLATFORM", "xcb"}, {"DISPLAY", xorg_.display()}}});
    // Its first thread that asks comes seconds later.
    const rlimit highest{10, 10};
    require(!realTime || prlimit(driver.pid(), RLIMIT_RTPRIO, &highest, nullptr) == 0,
            "The driver cannot be given real-time priority.");
    require(driver.waitFor("create calibrator using point") && knock(),
            "The driver does not use the unit:\n" + driver.log());
    measure(contender);
}

void Bench::runForwarder() {
    std::string node;
    require(eventually([&] { return !(node = test::penNode()).empty(); }), "The unit has no pen interface.");
    const PointerRange whole = range();
    const auto number = [](int value) { return std::to_string(value); };
    const std::size_t before = xorg_.timesAdded(kForwarderName);
    std::unique_ptr<ChildProcess> forwarder;
    const std::string ready =
        startAndReadLine(forwarder, {LIGHTPEN_LEAST_POINTER, node, number(whole.left), number(whole.top),
                                     number(whole.right), number(whole.bottom), kForwarderName, "%fd%"});
    require(ready == "ready", "The forwarder does not start.");
    require(xorg_.awaitAdded(kForwarderName, before), "The X server does not see the forwarder's pointer.");
    require(knock(), "The forwarder moves nothing.");
    measure(forwarder_);
}

// The node of a pointer that was made here.
std::string nodeOf(int pointer) {
    std::array<char, 64> name{};
    if (ioctl(pointer, UI_GET_SYSNAME(name.size()), name.data()) < 0)
        return {};
    for (const auto& entry :
         std::filesystem::directory_iterator(std::string("/sys/devices/virtual/input/") + name.data()))
        if (entry.path().filename().string().starts_with("event"))
            return "/dev/input/" + entry.path().filename().string();
    return {};
}

// What it reads is no report but an event of the kernel's, which is written with the report: the way through
// USB is spared it.
void Bench::runInterception() {
    const std::size_t before = xorg_.timesAdded(kInterceptedName);
    {
        FileDescriptor made(makePointer(range(), kInterceptedName));
        const std::lock_guard hold(mutex_);
        intercepted_ = std::move(made);
    }
    require(xorg_.awaitAdded(kInterceptedName, before), "The X server does not see the pointer.");
    const std::string node = nodeOf(intercepted_.get());
    const std::string tools = std::string(interception_) + "/usr/bin/";
    const ChildProcess both({"/bin/sh", "-c",
                             "LD_LIBRARY_PATH=$(echo " + std::string(interception_) +
                                 "/usr/lib/*-linux-gnu) && export LD_LIBRARY_PATH && " + tools +
                                 "interception -g " + node + " | " + tools + "uinput -d " + node});
    require(xorg_.awaitAdded(kInterceptedName, before + 1), "interception-tools make no pointer.");
    require(knock(), "interception-tools move nothing.");
    measure(others_);
    const std::lock_guard hold(mutex_);
    intercepted_ = {}; // ends them
}

int run(int rounds) {
    try {
        Bench bench;
        for (int round = 0; round < rounds; ++round)
            bench.runRound();
        bench.print();
        return EXIT_SUCCESS;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "%s\n", problem.what());
        return EXIT_FAILURE;
    }
}

} // namespace
} // namespace lightpen::bench

int main(int argc, char** argv) {
    return lightpen::bench::run(argc > 1 ? std::atoi(argv[1]) : lightpen::bench::kRounds);
}
