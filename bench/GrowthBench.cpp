// SPDX-License-Identifier: MIT
// What one operation costs when there is more of everything: calibrators, devices on the bus, reports,
// replugs. Each cost is compared with that of the first row of its kind; flat is a ratio of one.
#include <fcntl.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/IdlePlatform.h"
#include "bench/RatioReport.h"
#include "calibration/KVRCalibrationCenter.h"
#include "device/EventGeneratorNX7.h"
#include "kit/CameraUnits.h"
#include "kit/ScriptedUnit.h"
#include "matching/RBIOServiceMatchingServer.h"

namespace lightpen::bench {
namespace {

using std::chrono::milliseconds;

// The log of everybody here.
struct QuietLog {
    QuietLog() { setLogSink(&sink_); }
    ~QuietLog() { setLogSink(nullptr); }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;

private:
    DiscardingLog sink_;
};

// Calibrators

// What the camera sees of so many targets, row by row.
std::shared_ptr<const PointList> targetsSeen(std::int64_t count) {
    const TargetGrid grid = TargetGrid::forTotalPoints(count);
    PointList points;
    for (std::int64_t row = 0; row < grid.rows; ++row)
        for (std::int64_t column = 0; column < grid.columns; ++column)
            points.push_back({static_cast<double>(300 + 190 * column + 7 * row),
                              static_cast<double>(250 + 170 * row + 5 * column)});
    return std::make_shared<const PointList>(points);
}

void mapAPoint(benchmark::State& state) {
    const QuietLog log;
    RecordingPointer pointer;
    const IdlePlatform desk(pointer);
    KVRCalibrationCenter center(0, kClearColor, 0, Screen{"main", kScreen});
    center.setCalibrationPoints(targetsSeen(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(center.mapPointFrom({1100, 905}));
}
// Targets, which have 1, 4, 16 and 63 calibrators between them.
BENCHMARK(mapAPoint)->Arg(4)->Arg(9)->Arg(25)->Arg(80);

void solveACalibrator(benchmark::State& state) {
    const QuietLog log;
    std::vector<Calibrator> calibrators;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        const double left = 300 + 11 * static_cast<double>(i);
        calibrators.emplace_back(
            _KVRQuadPoints{{left, 250}, {left + 190, 262}, {left + 201, 440}, {left - 9, 431}},
            ScreenRect{{170, 75}, {200, 150}});
    }
    while (state.KeepRunningBatch(state.range(0)))
        for (Calibrator& calibrator : calibrators) {
            calibrator.calculateConstant();
            benchmark::DoNotOptimize(calibrator.vector());
        }
}
BENCHMARK(solveACalibrator)->Arg(1)->Arg(4)->Arg(16)->Arg(63);

// Devices on the bus

// One camera unit, and behind it HID devices of others up to this count.
std::vector<HidNode> nodesOnTheBus(std::int64_t count) {
    std::vector<HidNode> nodes{test::unitNode(3)};
    for (int i = 1; i < static_cast<int>(count); ++i) {
        HidNode node = test::unitNode(0, i + 1, "1-" + std::to_string(i + 2));
        node.device.vendorID = 0x046D;
        nodes.push_back(std::move(node));
    }
    return nodes;
}

void lookAtADevice(benchmark::State& state) {
    const QuietLog log;
    TestPlatform desk;
    UnitPublisher publisher(desk.registry, desk.runLoop, desk.clock,
                            [](const std::string&, FileDescriptor& node) {
                                node = FileDescriptor(open("/dev/null", O_RDWR | O_CLOEXEC));
                                return 0;
                            });
    const auto nodes = nodesOnTheBus(state.range(0));
    while (state.KeepRunningBatch(state.range(0)))
        publisher.allNodes(nodes);
}
BENCHMARK(lookAtADevice)->Arg(1)->Arg(5)->Arg(20)->Arg(50);

// Reports and replugs

// A driver with a unit that comes, goes and sends, in virtual time; the passes of the point thread are made
// by hand.
class DriverAndUnit {
public:
    DriverAndUnit() {
        desk_.registry.publish({"IOHIDSystem", "IOService:/IOHIDSystem", {}, {}});
        desk_.runLoop.addSource(port_->IONotificationPortGetRunLoopSource(), kCFRunLoopCommonModes);
        unit_.onSetReport = [this](const SentReport& report) {
            if (report.bytes[0] == 'H')
                unit_.sendReport(flash_.answerTo(report.bytes[1]));
            return kIOReturnSuccess;
        };
        desk_.threads.onDetach = [this] {
            thread_ = driver_.beginPointThread();
            desk_.threads.entries.clear();
        };
        center_->setCalibrationPoints(std::make_shared<const PointList>(flash_.points));
        driver_.setCalibrationCenter(center_);
        driver_.init();
    }
    ~DriverAndUnit() { RBIOServiceMatchingServer::defaultServer().removeObserver(&driver_); }
    DriverAndUnit(const DriverAndUnit&) = delete;
    DriverAndUnit& operator=(const DriverAndUnit&) = delete;

    void plugIn() {
        unit_.plugIn();
        desk_.runLoop.runFor(milliseconds(100));
    }
    // Pulled out and put back, each with its report; whether it is open then.
    bool replug() {
        unit_.unplug();
        desk_.runLoop.runFor(ServiceRegistry::kRemovalDelay);
        while (driver_.pointThreadPass(thread_)) {
        }
        plugIn();
        forget();
        return EventGeneratorNX7::isUnitOpen();
    }
    void send(int x) { unit_.sendReport({0, low(x), high(x), low(901), high(901)}); }
    void pass() { driver_.pointThreadPass(thread_); }
    // Until the pen counts: it does after passes with reports, which are thrown away, and one without.
    void arm() {
        for (int i = 0; i < 10 && !EventGeneratorNX7::hearsPen(); ++i) {
            if (i < 6)
                unit_.sendReport({0, 0, 0, 0, 0});
            pass();
        }
    }
    // What the doubles keep.
    std::size_t forget() {
        unit_.takeOperations();
        unit_.takeSent();
        desk_.clock.takeSleeps();
        return desk_.pointer.takePosted().size();
    }

private:
    static std::uint8_t low(int word) { return static_cast<std::uint8_t>(word & 0xFF); }
    static std::uint8_t high(int word) { return static_cast<std::uint8_t>(word >> 8 & 0xFF); }

    const QuietLog log_;
    TestPlatform desk_;
    // The process has one matching server, whose port belongs to the first platform; any port of this
    // registry delivers for all.
    const std::shared_ptr<IONotificationPort> port_ = desk_.registry.IONotificationPortCreate(0);
    const UnitFlash flash_{{{450, 350}, {2100, 300}, {350, 1550}, {2200, 1650}}};
    ScriptedUnit unit_{desk_};
    std::shared_ptr<KVRCalibrationCenter> center_ =
        std::make_shared<KVRCalibrationCenter>(0, kClearColor, 0, Screen{"main", kScreen});
    EventGeneratorNX7 driver_;
    PointThreadState thread_;
};

// A pass takes the newest report, so that the unit's pace costs what taking in the others costs.
void takeAReport(benchmark::State& state) {
    const std::int64_t reports = state.range(0) / 60;
    DriverAndUnit stage;
    stage.plugIn();
    stage.arm();
    stage.forget();
    std::size_t posted = 0;
    for (int x = 0; state.KeepRunningBatch(reports); x = (x + 3) & 0xFF) {
        for (std::int64_t i = 0; i < reports; ++i)
            stage.send(1025 + x + static_cast<int>(i));
        stage.pass();
        posted += stage.forget();
    }
    if (posted == 0)
        state.SkipWithError("no report became an event");
}
// Reports a second.
BENCHMARK(takeAReport)->Arg(60)->Arg(125)->Arg(250)->Arg(500)->Arg(1000);

void replug(benchmark::State& state) {
    DriverAndUnit stage;
    stage.plugIn();
    for (std::int64_t i = 1; i < state.range(0); ++i)
        stage.replug();
    for (auto _ : state)
        if (!stage.replug())
            state.SkipWithError("the unit was not opened");
}
// The how manieth.
BENCHMARK(replug)->Arg(1)->Arg(10)->Arg(100)->Arg(1000)->Arg(10000)->MinTime(0.05);

// One more row for each size of this bench but the first, which it is compared with.
void compare(std::vector<Ratio>& ratios, const std::string& bench, const std::string& what,
             const std::vector<std::pair<int, std::string>>& sizes) {
    for (std::size_t i = 1; i < sizes.size(); ++i)
        ratios.push_back({what + sizes[i].second + " : " + sizes.front().second,
                          bench + '/' + std::to_string(sizes[i].first),
                          bench + '/' + std::to_string(sizes.front().first), 1.2});
}

std::vector<Ratio> allRatios() {
    std::vector<Ratio> all;
    compare(all, "mapAPoint", "mapping a point with ",
            {{4, "1 calibrator"}, {9, "4 calibrators"}, {25, "16 calibrators"}, {80, "63 calibrators"}});
    compare(all, "solveACalibrator", "solving each of ",
            {{1, "1 calibrator"}, {4, "4 calibrators"}, {16, "16 calibrators"}, {63, "63 calibrators"}});
    compare(all, "lookAtADevice", "looking at each of ",
            {{1, "1 HID device"}, {5, "5 HID devices"}, {20, "20 HID devices"}, {50, "50 HID devices"}});
    compare(all, "takeAReport", "taking in each of ",
            {{60, "60 reports a second"},
             {125, "125 reports a second"},
             {250, "250 reports a second"},
             {500, "500 reports a second"},
             {1000, "1,000 reports a second"}});
    compare(all, "replug", "replug ",
            {{1, "number 1"},
             {10, "number 10"},
             {100, "number 100"},
             {1000, "number 1,000"},
             {10000, "number 10,000"}});
    return all;
}

} // namespace
} // namespace lightpen::bench

int main(int argc, char** argv) {
    return lightpen::bench::runWithRatios(argc, argv, lightpen::bench::allRatios());
}
