// SPDX-License-Identifier: MIT
#include "unit/bus/EmulatedBus.h"
#include "unit/CameraUnit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <thread>

#include "kit/TestPlatform.h"
#include "linux_desktop/process/SystemClock.h"
#include "measure/desktop/Eventually.h"
#include "unit/PluggedHost.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using test::PluggedHost;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// Writes down the arrivals and removals of USB devices, with their time, as the registry reports them.
class PlugWatcher {
public:
    explicit PlugWatcher(TestPlatform& platform)
        : platform_(platform), port_(platform.registry.IONotificationPortCreate(1)) {
        platform.runLoop.addSource(port_->IONotificationPortGetRunLoopSource(), kCFRunLoopCommonModes);
        watch(kIOFirstMatchNotification, [](void* self, io_iterator_t iterator) {
            static_cast<PlugWatcher*>(self)->note("arrived", iterator);
        });
        watch(kIOTerminatedNotification, [](void* self, io_iterator_t iterator) {
            static_cast<PlugWatcher*>(self)->note("removed", iterator);
        });
    }
    std::vector<std::string> events;
    std::vector<Microseconds> times;

private:
    void watch(std::string_view type, IOServiceMatchingCallback callback) {
        io_iterator_t iterator = 0;
        platform_.registry.IOServiceAddMatchingNotification(port_, type, IOServiceMatching("IOUSBDevice"),
                                                            callback, this, iterator);
        while (const io_object_t object = platform_.registry.IOIteratorNext(iterator))
            platform_.registry.IOObjectRelease(object);
    }
    void note(const std::string& what, io_iterator_t iterator) {
        while (const io_object_t object = platform_.registry.IOIteratorNext(iterator)) {
            events.push_back(what);
            times.push_back(platform_.clock.now());
            platform_.registry.IOObjectRelease(object);
        }
    }

    TestPlatform& platform_;
    std::shared_ptr<IONotificationPort> port_;
};

struct EmulatedBusTest : testing::Test {
    TestPlatform platform;
    EmulatedBus bus{platform.registry, platform.runLoop, platform.clock};
    CameraUnit& unit = bus.add<CameraUnit>({.reportLength = 32});
    PluggedHost host{platform.registry};
};

// What the registry shows

TEST_F(EmulatedBusTest, APluggedUnitIsListedWithTheHighInterfacesFirst) {
    EXPECT_THAT(host.paths("IOUSBDevice"), IsEmpty());
    unit.plug();
    EXPECT_THAT(host.paths("IOUSBDevice"), ElementsAre("IOService:/EmulatedBus/Unit@1"));
    EXPECT_THAT(host.paths("IOHIDDevice"),
                ElementsAre("IOService:/EmulatedBus/Unit@1/IOUSBInterface@3/IOHIDDevice",
                            "IOService:/EmulatedBus/Unit@1/IOUSBInterface@2/IOHIDDevice",
                            "IOService:/EmulatedBus/Unit@1/IOUSBInterface@1/IOHIDDevice",
                            "IOService:/EmulatedBus/Unit@1/IOUSBInterface@0/IOHIDDevice"));
}

TEST_F(EmulatedBusTest, ServicesCarryTheUnitsIdentity) {
    CameraUnit& other = bus.add<CameraUnit>(
        {.vendorID = 0x1234, .productID = 0x5678, .vendorName = "Somebody Else", .serialNumber = "Number-7"});
    other.plug();
    EXPECT_THAT(host.paths("IOUSBDevice"), ElementsAre("IOService:/EmulatedBus/Unit@2"));
    const io_service_t usb = host.services("IOUSBDevice").at(0);
    const auto properties = platform.registry.IORegistryEntryCreateCFProperties(usb).entries;
    EXPECT_EQ(0x1234, std::get<std::int64_t>(properties.at("idVendor")));
    EXPECT_EQ(0x5678, std::get<std::int64_t>(properties.at("idProduct")));
    EXPECT_EQ("Somebody Else", std::get<std::string>(properties.at("USB Vendor Name")));
    platform.registry.IOObjectRelease(usb);
    const io_service_t hid = host.services("IOHIDDevice").at(0);
    EXPECT_EQ("IOHIDDevice", platform.registry.IOObjectGetClass(hid));
    EXPECT_EQ("{InputReportElements = ({ElementCookie = 19; ReportID = 0; }); Manufacturer = Somebody Else; "
              "ProductID = 22136; SerialNumber = Number-7; VendorID = 4660; }",
              describe(platform.registry.IORegistryEntryCreateCFProperties(hid)));
}

// Coming and going

TEST_F(EmulatedBusTest, ThereIsOneArrivalAndOneRemovalAUnit) {
    PlugWatcher watcher(platform);
    unit.plug();
    platform.runLoop.runPending();
    EXPECT_THAT(watcher.events, ElementsAre("arrived"));
    const Microseconds left = platform.clock.now();
    unit.unplug();
    EXPECT_THAT(host.paths("IOUSBDevice"), IsEmpty());
    EXPECT_THAT(host.paths("IOHIDDevice"), IsEmpty());
    platform.runLoop.runFor(1s);
    EXPECT_THAT(watcher.events, ElementsAre("arrived", "removed"));
    EXPECT_EQ(left + 50ms, watcher.times.at(1));
}

TEST_F(EmulatedBusTest, AQuickReplugIsSeenAsRemovalAndArrival) {
    PlugWatcher watcher(platform);
    unit.plug();
    platform.runLoop.runFor(100ms);
    unit.unplug();
    platform.runLoop.runFor(10ms);
    unit.plug();
    platform.runLoop.runFor(1s);
    EXPECT_THAT(watcher.events, ElementsAre("arrived", "removed", "arrived"));
    EXPECT_THAT(host.paths("IOUSBDevice"), SizeIs(1));
    EXPECT_TRUE(host.interface());
}

TEST_F(EmulatedBusTest, PluggingOnAnotherThreadWaitsForTheMainLoop) {
    std::thread([this] { unit.plug(); }).join();
    EXPECT_TRUE(unit.plugged());
    EXPECT_THAT(host.paths("IOUSBDevice"), IsEmpty());
    platform.runLoop.runPending();
    EXPECT_THAT(host.paths("IOUSBDevice"), SizeIs(1));
}

TEST_F(EmulatedBusTest, AUnitThatIsGoneBeforeTheMainLoopTurnsNeverWasThere) {
    PlugWatcher watcher(platform);
    std::thread([this] {
        unit.plug();
        unit.unplug();
    }).join();
    platform.runLoop.runFor(1s);
    EXPECT_THAT(watcher.events, IsEmpty());
}

TEST_F(EmulatedBusTest, ReplugOverTwoThreadsKeepsTheOrder) {
    PlugWatcher watcher(platform);
    unit.plug();
    platform.runLoop.runPending();
    std::thread([this] { unit.unplug(); }).join();
    unit.plug(); // on the main thread, before its loop has turned
    EXPECT_THAT(host.paths("IOUSBDevice"), SizeIs(1));
    platform.runLoop.runFor(1s);
    EXPECT_THAT(watcher.events, ElementsAre("arrived", "removed", "arrived"));
}

TEST_F(EmulatedBusTest, ABusThatEndsUnplugsItsUnits) {
    IOHIDDeviceInterfaceRef device;
    {
        EmulatedBus brief(platform.registry, platform.runLoop, platform.clock);
        brief.add<CameraUnit>().plug();
        brief.add<CameraUnit>();
        brief.runOnMainLoop();
        device = host.openedPen();
        ASSERT_TRUE(device);
    }
    EXPECT_THAT(host.paths("IOUSBDevice"), IsEmpty());
    EXPECT_EQ(kIOReturnNoDevice, device->setReport(IOHIDReportType::output, 0, {}, 0));
    platform.runLoop.runFor(1s);
}

TEST_F(EmulatedBusTest, NothingIsLeftInTheRegistry) {
    const PlugWatcher watcher(platform);
    const std::size_t before = platform.registry.liveObjects();
    for (int times = 0; times < 3; ++times) {
        unit.plug();
        host.openedPen();
        unit.unplug();
        platform.runLoop.runFor(1s);
    }
    EXPECT_EQ(before, platform.registry.liveObjects());
}

// Time

TEST_F(EmulatedBusTest, AdvanceMovesEveryUnit) {
    CameraUnit& second = bus.add<CameraUnit>({.productID = kUnitSecondProductID});
    int reports = 0;
    for (CameraUnit* each : {&unit, &second}) {
        each->onReport([&](const UnitReport&) { ++reports; });
        each->plug();
        each->touch({640, 400});
    }
    bus.advance(platform.clock.now() + 80ms);
    EXPECT_EQ(20, reports);
}

TEST_F(EmulatedBusTest, OnTheMainLoopEverythingHappensAtItsTime) {
    bus.runOnMainLoop();
    bus.runOnMainLoop();
    unit.plug();
    const auto device = host.openedPen();
    const IOHIDQueueRef queue = device->allocQueue();
    queue->create(0, 100);
    queue->addElement(test::kPenCookie, 0);
    RunLoopSourceRef source;
    queue->createAsyncEventSource(source);
    platform.runLoop.addSource(source, kCFRunLoopDefaultMode);
    std::vector<Microseconds> callouts;
    queue->setEventCallout([&](IOReturn, IOHIDQueueInterface&) { callouts.push_back(platform.clock.now()); });
    queue->start();
    const Microseconds start = platform.clock.now();
    unit.schedule(start + 100ms, [](CameraUnit& self) { self.spotAt({700, 700}); });
    unit.schedule(start + 120ms, [](CameraUnit& self) { self.unplug(); });
    platform.runLoop.runFor(1s);
    // Three spots on the camera's pictures, and the last word.
    EXPECT_THAT(callouts, ElementsAre(start + 104ms, start + 112ms, start + 120ms, start + 120ms));
}

// Real time

struct RealTimeBusTest : testing::Test {
    TestPlatform platform;
    SystemClock clock;
    EmulatedBus bus{platform.registry, platform.runLoop, clock};
    CameraUnit& unit = bus.add<CameraUnit>({.reportLength = 32});
    PluggedHost host{platform.registry};

    // Turns the main loop until the condition holds; false when that takes unreasonably long.
    template <class Condition>
    bool until(Condition condition) {
        return eventually(
            condition,
            [this] {
                platform.runLoop.runPending();
                clock.sleep(1ms);
            },
            20s);
    }
};

TEST_F(RealTimeBusTest, TheThreadSendsReportsByItself) {
    std::mutex mutex;
    std::vector<Microseconds> times;
    unit.onReport([&](const UnitReport& report) {
        const std::lock_guard hold(mutex);
        times.push_back(report.time);
    });
    unit.plug();
    bus.runInRealTime();
    bus.runInRealTime();
    unit.touch({640, 400});
    EXPECT_TRUE(until([&] {
        const std::lock_guard hold(mutex);
        return times.size() >= 25;
    }));
    bus.stopRealTime();
    for (std::size_t next = 1; next < times.size(); ++next)
        EXPECT_EQ(Microseconds(8ms), times[next] - times[next - 1]);
    // Without the thread nothing happens by itself; it can be started again.
    const std::size_t before = times.size();
    clock.sleep(30ms);
    EXPECT_EQ(before, times.size());
    bus.runInRealTime();
    EXPECT_TRUE(until([&] {
        const std::lock_guard hold(mutex);
        return times.size() > before + 5;
    }));
    // The bus outlives what the hook writes to.
    bus.stopRealTime();
    unit.onReport({});
}

TEST_F(RealTimeBusTest, AnExchangeRunsThroughWhileAnotherThreadPlugs) {
    bus.runInRealTime();
    unit.plug();
    std::atomic<bool> done{false};
    std::atomic<int> rounds{0};
    std::thread plugger([&] {
        while (!done.load()) {
            unit.unplug();
            unit.plug();
            unit.play(Hand().tap({100, 100}, 20ms));
            ++rounds;
            std::this_thread::sleep_for(30ms);
        }
    });
    // Answers that came through, in spite of it all.
    int answers = 0;
    const std::array<std::uint8_t, 32> request{'H', 0};
    const bool enough = until([&] {
        const auto device = host.openedPen();
        const auto queue = device ? host.startedQueue(*device, 100) : nullptr;
        if (!queue)
            return false;
        device->setReport(IOHIDReportType::output, 0, request, 100);
        clock.sleep(12ms);
        IOHIDEventStruct event;
        while (queue->getNextEvent(event, 0, 0) == kIOReturnSuccess)
            answers += event.longValue[0] == 'N' ? 1 : 0;
        return answers >= 3 && rounds.load() >= 10;
    });
    done.store(true);
    plugger.join();
    EXPECT_TRUE(enough) << answers << " answers in " << rounds.load() << " rounds";
    unit.unplug();
    EXPECT_TRUE(until([&] { return host.paths("IOUSBDevice").empty(); }));
}

TEST_F(RealTimeBusTest, AScriptedUnplugReachesTheRegistryThroughTheLoop) {
    bus.runInRealTime();
    unit.plug();
    EXPECT_THAT(host.paths("IOUSBDevice"), SizeIs(1));
    unit.schedule(clock.now() + 10ms, [](CameraUnit& self) { self.unplug(); });
    EXPECT_TRUE(until([&] { return host.paths("IOUSBDevice").empty(); }));
    EXPECT_FALSE(unit.plugged());
}

} // namespace
} // namespace lightpen
