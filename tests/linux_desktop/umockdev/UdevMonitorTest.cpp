// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/UdevMonitor.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <libudev.h>

#include <memory>
#include <optional>

#include "kit/CameraUnits.h"
#include "kit/Eventually.h"
#include "kit/RecordingLog.h"
#include "kit/SocketNode.h"
#include "kit/TestPlatform.h"
#include "linux_desktop/umockdev/SimulatedBus.h"

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

class UdevMonitorTest : public testing::Test {
protected:
    // The paths of the HID services, in the order in which they are listed.
    std::vector<std::string> listed() {
        MatchingDictionary matching = IOServiceMatching("IOHIDDevice");
        matching.numbers["VendorID"] = kUnitVendorID;
        return pathsOf(desktop_.registry, matching);
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
            monitor_.readEvents();
            return unitPresent() == present;
        });
    }

    RecordingLog log_;
    TestPlatform desktop_;
    SimulatedBus bus_;
    int openError_ = 0;
    std::vector<std::string> opened_;
    bool initialised_ = true;
    UnitPublisher units_{desktop_.registry, desktop_.runLoop, desktop_.clock,
                         [this](const std::string& devnode, FileDescriptor& node) {
                             opened_.push_back(devnode);
                             if (openError_ == 0)
                                 node = SocketNode().takeHost();
                             return openError_;
                         }};
    UdevMonitor monitor_{units_, [this](udev_device*) { return initialised_; }};
};

SimulatedBus::Unit firstInterface() {
    SimulatedBus::Unit unit;
    unit.interfaceNumber = "00";
    unit.serial = "0004";
    unit.hidraw = "hidraw1";
    unit.descriptor = unitDescriptor(8, 8);
    return unit;
}

TEST_F(UdevMonitorTest, AUnitThatIsThereAtTheStartIsListedWithItsPenFirst) {
    bus_.addInterface({}, bus_.plugIn(firstInterface()).device);
    ASSERT_TRUE(monitor_.start());
    EXPECT_TRUE(unitPresent());
    const auto paths = listed();
    ASSERT_EQ(paths.size(), 2U);
    EXPECT_EQ(paths[0], "IOService:/devices/1-2/IOUSBInterface@3/0003:1209:0001.0007/hidraw4");
    EXPECT_EQ(paths[1], "IOService:/devices/1-2/IOUSBInterface@0/0003:1209:0001.0004/hidraw1");
    EXPECT_EQ(opened_, std::vector<std::string>{"/dev/hidraw4"});
}

TEST_F(UdevMonitorTest, OtherDevicesAreLeftAlone) {
    SimulatedBus::Unit keyboard;
    keyboard.vendorID = "1d6b";
    bus_.plugIn(keyboard);
    ASSERT_TRUE(monitor_.start());
    EXPECT_TRUE(listed().empty());
    EXPECT_TRUE(opened_.empty());
}

TEST_F(UdevMonitorTest, TheBusIsLookedAtOnceHoweverOftenSomebodyAsks) {
    looksAtTheBus = 0;
    ASSERT_TRUE(monitor_.start());
    ASSERT_EQ(looksAtTheBus, 1);
    const auto paths = bus_.plugIn({});
    EXPECT_TRUE(becomes(true));
    for (int question = 0; question < 300; ++question)
        ASSERT_TRUE(unitPresent());
    bus_.unplug(paths);
    EXPECT_TRUE(becomes(false));
    EXPECT_EQ(looksAtTheBus, 1);
}

TEST_F(UdevMonitorTest, PluggingInUnpluggingAndReplugging) {
    ASSERT_TRUE(monitor_.start());
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
            monitor_.readEvents();
            return listed().size() == 1 && listed()[0].ends_with(again.hidraw);
        })) << number;
        EXPECT_TRUE(unitPresent());
    }
    bus_.unplug(paths);
    EXPECT_TRUE(becomes(false));
    EXPECT_TRUE(listed().empty());
}

TEST_F(UdevMonitorTest, APermissionThatComesLaterMakesTheUnitReady) {
    openError_ = EACCES;
    const auto paths = bus_.plugIn({});
    ASSERT_TRUE(monitor_.start());
    EXPECT_FALSE(unitPresent());
    ASSERT_EQ(log_.lines().size(), 1U);
    EXPECT_NE(log_.lines()[0].find("70-lightpen-nx7.rules"), std::string::npos);
    openError_ = 0;
    bus_.event(paths.node, "change");
    EXPECT_TRUE(becomes(true));
    EXPECT_EQ(log_.lines().size(), 1U);
}

TEST_F(UdevMonitorTest, AUnitThatUdevIsNotDoneWithIsAbsentUntilItIs) {
    const auto paths = bus_.plugIn({});
    initialised_ = false;
    ASSERT_TRUE(monitor_.start());
    EXPECT_FALSE(unitPresent());
    bus_.event(paths.node, "change");
    EXPECT_TRUE(becomes(true));
}

TEST_F(UdevMonitorTest, ItAsksUdevItselfUnlessToldOtherwise) {
    bus_.plugIn({});
    UdevMonitor plain(units_);
    ASSERT_TRUE(plain.start());
    EXPECT_FALSE(unitPresent()) << "the simulated udev never says that it is done";
}

TEST_F(UdevMonitorTest, BeforeItsStartThereIsNothingToWatch) {
    EXPECT_EQ(monitor_.eventDescriptor(), -1);
    ASSERT_TRUE(monitor_.start());
    EXPECT_GE(monitor_.eventDescriptor(), 0);
    monitor_.readEvents();
    EXPECT_TRUE(log_.lines().empty());
}

// One node

class HidNodeTest : public UdevMonitorTest {
protected:
    std::optional<HidNode> nodeAt(const std::string& path, bool initialised = true) {
        const std::unique_ptr<udev, decltype(&udev_unref)> context(udev_new(), udev_unref);
        const std::unique_ptr<udev_device, decltype(&udev_device_unref)> device(
            udev_device_new_from_syspath(context.get(), path.c_str()), udev_device_unref);
        EXPECT_TRUE(device) << path;
        return hidNodeOf(device.get(), initialised);
    }
};

TEST_F(HidNodeTest, IsReadCompletely) {
    const auto paths = bus_.plugIn({});
    const auto node = nodeAt(paths.node, false);
    ASSERT_TRUE(node);
    EXPECT_EQ(node->path, paths.node);
    EXPECT_EQ(node->devnode, "/dev/hidraw4");
    EXPECT_EQ(node->interfacePath, paths.interface);
    EXPECT_EQ(node->interfaceNumber, 3);
    EXPECT_EQ(node->descriptor, unitDescriptor(804, 32)) << "zero bytes included";
    EXPECT_FALSE(node->initialised);
    EXPECT_EQ(node->device.path, paths.device);
    EXPECT_EQ(node->device.vendorID, 0x1209);
    EXPECT_EQ(node->device.productID, 0x0001);
    EXPECT_EQ(node->device.vendorName, "Lightpen Works");
    EXPECT_EQ(node->device.productName, "NX7");
    EXPECT_EQ(node->device.serialNumber, "LW-0042");
}

TEST_F(HidNodeTest, NeedNotHaveNamesNorADescriptor) {
    SimulatedBus::Unit unit;
    unit.interfaceNumber = "0a";
    unit.vendorName.clear();
    unit.descriptor.clear();
    const auto node = nodeAt(bus_.plugIn(unit).node);
    ASSERT_TRUE(node);
    EXPECT_EQ(node->interfaceNumber, 10);
    EXPECT_EQ(node->device.vendorName, "");
    EXPECT_TRUE(node->descriptor.empty());
    EXPECT_TRUE(node->initialised);
}

TEST_F(HidNodeTest, OfAnotherBusOrAnIncompleteDeviceIsNone) {
    EXPECT_FALSE(nodeAt(bus_.addNode("hidraw8", bus_.add("hid", "0005:1209:0001.0009", "", {}, {}))));
    SimulatedBus::Unit incomplete;
    incomplete.productID.clear();
    EXPECT_FALSE(nodeAt(bus_.plugIn(incomplete).node));
    SimulatedBus::Unit strange;
    strange.socket = "1-5";
    strange.vendorID = "12xy";
    strange.hidraw = "hidraw5";
    EXPECT_FALSE(nodeAt(bus_.plugIn(strange).node));
}

} // namespace
} // namespace lightpen
