// SPDX-License-Identifier: MIT
#include "unit/bus/EmulatedInterface.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>

#include "kit/RecordingLog.h"
#include "kit/TestPlatform.h"
#include "unit/CameraUnit.h"
#include "unit/PluggedHost.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using test::PluggedHost;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr auto kOutput = IOHIDReportType::output;
constexpr std::array<std::uint8_t, 32> kReadRequest{'H', 1};

struct EmulatedInterfaceTest : testing::Test {
    TestPlatform platform;
    EmulatedBus bus{platform.registry, platform.runLoop, platform.clock};
    CameraUnit& unit = bus.add<CameraUnit>({.reportLength = 40});
    PluggedHost host{platform.registry};
    IOHIDDeviceInterfaceRef device;
    IOHIDQueueRef queue;

    EmulatedInterfaceTest() {
        unit.plug();
        device = host.openedPen();
        queue = host.startedQueue(*device, 100);
    }
    IOReturn sendRequest(std::uint32_t timeoutMs) {
        return device->setReport(kOutput, 0, kReadRequest, timeoutMs);
    }
    // The next report of the queue; none for an underrun.
    std::optional<IOHIDEventStruct> next() {
        IOHIDEventStruct event;
        if (queue->getNextEvent(event, 0, 0) != kIOReturnSuccess)
            return std::nullopt;
        return event;
    }
};

TEST_F(EmulatedInterfaceTest, AReadRequestIsAnsweredThroughTheQueue) {
    unit.flash()->store({0x0123, 0x0245}, {0x0367, 0x0489}, {0x05AB, 0x06CD}, {0x07EF, 0x0711});
    ASSERT_EQ(kIOReturnSuccess, sendRequest(kIOHIDNoTimeout));
    EXPECT_FALSE(next());
    platform.clock.sleep(100ms);
    const auto event = next();
    ASSERT_TRUE(event);
    EXPECT_EQ(40U, event->longValueSize);
    EXPECT_EQ(test::kPenCookie, event->elementCookie);
    const std::vector<std::uint8_t> bytes(event->longValue.begin(), event->longValue.begin() + 11);
    EXPECT_THAT(bytes, ElementsAre('Y', 1, 0xAB, 0x05, 0xCD, 0x06, 0xEF, 0x07, 0x11, 0x07, 0));
    EXPECT_FALSE(next());
}

TEST_F(EmulatedInterfaceTest, AQueueOfDepthOneHasTheNewestReport) {
    const IOHIDQueueRef newest = host.startedQueue(*device, 1);
    unit.spotAt({1283, 771});
    platform.clock.sleep(16ms);
    EXPECT_TRUE(next());
    unit.spotAt({1284, 771});
    platform.clock.sleep(16ms);
    IOHIDEventStruct event;
    ASSERT_EQ(kIOReturnSuccess, newest->getNextEvent(event, 0, 0));
    EXPECT_EQ(0x04, event.longValue[1]);
    EXPECT_EQ(kIOReturnUnderrun, newest->getNextEvent(event, 0, 0));
}

TEST_F(EmulatedInterfaceTest, IsOpenedAgainAfterItsEnd) {
    EXPECT_EQ(kIOReturnSuccess, device->close());
    EXPECT_EQ(kIOReturnNotOpen, device->close());
    EXPECT_EQ(kIOReturnNotOpen, sendRequest(100));
    EXPECT_EQ(kIOReturnSuccess, device->open(0));
    EXPECT_EQ(kIOReturnSuccess, sendRequest(100));
}

TEST_F(EmulatedInterfaceTest, OpeningAndClosingChangeNothingInTheUnit) {
    sendRequest(100);
    device->close();
    device->open(0);
    platform.clock.sleep(100ms);
    EXPECT_TRUE(next());
}

TEST_F(EmulatedInterfaceTest, TheOtherInterfacesListenToNobodyAndSayNothing) {
    int outputs = 0;
    unit.onOutput([&](Microseconds, std::span<const std::uint8_t>) { ++outputs; });
    const auto other = host.interface(1);
    ASSERT_TRUE(other);
    other->open(0);
    EXPECT_EQ(kIOReturnSuccess, other->setReport(kOutput, 0, kReadRequest, 100));
    EXPECT_EQ(0, outputs);
    const IOHIDQueueRef silent = other->allocQueue();
    silent->create(0, 4);
    for (const IOHIDElementCookie cookie : {0x10, 0x11, 0x12, 0x13})
        silent->addElement(cookie, 0);
    silent->start();
    unit.touch({640, 400});
    platform.clock.sleep(100ms);
    IOHIDEventStruct event;
    EXPECT_EQ(kIOReturnUnderrun, silent->getNextEvent(event, 0, 0));
}

TEST_F(EmulatedInterfaceTest, AUnitThatDoesNotReadMakesSendingTimeOut) {
    unit.faults()->doesNotReadOutput = true;
    const Microseconds start = platform.clock.now();
    EXPECT_EQ(kIOReturnTimeout, sendRequest(100));
    EXPECT_EQ(start + 100ms, platform.clock.now());
    EXPECT_EQ(kIOReturnTimeout, sendRequest(0));
    EXPECT_EQ(start + 100ms, platform.clock.now());
    // What was sent goes out when the unit reads again.
    unit.faults()->doesNotReadOutput = false;
    platform.clock.sleep(50ms);
    next();
    platform.clock.sleep(50ms);
    EXPECT_TRUE(next());
}

TEST_F(EmulatedInterfaceTest, WithoutATimeOutSendingWaitsUntilTheUnitReads) {
    unit.faults()->doesNotReadOutput = true;
    const Microseconds start = platform.clock.now();
    unit.schedule(start + 7s, [](CameraUnit& self) { self.faults()->doesNotReadOutput = false; });
    EXPECT_EQ(kIOReturnSuccess, sendRequest(kIOHIDNoTimeout));
    EXPECT_EQ(start + 7s, platform.clock.now());
}

TEST_F(EmulatedInterfaceTest, SendingEndsWhenTheUnitGoes) {
    unit.faults()->doesNotReadOutput = true;
    unit.schedule(platform.clock.now() + 7s, [](CameraUnit& self) { self.unplug(); });
    EXPECT_EQ(kIOReturnNoDevice, sendRequest(kIOHIDNoTimeout));
}

TEST_F(EmulatedInterfaceTest, AUnitThatIsGoneSaysOneLastWord) {
    unit.spotAt({1283, 771});
    platform.clock.sleep(16ms);
    unit.unplug();
    unit.plug(); // another connection: this one hears nothing of it
    platform.clock.sleep(100ms);
    std::vector<std::uint8_t> lows;
    std::optional<IOHIDEventStruct> last;
    while (const auto event = next()) {
        lows.push_back(event->longValue[1]);
        last = event;
    }
    EXPECT_THAT(lows, ElementsAre(0x03, 0x03, 0));
    EXPECT_THAT(last->longValue, Each(0));
    EXPECT_EQ(kIOReturnNoDevice, sendRequest(100));
    EXPECT_EQ(kIOReturnNoDevice, device->open(0));
    EXPECT_FALSE(device->allocQueue());
}

TEST_F(EmulatedInterfaceTest, APlugInThatOutlivesTheUnitHasNoInterface) {
    const auto all = host.services("IOHIDDevice");
    IOCFPlugInInterface plugIn;
    ASSERT_EQ(kIOReturnSuccess, platform.registry.IOCreatePlugInInterfaceForService(all[0], plugIn));
    unit.unplug();
    EXPECT_FALSE(plugIn());
    EXPECT_EQ(kIOReturnNoDevice, platform.registry.IOCreatePlugInInterfaceForService(all[0], plugIn));
}

TEST_F(EmulatedInterfaceTest, UnpluggingInAnExchangeFailsItThere) {
    unit.faults()->unplug = UnplugPoint{.command = 'H', .when = UnplugPoint::When::midReply, .replyBytes = 1};
    ASSERT_EQ(kIOReturnSuccess, sendRequest(kIOHIDNoTimeout));
    platform.clock.sleep(100ms);
    EXPECT_EQ('N', next()->longValue[0]); // the rest of it is zeros
    EXPECT_EQ(0, next()->longValue[0]);   // the last word
    EXPECT_FALSE(next());
    EXPECT_EQ(kIOReturnNoDevice, sendRequest(kIOHIDNoTimeout));
}

TEST_F(EmulatedInterfaceTest, ShortAndLongReportsComeAtTheDeclaredLength) {
    RecordingLog log;
    unit.spotAt({1283, 771});
    unit.faults()->sentLength = 2;
    platform.clock.sleep(8ms);
    const auto brief = next();
    ASSERT_TRUE(brief);
    EXPECT_EQ(40U, brief->longValueSize);
    EXPECT_EQ(3, brief->longValue[1]);
    EXPECT_EQ(0, brief->longValue[2]);
    while (next()) {
    }
    unit.faults()->sentLength = 90;
    platform.clock.sleep(16ms);
    const auto cut = next();
    ASSERT_TRUE(cut);
    EXPECT_EQ(40U, cut->longValueSize);
    EXPECT_THAT(log.lines(), SizeIs(1));
}

TEST_F(EmulatedInterfaceTest, EveryPollCanMoveAVirtualClock) {
    EmulatedBus moving(platform.registry, platform.runLoop, platform.clock);
    moving.onPoll([this] { platform.clock.advanceTo(platform.clock.now() + 1ms); });
    unit.unplug();
    CameraUnit& other = moving.add<CameraUnit>({.reportLength = 40});
    other.plug();
    device = host.openedPen();
    queue = host.startedQueue(*device, 100);
    sendRequest(kIOHIDNoTimeout);
    int polls = 1;
    while (!next())
        ++polls;
    EXPECT_EQ(5, polls);
    EXPECT_THAT(platform.clock.takeSleeps(), IsEmpty());
}

} // namespace
} // namespace lightpen
