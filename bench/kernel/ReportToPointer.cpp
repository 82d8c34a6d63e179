// SPDX-License-Identifier: MIT
// How long it takes from a report of the pen, as the unit writes it to the kernel, to the event that a window
// gets from the X server: with the driver, and with the least program that could do the job, in turns on one
// machine. To be run in the guest, whose times are good for comparing only:
//
//   tests/kernel/boot --seconds 150 build/bench/bench/ReportToPointer
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

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
#include "measure/Analysis.h"
#include "measure/ReportDelays.h"
#include "measure/Requirement.h"
#include "unit/CameraUnit.h"

namespace lightpen::bench {
namespace {

using std::chrono::milliseconds;

constexpr int kRounds = 3;
constexpr int kStrokes = 10;
constexpr double kSpeed = 900; // screen points a second: 7 from report to report
constexpr Microseconds kSettled = milliseconds(500);
// A report comes each 8 ms and the driver looks each 16.8 ms for the newest: what it takes is 0 to 8 ms old,
// and a touch has begun 0 to 16.8 ms ago. By design, this is what waiting alone takes in the mean.
constexpr double kWaitOfMoves = 8.0 / 2;
constexpr double kWaitOfPresses = 16.8 / 2;

// What the least program's pointer is called among the input devices.
constexpr const char* kLeastPointerName = "LightPenNX7 yardstick";

// The camera looks straight on, so that a fixed scale is a calibration; these are its corners.
constexpr Size kScreen = Xorg::kScreen;
const Optics kOptics = Optics::straight(kScreen);

struct Measured {
    std::vector<double> moves;
    std::vector<double> presses;
    std::size_t seen = 0; // moves, explained or not
    std::size_t sent = 0; // reports with a spot
};

class Bench {
public:
    Bench();
    void runDriver() {
        DriverProcess driver({.environment = {{"QT_QPA_PLATFORM", "xcb"}, {"DISPLAY", xorg_.display()}}});
        require(driver.waitFor("create calibrator using point") && knock(),
                "The driver does not use the unit:\n" + driver.log());
        measure(driver_);
    }
    void runLeast();
    void print() const;

private:
    void noteReport(const UnitReport& report);
    bool knock();
    void measure(Measured& measured);
    std::vector<SentReport> takeSent();

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
    Measured driver_;
    Measured least_;
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
    if (spot) {
        const auto& bytes = report.bytes;
        const ScreenPoint place = kOptics.unproject(
            {static_cast<double>(bytes[1] | bytes[2] << 8), static_cast<double>(bytes[3] | bytes[4] << 8)});
        sent_.push_back({clock_.now(), place, !touching_});
    }
    touching_ = spot;
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
        if (countOf(window_.takeEvents(), CanvasEvent::Kind::release) > 0)
            return true;
    }
    return false;
}

// One hand for both: strokes to the right, each from another place, so that no two touches fall alike into
// the driver's passes.
void Bench::measure(Measured& measured) {
    Hand hand;
    for (int stroke = 0; stroke < kStrokes; ++stroke)
        hand.drag({{60.0 + 37 * stroke, 80.0 + 55 * stroke}, {760.0 + 41 * stroke, 100.0 + 55 * stroke}},
                  kSpeed)
            .wait(milliseconds(100 + 7 * stroke));
    window_.takeEvents();
    takeSent();
    unit_.play(hand);
    clock_.sleep(hand.duration() + kSettled);
    const auto sent = takeSent();
    const auto seen = window_.takeEvents();
    for (const double delay : moveDelays(sent, seen))
        measured.moves.push_back(delay);
    for (const double delay : pressDelays(sent, seen))
        measured.presses.push_back(delay);
    measured.seen += countOf(seen, CanvasEvent::Kind::move);
    measured.sent += sent.size();
}

void Bench::runLeast() {
    std::string node;
    require(eventually([&] { return !(node = test::penNode()).empty(); }), "The unit has no pen interface.");
    const CameraPoint topLeft = unit_.seen({0, 0});
    const CameraPoint bottomRight = unit_.seen({kScreen.width, kScreen.height});
    const auto number = [](double value) { return std::to_string(std::lround(value)); };
    const std::size_t before = xorg_.timesAdded(kLeastPointerName);
    std::unique_ptr<ChildProcess> least;
    const std::string ready =
        startAndReadLine(least, {LIGHTPEN_LEAST_POINTER, node, number(topLeft.x), number(topLeft.y),
                                 number(bottomRight.x), number(bottomRight.y), kLeastPointerName, "%fd%"});
    require(ready == "ready", "The least program does not start.");
    require(xorg_.awaitAdded(kLeastPointerName, before),
            "The X server does not see the least program's pointer.");
    require(knock(), "The least program moves nothing.");
    measure(least_);
}

void printRow(const char* name, const std::vector<double>& values) {
    const Spread spread = spreadOf(values);
    std::printf("  %-34s %6zu %9.2f %9.2f %9.2f %9.2f\n", name, spread.count, spread.median,
                spread.percentile95, spread.percentile99, spread.mean);
}

void printRatio(const char* name, const std::vector<double>& ours, const std::vector<double>& least,
                double wait) {
    const Spread one = spreadOf(ours);
    const Spread other = spreadOf(least);
    std::printf("  %-34s %6s %9.2f %9.2f %9s %9.2f\n", name, "", one.median / other.median,
                one.percentile95 / other.percentile95, "", one.mean / other.mean);
    std::printf("  %-34s %6s %9s %9s %9s %9.2f   (%.2f ms)\n", "  the mean without the wait", "", "", "", "",
                (one.mean - wait) / other.mean, one.mean - wait);
}

void Bench::print() const {
    std::printf("  %-34s %6s %9s %9s %9s %9s\n", "milliseconds", "count", "median", "p95", "p99", "mean");
    printRow("report to move, driver", driver_.moves);
    printRow("report to move, least program", least_.moves);
    printRatio("ratio", driver_.moves, least_.moves, kWaitOfMoves);
    printRow("touch to press, driver", driver_.presses);
    printRow("touch to press, least program", least_.presses);
    printRatio("ratio", driver_.presses, least_.presses, kWaitOfPresses);
    for (const auto& [name, measured] : {std::pair{"driver", &driver_}, {"least program", &least_}})
        std::printf("  %s: %zu reports with a spot became %zu moves, of which %zu are explained\n", name,
                    measured->sent, measured->seen, measured->moves.size());
    std::printf(
        "  Waiting for the driver's next look takes %.1f ms (moves) and %.1f ms (presses) in the mean.\n",
        kWaitOfMoves, kWaitOfPresses);
}

int run() {
    try {
        Bench bench;
        for (int round = 0; round < kRounds; ++round) {
            bench.runDriver();
            bench.runLeast();
        }
        bench.print();
        return EXIT_SUCCESS;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "%s\n", problem.what());
        return EXIT_FAILURE;
    }
}

} // namespace
} // namespace lightpen::bench

int main() {
    return lightpen::bench::run();
}
