// SPDX-License-Identifier: MIT
// One report of the pen on its way to a pointer event: the driver's whole pass, against the least that any
// program could do for it. Both sides write the same records to the same place; nobody sleeps.
// Neither side has another thread beside it, except where the log is written: the kernel would otherwise
// count the users of what is written to, at each write.
#include <fcntl.h>
#include <linux/input.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <memory>

#include "bench/IdlePlatform.h"
#include "bench/RatioReport.h"
#include "calibration/KVRCalibrationCenter.h"
#include "device/EventGeneratorNX7.h"
#include "linux_desktop/process/ProgramLog.h"
#include "matching/RBIOServiceMatchingServer.h"
#include "platform/FileDescriptor.h"
#include "platform/ReportFanOut.h"
#include "platform/UnitIdentifiers.h"

namespace lightpen::bench {
namespace {

constexpr IOHIDElementCookie kCookie = 17;
constexpr std::size_t kReportLength = 32;
// A power of two, so that walking round the reports costs next to nothing.
constexpr std::size_t kReports = 64;

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "PassBench: %s\n", what);
    std::exit(1);
}

// A descriptor that takes everything.
FileDescriptor sink() {
    FileDescriptor opened(open("/dev/null", O_WRONLY | O_CLOEXEC));
    if (!opened)
        fail("cannot open where to write to");
    return opened;
}

// The records of a move, as a pointer device of the kernel takes them.
void writeMove(int fd, int x, int y) {
    input_event records[3]{};
    records[0].type = records[1].type = EV_ABS;
    records[0].code = ABS_X;
    records[0].value = x;
    records[1].code = ABS_Y;
    records[1].value = y;
    records[2].type = EV_SYN;
    records[2].code = SYN_REPORT;
    if (write(fd, records, sizeof records) != static_cast<ssize_t>(sizeof records))
        fail("a pointer event was not taken");
}

class WritingPointer final : public PointerEvents {
public:
    IOReturn IOServiceOpen(io_service_t, std::uint32_t, io_connect_t& connection) override {
        connection = 1;
        return kIOReturnSuccess;
    }
    IOReturn IOHIDPostEvent(io_connect_t, std::uint32_t, IOGPoint location, const NXMouseEventData&,
                            std::uint32_t, std::uint32_t, std::uint32_t) override {
        writeMove(sink_.get(), location.x, location.y);
        ++posted;
        return kIOReturnSuccess;
    }
    void releaseButtons() override {}
    long posted = 0;

private:
    const FileDescriptor sink_ = sink();
};

// What the camera sees of the four targets.
const _KVRQuadPoints kSeen{{450, 350}, {2100, 300}, {2200, 1650}, {350, 1550}};

std::array<std::uint8_t, kReportLength> penReport(int x, int y) {
    const auto byte = [](int value) { return static_cast<std::uint8_t>(value & 0xFF); };
    return {0, byte(x), byte(x >> 8), byte(y), byte(y >> 8)};
}

// A stroke that goes on and on inside the screen.
const std::vector<std::array<std::uint8_t, kReportLength>>& reports() {
    static const auto all = [] {
        std::vector<std::array<std::uint8_t, kReportLength>> made;
        for (int i = 0; i < static_cast<int>(kReports); ++i)
            made.push_back(penReport(1025 + 3 * i, 901 + 2 * i));
        return made;
    }();
    return all;
}

// A unit with an empty flash. Each of its queues has reports of its own, so that a pen report costs one
// queue.
class EmptyUnit final : public IOHIDDeviceInterface122 {
public:
    explicit EmptyUnit(Clock& clock) : clock_(clock) {}
    IOReturn open(std::uint32_t) override { return kIOReturnSuccess; }
    IOReturn close() override { return kIOReturnSuccess; }
    IOHIDQueueRef allocQueue() override {
        return fanOuts_.emplace_back(std::make_unique<ReportFanOut>(clock_, kCookie, kReportLength))
            ->add(std::make_shared<IOHIDQueueInterface>());
    }
    IOReturn setReport(IOHIDReportType, std::uint32_t, std::span<const std::uint8_t> report,
                       std::uint32_t) override {
        if (report[0] == 'H')
            fanOuts_.back()->deliver(std::to_array<std::uint8_t>({'N', 0, 1}));
        return kIOReturnSuccess;
    }
    // The queue that was allocated last is the pen's.
    void begin() { pen_ = fanOuts_.back().get(); }
    void deliver(std::span<const std::uint8_t> report) { pen_->deliver(report); }

private:
    Clock& clock_;
    std::vector<std::unique_ptr<ReportFanOut>> fanOuts_;
    ReportFanOut* pen_ = nullptr;
};

// A driver with a unit, a calibration, and a point thread whose passes are made by hand.
class DrivenPen {
public:
    explicit DrivenPen(LogSink& log) {
        publish("IOHIDSystem", {});
        publish("IOUSBDevice", {{{"idVendor", std::int64_t{kUnitVendorID}},
                                 {"idProduct", std::int64_t{kUnitFirstProductID}}}});
        publish("IOHIDDevice",
                {{{"VendorID", std::int64_t{kUnitVendorID}},
                  {"ProductID", std::int64_t{kUnitFirstProductID}},
                  {"InputReportElements",
                   std::vector<PropertyDictionary>{
                       {{{"ReportID", std::int64_t{0}}, {"ElementCookie", std::int64_t{kCookie}}}}}}}});
        setLogSink(&log);
        center_->setCalibrationPoints(std::make_shared<const PointList>(
            PointList{kSeen.topLeft, kSeen.topRight, kSeen.bottomLeft, kSeen.bottomRight}));
        driver_.setCalibrationCenter(center_);
        desk_.doubles.threads.onDetach = [this] {
            thread_ = driver_.beginPointThread();
            unit_->begin();
        };
        driver_.init();
        driver_.setDeviceDelegate(nullptr);
        if (!EventGeneratorNX7::hearsPen())
            fail("the unit was not opened");
    }
    ~DrivenPen() {
        RBIOServiceMatchingServer::defaultServer().removeObserver(&driver_);
        setLogSink(nullptr);
    }
    DrivenPen(const DrivenPen&) = delete;
    DrivenPen& operator=(const DrivenPen&) = delete;

    void deliver(std::size_t index) { unit_->deliver(reports()[index % kReports]); }
    void pass() {
        if (!driver_.pointThreadPass(thread_))
            fail("the point thread has ended");
    }
    long posted() const { return pointer_.posted; }

private:
    void publish(const char* className, PropertyDictionary properties) {
        desk_.registry.publish({className, "IOService:/unit/IOUSBInterface@3", std::move(properties),
                                [unit = unit_] { return unit; }});
    }

    WritingPointer pointer_;
    IdlePlatform desk_{pointer_};
    std::shared_ptr<EmptyUnit> unit_ = std::make_shared<EmptyUnit>(desk_.clock);
    std::shared_ptr<KVRCalibrationCenter> center_ =
        std::make_shared<KVRCalibrationCenter>(0, kClearColor, 0, Screen{"main", kScreen});
    EventGeneratorNX7 driver_;
    PointThreadState thread_;
};

// What a written log can take in at once, with room to spare: beyond it lines would be dropped, not written.
constexpr long kPassesBetweenFlushes = 512;

void dragWith(benchmark::State& state, LogSink& log, ProgramLog* written = nullptr) {
    DrivenPen pen(log);
    std::size_t next = 0;
    long passes = 0;
    for (auto _ : state) {
        pen.deliver(next++);
        pen.pass();
        if (++passes % kPassesBetweenFlushes != 0 || !written)
            continue;
        state.PauseTiming();
        if (!written->flush())
            fail("the log was not written");
        state.ResumeTiming();
    }
    if (pen.posted() != passes)
        fail("not every pass has posted its event");
}

// As with "--log none".
void passWithLogDiscarded(benchmark::State& state) {
    ProgramLog log({.choice = LogChoice::none});
    dragWith(state, log);
}
BENCHMARK(passWithLogDiscarded);

// What the passing thread spends; a thread of the log's own does the writing.
void passWithLogWritten(benchmark::State& state) {
    const FileDescriptor file = sink();
    ProgramLog log({.diagnostics = file.get(), .output = file.get()});
    dragWith(state, log, &log);
}
BENCHMARK(passWithLogWritten);

void emptyPass(benchmark::State& state) {
    DiscardingLog log;
    DrivenPen pen(log);
    for (auto _ : state)
        pen.pass();
    if (pen.posted() != 0)
        fail("an empty pass has posted an event");
}
BENCHMARK(emptyPass);

// The least: the bytes' meaning, the eight multiplications of the mapping by hand, the same write.
void leastForAReport(benchmark::State& state) {
    const std::array<float, 8> solved = Calibrator(kSeen, {{170, 75}, {1580, 930}}).vector();
    std::array<double, 8> k{};
    std::copy(solved.begin(), solved.end(), k.begin());
    const FileDescriptor file = sink();
    std::size_t next = 0;
    for (auto _ : state) {
        const std::uint8_t* report = reports()[next++ % kReports].data();
        benchmark::DoNotOptimize(report);
        if (report[1] == 0)
            fail("a report without a spot");
        const double x = static_cast<std::int16_t>(report[1] | report[2] << 8);
        const double y = static_cast<std::int16_t>(report[3] | report[4] << 8);
        const double scale = 1 / (k[6] * x + k[7] * y + 1);
        writeMove(file.get(), static_cast<int>((k[0] * x + k[1] * y + k[2]) * scale),
                  static_cast<int>((k[3] * x + k[4] * y + k[5]) * scale));
    }
}
BENCHMARK(leastForAReport);

} // namespace
} // namespace lightpen::bench

int main(int argc, char** argv) {
    return lightpen::bench::runWithRatios(
        argc, argv,
        {{"a drag, log discarded : the least for it", "passWithLogDiscarded", "leastForAReport", 1.5},
         {"a drag, log written : the least for it", "passWithLogWritten", "leastForAReport", 3},
         {"a drag, log written : its log discarded", "passWithLogWritten", "passWithLogDiscarded"},
         {"an empty poll : the least for a report", "emptyPass", "leastForAReport"}});
}
