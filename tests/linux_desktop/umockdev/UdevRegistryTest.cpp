// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/UdevRegistry.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <libudev.h>

#include "kit/Eventually.h"
#include "kit/RecordingLog.h"
#include "kit/SocketNode.h"
#include "kit/TestPlatform.h"
#include "linux_desktop/umockdev/SimulatedBus.h"
#include "platform/UnitIdentifiers.h"

namespace {
int looksAtTheBus = 0;
}

// Stands before udev's own and counts.
extern "C" int udev_enumerate_scan_devices(udev_enumerate* enumeration) {
    static const auto next = reinterpret_cast<decltype(&udev_enumerate_scan_devices)>(
        ::dlsym(RTLD_NEXT, "udev_enumerate_scan_devices"));
    ++looksAtTheBus;
    return next(enumeration);
}

namespace lightpen {
namespace {

using namespace test;

class UdevRegistryTest : public testing::Test {
protected:
    // The paths of the HID services, in the order in which they are listed.
    std::vector<std::string> listed() {
        MatchingDictionary matching = IOServiceMatching("IOHIDDevice");
        matching.numbers["VendorID"] = kUnitVendorID;
        std::vector<std::string> paths;
        io_iterator_t services = 0;
        desktop_.registry.IOServiceGetMatchingServices(0, matching, services);
        while (const io_object_t service = desktop_.registry.IOIteratorNext(services)) {
            desktop_.registry.IORegistryEntryGetPath(service, kIOServicePlane, paths.emplace_back());
            desktop_.registry.IOObjectRelease(service);
        }
        desktop_.registry.IOObjectRelease(services);
        return paths;
    }
    bool unitPresent() {
        MatchingDictionary matching = IOServiceMatching("IOUSBDevice");
        matching.numbers = {{"idVendor", kUnitVendorID}, {"idProduct", kUnitFirstProductID}};
        const io_service_t unit = desktop_.registry.IOServiceGetMatchingService(0, matching);
        desktop_.registry.IOObjectRelease(unit);
        return unit != 0;
    }
    bool becomes(bool present) {
        return eventually([&] {
            units_.readEvents();
            return unitPresent() == present;
        });
    }

    RecordingLog log_;
    TestPlatform desktop_;
    SimulatedBus bus_;
    int openError_ = 0;
    std::vector<std::string> opened_;
    UdevRegistry units_{desktop_.registry, desktop_.runLoop, desktop_.clock,
                        [this](const std::string& devnode, FileDescriptor& node) {
                            opened_.push_back(devnode);
                            if (openError_ == 0)
                                node = SocketNode().takeHost();
                            return openError_;
                        },
                        [](udev_device*) { return true; }};
};

SimulatedBus::Unit firstInterface() {
    SimulatedBus::Unit unit;
    unit.interfaceNumber = "00";
    unit.serial = "0004";
    unit.hidraw = "hidraw1";
    unit.descriptor = unitDescriptor(8, 8);
    return unit;
}

TEST_F(UdevRegistryTest, AUnitThatIsThereAtTheStartIsListedWithItsPenFirst) {
    bus_.addInterface({}, bus_.plugIn(firstInterface()).device);
    ASSERT_TRUE(units_.start());
    EXPECT_TRUE(unitPresent());
    const auto paths = listed();
    ASSERT_EQ(paths.size(), 2U);
    EXPECT_EQ(paths[0], "IOService:/devices/1-2/IOUSBInterface@3/0003:1209:0001.0007/hidraw4");
    EXPECT_EQ(paths[1], "IOService:/devices/1-2/IOUSBInterface@0/0003:1209:0001.0004/hidraw1");
    EXPECT_EQ(opened_, std::vector<std::string>{"/dev/hidraw4"});
}

TEST_F(UdevRegistryTest, OtherDevicesAreLeftAlone) {
    SimulatedBus::Unit keyboard;
    keyboard.vendorID = "1d6b";
    bus_.plugIn(keyboard);
    ASSERT_TRUE(units_.start());
    EXPECT_TRUE(listed().empty());
    EXPECT_TRUE(opened_.empty());
}

TEST_F(UdevRegistryTest, TheBusIsLookedAtOnceHoweverOftenSomebodyAsks) {
    looksAtTheBus = 0;
    ASSERT_TRUE(units_.start());
    ASSERT_EQ(looksAtTheBus, 1);
    const auto paths = bus_.plugIn({});
    EXPECT_TRUE(becomes(true));
    for (int question = 0; question < 300; ++question)
        ASSERT_TRUE(unitPresent());
    bus_.unplug(paths);
    EXPECT_TRUE(becomes(false));
    EXPECT_EQ(looksAtTheBus, 1);
}

TEST_F(UdevRegistryTest, PluggingInUnpluggingAndReplugging) {
    ASSERT_TRUE(units_.start());
    EXPECT_FALSE(unitPresent());
    auto paths = bus_.plugIn({});
    EXPECT_TRUE(becomes(true));
    for (const char* number : {"0008", "0009", "000A"}) {
        bus_.unplug(paths);
        SimulatedBus::Unit again;
        again.serial = number;
        again.hidraw = std::string("hidraw") + number;
        paths = bus_.plugIn(again);
        EXPECT_TRUE(eventually([&] {
            units_.readEvents();
            return listed().size() == 1 && listed()[0].ends_with(again.hidraw);
        })) << number;
        EXPECT_TRUE(unitPresent());
    }
    bus_.unplug(paths);
    EXPECT_TRUE(becomes(false));
    EXPECT_TRUE(listed().empty());
}

TEST_F(UdevRegistryTest, APermissionThatComesLaterMakesTheUnitReady) {
    openError_ = EACCES;
    const auto paths = bus_.plugIn({});
    ASSERT_TRUE(units_.start());
    EXPECT_FALSE(unitPresent());
    ASSERT_EQ(log_.lines().size(), 1U);
    EXPECT_NE(log_.lines()[0].find("70-lightpen-nx7.rules"), std::string::npos);
    openError_ = 0;
    bus_.event(paths.node, "change");
    EXPECT_TRUE(becomes(true));
    EXPECT_EQ(log_.lines().size(), 1U);
}

} // namespace
} // namespace lightpen
