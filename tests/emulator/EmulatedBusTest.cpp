// SPDX-License-Identifier: MIT
#include "emulator/EmulatedBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>

#include "support/TestPlatform.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

// What a host does to reach the pen's interface of the first unit.
struct Host {
    explicit Host(ServiceRegistry& registry) : registry_(registry) {}

    // The services of a class, by their paths.
    std::vector<std::string> paths(std::string_view className) {
        std::vector<std::string> found;
        io_iterator_t iterator = 0;
        registry_.IOServiceGetMatchingServices(1, IOServiceMatching(className), iterator);
        while (const io_object_t service = registry_.IOIteratorNext(iterator)) {
            registry_.IORegistryEntryGetPath(service, kIOServicePlane, found.emplace_back());
            registry_.IOObjectRelease(service);
        }
        registry_.IOObjectRelease(iterator);
        return found;
    }

    // The interface of the first HID service, which is the pen's.
    IOHIDDeviceInterfaceRef interface() {
        const io_service_t service =
            registry_.IOServiceGetMatchingService(1, IOServiceMatching("IOHIDDevice"));
        std::shared_ptr<IOCFPlugInInterface> plugIn;
        registry_.IOCreatePlugInInterfaceForService(service, plugIn);
        registry_.IOObjectRelease(service);
        return plugIn ? plugIn->queryInterface() : nullptr;
    }

    IOHIDQueueRef startedQueue(const IOHIDDeviceInterfaceRef& device, std::uint32_t depth) {
        const IOHIDQueueRef queue = device->allocQueue();
        queue->create(0, depth);
        queue->addElement(0x13, 0);
        queue->start();
        return queue;
    }

private:
    ServiceRegistry& registry_;
};

struct EmulatedBusTest : testing::Test {
    TestPlatform platform;
    EmulatedBus bus{platform.registry, platform.runLoop, platform.clock};
    CameraUnit& unit = bus.addUnit({.reportLength = 32});
    Host host{platform.registry};

    std::vector<std::uint8_t> front(const IOHIDEventStruct& event, std::size_t count) {
        return {event.longValue.begin(), event.longValue.begin() + static_cast<std::ptrdiff_t>(count)};
    }
};

TEST_F(EmulatedBusTest, APluggedUnitIsListedWithTheHighInterfacesFirst) {
    EXPECT_THAT(host.paths("IOUSBDevice"), ElementsAre());
    unit.plug();
    EXPECT_THAT(host.paths("IOUSBDevice"), ElementsAre("IOService:/EmulatedBus/Unit@1"));
    EXPECT_THAT(host.paths("IOHIDDevice"),
                ElementsAre("IOService:/EmulatedBus/Unit@1/IOUSBInterface@3/IOHIDDevice",
                            "IOService:/EmulatedBus/Unit@1/IOUSBInterface@2/IOHIDDevice",
                            "IOService:/EmulatedBus/Unit@1/IOUSBInterface@1/IOHIDDevice",
                            "IOService:/EmulatedBus/Unit@1/IOUSBInterface@0/IOHIDDevice"));
}

TEST_F(EmulatedBusTest, AReadRequestIsAnsweredThroughTheQueue) {
    unit.flash()->store({0x0123, 0x0245}, {0x0367, 0x0489}, {0x05AB, 0x06CD}, {0x07EF, 0x0711});
    unit.plug();
    const auto device = host.interface();
    ASSERT_TRUE(device);
    ASSERT_EQ(kIOReturnSuccess, device->open(0));
    const auto queue = host.startedQueue(device, 100);
    const std::array<std::uint8_t, 32> request{'H', 1};
    ASSERT_EQ(kIOReturnSuccess, device->setReport(IOHIDReportType::output, 0, request, kIOHIDNoTimeout));
    IOHIDEventStruct event;
    EXPECT_EQ(kIOReturnUnderrun, queue->getNextEvent(event, 0, 0));
    platform.clock.sleep(100ms);
    ASSERT_EQ(kIOReturnSuccess, queue->getNextEvent(event, 0, 0));
    EXPECT_EQ(32U, event.longValueSize);
    EXPECT_THAT(front(event, 10), ElementsAre('Y', 1, 0xAB, 0x05, 0xCD, 0x06, 0xEF, 0x07, 0x11, 0x07));
    EXPECT_EQ(kIOReturnUnderrun, queue->getNextEvent(event, 0, 0));
}

TEST_F(EmulatedBusTest, ATouchReachesAQueueOfDepthOneAsItsNewestReport) {
    unit.plug();
    const auto device = host.interface();
    device->open(0);
    const auto queue = host.startedQueue(device, 1);
    unit.spotAt({1283, 771});
    platform.clock.sleep(16ms);
    IOHIDEventStruct event;
    ASSERT_EQ(kIOReturnSuccess, queue->getNextEvent(event, 0, 0));
    EXPECT_THAT(front(event, 6), ElementsAre(1, 0x03, 0x05, 0x03, 0x03, 0));
    EXPECT_EQ(kIOReturnUnderrun, queue->getNextEvent(event, 0, 0));
}

} // namespace
} // namespace lightpen
