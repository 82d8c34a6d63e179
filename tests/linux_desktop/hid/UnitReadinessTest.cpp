// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/UnitReadiness.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

#include "kit/CameraUnits.h"

namespace lightpen {
namespace {

using namespace test;
using Strings = std::vector<std::string>;

// A decision as short text: "hid 3", "unit", "-" and the path of what is withdrawn.
Strings told(const UnitDecisions& decisions) {
    Strings steps;
    for (const auto& path : decisions.withdrawn)
        steps.push_back("-" + path);
    for (const auto& listing : decisions.publishedHid)
        steps.push_back("hid " + std::to_string(listing.node.interfaceNumber));
    for (const auto& device : decisions.publishedUnits)
        steps.push_back("unit " + device.path);
    return steps;
}

const std::string kUnit = "unit " + cameraUnit().path;

TEST(UnitReadiness, OnlyTheTwoProductsAreCameraUnits) {
    UsbDevice device = cameraUnit();
    EXPECT_TRUE(isCameraUnit(device));
    device.productID = kUnitSecondProductID;
    EXPECT_TRUE(isCameraUnit(device));
    device.productID = 0x0003;
    EXPECT_FALSE(isCameraUnit(device));
    device = cameraUnit();
    device.vendorID = kUnitVendorID + 1;
    EXPECT_FALSE(isCameraUnit(device));
    EXPECT_TRUE(isPenNode(unitNode(3)));
    EXPECT_FALSE(isPenNode(unitNode(0)));
}

// One sighting of a pen node on an otherwise empty bus.
struct Sighting {
    const char* name;
    std::function<void(HidNode&)> change;
    std::optional<int> openError;
    bool ready;
    const char* message; // part of the only line; null: none
};

class OneSighting : public testing::TestWithParam<Sighting> {};

const Sighting kSightings[] = {
    {"ready", [](HidNode&) {}, 0, true, nullptr},
    {"notInitialised", [](HidNode& node) { node.initialised = false; }, std::nullopt, false, nullptr},
    {"notTried", [](HidNode&) {}, std::nullopt, false, nullptr},
    {"noPermission", [](HidNode&) {}, EACCES, false, "70-lightpen-nx7.rules"},
    {"notPermitted", [](HidNode&) {}, EPERM, false, "70-lightpen-nx7.rules"},
    {"otherFault", [](HidNode&) {}, EMFILE, false, "/dev/hidraw13 cannot be opened: Too many open files"},
    {"leaving", [](HidNode&) {}, ENODEV, false, nullptr},
    {"left", [](HidNode&) {}, ENOENT, false, nullptr},
    {"noNode", [](HidNode& node) { node.devnode.clear(); }, 0, false, nullptr},
    {"otherInterface", [](HidNode& node) { node.interfaceNumber = 2; }, 0, false, nullptr},
    {"otherProduct", [](HidNode& node) { node.device.productID = 9; }, 0, false, nullptr},
    {"emptyDescriptor", [](HidNode& node) { node.descriptor.clear(); }, 0, false,
     "/dev/hidraw13: the report descriptor cannot be used: it is empty"},
    {"cutDescriptor", [](HidNode& node) { node.descriptor.pop_back(); }, 0, false,
     "a collection is not ended"},
    {"numberedReports",
     [](HidNode& node) {
         node.descriptor =
             kVendorCollection + Bytes{0x85, 0x01} + reportSize(8) + reportCount(4) + kInput + kEndCollection;
     },
     0, false, "no input report without an ID"},
};

INSTANTIATE_TEST_SUITE_P(Cases, OneSighting, testing::ValuesIn(kSightings),
                         [](const auto& test) { return test.param.name; });

TEST_P(OneSighting, MakesAUnitReadyOrNot) {
    const Sighting& sighting = GetParam();
    HidNode node = unitNode(3);
    sighting.change(node);
    UnitReadiness readiness;
    const auto decisions = readiness.nodeSeen(node, sighting.openError);
    EXPECT_EQ(told(decisions), sighting.ready ? (Strings{"hid 3", kUnit}) : Strings{});
    EXPECT_EQ(readiness.listed(node.path), sighting.ready);
    ASSERT_EQ(decisions.messages.size(), sighting.message ? 1U : 0U);
    if (sighting.message) {
        EXPECT_NE(decisions.messages[0].find(sighting.message), std::string::npos) << decisions.messages[0];
    }
    // Said and done once: the same sighting again changes nothing.
    const auto repeated = readiness.nodeSeen(node, sighting.openError);
    EXPECT_EQ(told(repeated), Strings{});
    EXPECT_EQ(repeated.messages, Strings{});
}

TEST(UnitReadiness, TheMissingPermissionSaysWhatToDo) {
    UnitReadiness readiness;
    EXPECT_EQ(
        readiness.nodeSeen(unitNode(3), EACCES).messages,
        Strings{"HID: no permission to open the camera unit's /dev/hidraw13: install "
                "70-lightpen-nx7.rules in /etc/udev/rules.d, then unplug the unit and plug it in again"});
}

TEST(UnitReadiness, NodesThatCameBeforeThePensAreListedBehindIt) {
    UnitReadiness readiness;
    for (const int interface : {1, 0, 2})
        EXPECT_EQ(told(readiness.nodeSeen(unitNode(interface), std::nullopt)), Strings{});
    EXPECT_EQ(told(readiness.nodeSeen(unitNode(3), 0)), (Strings{"hid 3", "hid 2", "hid 1", "hid 0", kUnit}));
}

TEST(UnitReadiness, NodesThatComeLaterAreAddedOneByOne) {
    UnitReadiness readiness;
    EXPECT_EQ(told(readiness.nodeSeen(unitNode(3), 0)), (Strings{"hid 3", kUnit}));
    HidNode late = unitNode(0);
    late.initialised = false;
    EXPECT_EQ(told(readiness.nodeSeen(late, std::nullopt)), Strings{});
    late.initialised = true;
    EXPECT_EQ(told(readiness.nodeSeen(late, std::nullopt)), Strings{"hid 0"});
    HidNode broken = unitNode(1);
    broken.descriptor = {0xC0};
    EXPECT_EQ(told(readiness.nodeSeen(broken, std::nullopt)), Strings{});
}

TEST(UnitReadiness, PermissionsMayComeLater) {
    UnitReadiness readiness;
    HidNode node = unitNode(3);
    node.initialised = false;
    readiness.nodeSeen(node, std::nullopt);
    node.initialised = true;
    EXPECT_EQ(readiness.nodeSeen(node, EACCES).messages.size(), 1U);
    EXPECT_EQ(told(readiness.nodeSeen(node, 0)), (Strings{"hid 3", kUnit}));
}

TEST(UnitReadiness, ADescriptorMayBecomeReadable) {
    UnitReadiness readiness;
    HidNode node = unitNode(3);
    node.descriptor.clear();
    readiness.nodeSeen(node, 0);
    EXPECT_EQ(told(readiness.nodeSeen(unitNode(3), 0)), (Strings{"hid 3", kUnit}));
}

TEST(UnitReadiness, EachTimeItIsPluggedInIsToldAnew) {
    UnitReadiness readiness;
    for (int serial = 1; serial <= 3; ++serial) {
        EXPECT_EQ(readiness.nodeSeen(unitNode(3, serial), EACCES).messages.size(), 1U);
        readiness.nodeGone(unitNode(3, serial).path);
        readiness.deviceGone(cameraUnit().path);
    }
}

TEST(UnitReadiness, WithoutItsPenNodeAUnitIsNotListed) {
    UnitReadiness readiness;
    readiness.nodeSeen(unitNode(2), std::nullopt);
    readiness.nodeSeen(unitNode(3), 0);
    EXPECT_EQ(told(readiness.nodeGone(unitNode(3).path)),
              (Strings{"-" + cameraUnit().path, "-" + unitNode(2).path, "-" + unitNode(3).path}));
    EXPECT_EQ(told(readiness.nodeGone(unitNode(3).path)), Strings{});
    // The bus tells of the rest, which is listed no more.
    EXPECT_EQ(told(readiness.nodeGone(unitNode(2).path)), Strings{});
    EXPECT_EQ(told(readiness.deviceGone(cameraUnit().path)), Strings{});
}

TEST(UnitReadiness, AnotherNodeThatGoesTakesOnlyItselfAlong) {
    UnitReadiness readiness;
    readiness.nodeSeen(unitNode(3), 0);
    readiness.nodeSeen(unitNode(1), std::nullopt);
    EXPECT_EQ(told(readiness.nodeGone(unitNode(1).path)), Strings{"-" + unitNode(1).path});
    EXPECT_TRUE(readiness.listed(unitNode(3).path));
}

TEST(UnitReadiness, ADeviceThatGoesTakesEverythingAlong) {
    UnitReadiness readiness;
    readiness.nodeSeen(unitNode(3), 0);
    EXPECT_EQ(told(readiness.deviceGone(cameraUnit().path)),
              (Strings{"-" + cameraUnit().path, "-" + unitNode(3).path}));
    EXPECT_EQ(readiness.knownNodes(), Strings{});
    EXPECT_EQ(told(readiness.deviceGone("/sys/devices/other")), Strings{});
}

TEST(UnitReadiness, AReplugUnderTheSamePathIsANewUnit) {
    UnitReadiness readiness;
    readiness.nodeSeen(unitNode(3, 1), 0);
    readiness.nodeGone(unitNode(3, 1).path);
    readiness.deviceGone(cameraUnit().path);
    EXPECT_EQ(told(readiness.nodeSeen(unitNode(3, 2), 0)), (Strings{"hid 3", kUnit}));
}

TEST(UnitReadiness, ANodeThatHungUpComesBackWhenItCanBeOpened) {
    UnitReadiness readiness;
    readiness.nodeSeen(unitNode(3), 0);
    readiness.nodeGone(unitNode(3).path);
    EXPECT_EQ(told(readiness.nodeSeen(unitNode(3), ENODEV)), Strings{});
    EXPECT_EQ(told(readiness.nodeSeen(unitNode(3), 0)), (Strings{"hid 3", kUnit}));
}

TEST(UnitReadiness, TwoUnitsAreKeptApart) {
    UnitReadiness readiness;
    readiness.nodeSeen(unitNode(3, 1, "1-2"), 0);
    EXPECT_EQ(told(readiness.nodeSeen(unitNode(3, 2, "1-4"), 0)),
              (Strings{"hid 3", "unit " + cameraUnit("1-4").path}));
    readiness.deviceGone(cameraUnit("1-2").path);
    EXPECT_TRUE(readiness.listed(unitNode(3, 2, "1-4").path));
    EXPECT_EQ(readiness.knownNodes(), Strings{unitNode(3, 2, "1-4").path});
}

} // namespace
} // namespace lightpen
