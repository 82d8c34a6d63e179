// SPDX-License-Identifier: MIT
// Between a report's delivery and its pointer event nobody asks for memory: neither the thread that reads the
// node, nor the point thread, nor the pointer, nor the log. An allocator has locks that lend no priority.
#include <atomic>
#include <cstdlib>
#include <new>
#include <set>

#include <gtest/gtest.h>

#include <QApplication>

#include "calibration/KVRCalibrationCenter.h"
#include "device/EventGeneratorNX7.h"
#include "kit/SocketNode.h"
#include "kit/TemporaryDirectory.h"
#include "kit/TestPlatform.h"
#include "linux_desktop/hid/HidrawDevice.h"
#include "linux_desktop/pointer/LinuxPointer.h"
#include "linux_desktop/process/ProgramLog.h"
#include "matching/RBIOServiceMatchingServer.h"
#include "platform/PerformQueue.h"
#include "platform/UnitIdentifiers.h"

// Every allocation of this program's own code, on any thread.
namespace {

std::atomic<long> allocations{0};

void* counted(void* memory) {
    ++allocations;
    return memory ? memory : throw std::bad_alloc();
}

} // namespace

void* operator new(std::size_t size) {
    return counted(std::malloc(size));
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    const auto step = static_cast<std::size_t>(alignment);
    return counted(std::aligned_alloc(step, (size + step - 1) / step * step));
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}

namespace lightpen {
namespace {

constexpr IOHIDElementCookie kCookie = 17;
constexpr std::size_t kReportLength = 804;
constexpr int kFirstStrokes = 3; // until everything has the memory that it needs
constexpr int kDrags = 400;

// Nobody sleeps, so that a pass follows another one.
class SleeplessClock final : public Clock {
public:
    Microseconds now() override { return Microseconds{1}; }
    void sleep(Microseconds) override {}
};

// The main loop, which turns when it is told to.
class TurnedRunLoop final : public RunLoop {
public:
    void addCommonMode(std::string_view) override {}
    bool containsSource(const RunLoopSourceRef&, std::string_view) const override { return false; }
    void addSource(const RunLoopSourceRef& source, std::string_view) override { source->attachedTo(*this); }
    void performOnMainThread(PerformRequest request) override { queue_.post(std::move(request)); }
    void performAfterDelay(PerformRequest request, Microseconds delay) override {
        queue_.postDelayed(std::move(request), delay);
    }
    void cancelPreviousPerformRequests(const void* target, std::string_view selector,
                                       std::string_view argument) override {
        queue_.cancelDelayed(target, selector, argument);
    }
    void runFor(Microseconds) override { turn(); }
    void terminate(int) override {}
    bool terminating() const override { return false; }
    void exitProcess(int status) override { std::_Exit(status); }
    // Performs what was posted.
    void turn() {
        while (queue_.runOne(Microseconds::zero())) {
        }
    }

private:
    PerformQueue queue_;
};

// What the kernel would be given.
class CountingDevice final : public PointerDevice {
public:
    explicit CountingDevice(int& sent) : sent_(sent) {}
    IOReturn send(std::optional<Place> place, Button, bool) override {
        sent_ += place ? 1 : 0;
        return kIOReturnSuccess;
    }

private:
    int& sent_;
};

// A unit with an empty flash, on a node that is read as the kernel's are.
class UnitOnNode final : public IOHIDDeviceInterface122 {
public:
    explicit UnitOnNode(Clock& clock) : device_(hidraw(), clock) {}
    IOReturn open(std::uint32_t flags) override { return device_.open(flags); }
    IOReturn close() override { return device_.close(); }
    IOHIDQueueRef allocQueue() override { return device_.allocQueue(); }
    IOReturn setReport(IOHIDReportType, std::uint32_t, std::span<const std::uint8_t> report,
                       std::uint32_t) override {
        if (report[0] == 'H')
            send({'N', 0, 1});
        return kIOReturnSuccess;
    }
    void send(std::array<std::uint8_t, 5> beginning) {
        std::copy(beginning.begin(), beginning.end(), report_.begin());
        node_.send(report_);
    }

private:
    HidrawNode hidraw() {
        HidrawNode node{"/dev/hidraw7", {0, kReportLength, kCookie, 0xFF00, 1}};
        node.open = [this](const std::string&, FileDescriptor& opened) {
            opened = node_.takeHost();
            return 0;
        };
        return node;
    }

    std::array<std::uint8_t, kReportLength> report_{};
    SocketNode node_;
    HidrawDevice device_;
};

class PassAllocationTest : public testing::Test {
protected:
    ~PassAllocationTest() override {
        RBIOServiceMatchingServer::defaultServer().removeObserver(&driver);
        setLogSink(nullptr);
    }
    void start(LogSink& log) {
        setLogSink(&log);
        publish("IOHIDSystem", {});
        publish("IOUSBDevice", {{{"idVendor", std::int64_t{kUnitVendorID}},
                                 {"idProduct", std::int64_t{kUnitFirstProductID}}}});
        publish("IOHIDDevice",
                {{{"VendorID", std::int64_t{kUnitVendorID}},
                  {"ProductID", std::int64_t{kUnitFirstProductID}},
                  {"InputReportElements",
                   std::vector<PropertyDictionary>{
                       {{{"ReportID", std::int64_t{0}}, {"ElementCookie", std::int64_t{kCookie}}}}}}}});
        center->setCalibrationPoints(
            std::make_shared<const PointList>(PointList{{450, 350}, {2100, 300}, {350, 1550}, {2200, 1650}}));
        driver.setCalibrationCenter(center);
        doubles.threads.onDetach = [this] { thread = driver.beginPointThread(); };
        driver.init();
        driver.setDeviceDelegate(nullptr);
        // What a unit reports at its start is thrown away, and the next empty poll arms it.
        for (int i = 0; i < 7; ++i)
            touch(0);
        driver.pointThreadPass(thread);
        loop.turn();
        for (int i = 0; i < kFirstStrokes; ++i) {
            for (int step = 0; step < kDrags; ++step)
                touch(step);
            lift();
        }
    }
    void touch(int step) {
        unit->send(
            {0, static_cast<std::uint8_t>(step % 100 + 1), 4, static_cast<std::uint8_t>(step % 100), 3});
        driver.pointThreadPass(thread);
    }
    void lift() {
        unit->send({0, 0, 0, 0, 0});
        driver.pointThreadPass(thread);
        loop.turn();
    }
    // What a stroke's drags ask for; its press has begun it, and has asked the main thread for a long press.
    long allocationsOfDrags() {
        touch(0);
        touch(50);
        loop.turn();
        long asked = 0;
        for (int step = 0; step < kDrags; ++step) {
            const long before = allocations;
            touch(step);
            asked += allocations - before;
            loop.turn(); // the callout of the report; what it does there is the main thread's
        }
        return asked;
    }
    void expectNone(LogSink& log) {
        start(log);
        ASSERT_TRUE(EventGeneratorNX7::hearsPen());
        const int before = sent;
        EXPECT_EQ(allocationsOfDrags(), 0);
        EXPECT_EQ(sent - before, kDrags + 2) << "each report was a pointer event";
    }
    void publish(const char* className, PropertyDictionary properties) {
        registry.publish(
            {className, "IOService:/unit/IOUSBInterface@3", std::move(properties), [this] { return unit; }});
    }

    TestPlatform doubles;
    SleeplessClock clock;
    TurnedRunLoop loop;
    ServiceRegistry registry{loop, clock};
    int sent = 0;
    const SharedGeometry geometry{PointerGeometry({0, 0}, 1, {0, 0, 1920, 1080})};
    LinuxPointer pointer{
        {{"double", [this](std::string&) { return std::make_unique<CountingDevice>(sent); }}}, geometry};
    Platform platform{registry,
                      pointer,
                      loop,
                      clock,
                      doubles.threads,
                      doubles.notifications,
                      doubles.broadcast,
                      doubles.desktop,
                      doubles.defaults,
                      doubles.systemUI,
                      doubles.sounds,
                      doubles.dataFiles,
                      doubles.shell};
    struct InForce {
        explicit InForce(Platform& used) { Platform::setCurrent(&used); }
    } const inForce{platform};
    std::shared_ptr<UnitOnNode> unit = std::make_shared<UnitOnNode>(clock);
    std::shared_ptr<KVRCalibrationCenter> center =
        std::make_shared<KVRCalibrationCenter>(0, kClearColor, 0, Screen{"main", {{0, 0}, {1920, 1080}}});
    EventGeneratorNX7 driver;
    PointThreadState thread;
};

TEST_F(PassAllocationTest, ADragAsksForNoMemoryWithoutALog) {
    ProgramLog log({.choice = LogChoice::none});
    expectNone(log);
}

TEST_F(PassAllocationTest, ADragAsksForNoMemoryWithTheLogWritten) {
    const TemporaryDirectory folder;
    {
        ProgramLog log({.gathering = Microseconds{1000}, .choice = LogChoice::file, .folder = folder.path()});
        expectNone(log);
        setLogSink(nullptr);
    }
    EXPECT_NE(readFile(folder.file("log")).find("Event n:1806 state mouse drag"), std::string::npos);
}

TEST(CountedAllocations, AreSeen) {
    const long before = allocations;
    const auto one = std::make_unique<int>(1);
    const std::set<int> two{2};
    EXPECT_EQ(allocations - before, 2);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
