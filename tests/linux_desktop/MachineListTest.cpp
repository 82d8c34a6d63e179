// SPDX-License-Identifier: MIT
#include "linux_desktop/MachineList.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "kit/CameraUnits.h"
#include "kit/TemporaryDirectory.h"
#include "linux_desktop/hid/PermissionCommand.h"

namespace lightpen {
namespace {

using test::unitNode;

int allowed(const std::string&) {
    return 0;
}

// The lines that follow where this user may not open a unit of that product.
std::string commandFor(std::int32_t product) {
    return "      This command gives you the permission:\n      " + commandForPermission({0x1209, product}) +
           '\n';
}

PointerWay way(const char* name, const std::string& problem) {
    return {name, {}, [problem] { return problem; }};
}

TEST(MachineList, WithoutAUnitItSaysSo) {
    HidNode keyboard = unitNode(3);
    keyboard.device.vendorID = 0x0461;
    EXPECT_EQ(listOfUnits({}, {}, allowed), "Camera units\n  none is plugged in\n");
    EXPECT_EQ(listOfUnits({keyboard}, {}, allowed), "Camera units\n  none is plugged in\n");
}

TEST(MachineList, AUnitHasItsNodesAndThePensIsUsed) {
    EXPECT_EQ(listOfUnits({unitNode(0), unitNode(3)}, {}, allowed),
              "Camera units\n"
              "  1209:0001 \"NX7\", serial number LW-0042\n"
              "    /dev/hidraw10: interface 0, which is not needed\n"
              "    /dev/hidraw13: would be used\n");
}

TEST(MachineList, ANodeThatCannotBeOpenedHasItsReason) {
    EXPECT_EQ(listOfUnits({unitNode(3)}, {}, [](const std::string&) { return EACCES; }),
              "Camera units\n"
              "  1209:0001 \"NX7\", serial number LW-0042\n"
              "    /dev/hidraw13: cannot be opened: Permission denied\n" +
                  commandFor(0x0001));
    HidNode early = unitNode(3);
    early.initialised = false;
    early.device.productName = early.device.serialNumber = "";
    EXPECT_EQ(listOfUnits({early}, {}, allowed), "Camera units\n"
                                                 "  1209:0001\n"
                                                 "    /dev/hidraw13: udev is still at work on it\n");
}

// A permission would not help there.
TEST(MachineList, OnlyAMissingPermissionHasItsCommand) {
    EXPECT_EQ(listOfUnits({unitNode(3)}, {}, [](const std::string&) { return ENOENT; }),
              "Camera units\n"
              "  1209:0001 \"NX7\", serial number LW-0042\n"
              "    /dev/hidraw13: cannot be opened: No such file or directory\n");
    EXPECT_EQ(listOfUnits({unitNode(0)}, {}, [](const std::string&) { return EACCES; }),
              "Camera units\n"
              "  1209:0001 \"NX7\", serial number LW-0042\n"
              "    /dev/hidraw10: interface 0, which is not needed\n");
}

TEST(MachineList, TheFirstThatCanBeOpenedIsUsed) {
    const std::vector<HidNode> nodes{unitNode(3, 1, "1-1"), unitNode(3, 2, "1-2"), unitNode(3, 3, "1-3")};
    EXPECT_EQ(
        listOfUnits(nodes, {}, [](const std::string& node) { return node == "/dev/hidraw13" ? EACCES : 0; }),
        "Camera units\n"
        "  1209:0001 \"NX7\", serial number LW-0042\n"
        "    /dev/hidraw13: cannot be opened: Permission denied\n" +
            commandFor(0x0001) +
            "  1209:0001 \"NX7\", serial number LW-0042\n"
            "    /dev/hidraw23: would be used\n"
            "  1209:0001 \"NX7\", serial number LW-0042\n"
            "    /dev/hidraw33: could be used; one unit is used at a time\n");
}

TEST(MachineList, AFurtherUnitIsOneToo) {
    HidNode other = unitNode(3);
    other.device.vendorID = 0xABCD;
    other.device.productID = 0x12;
    EXPECT_EQ(listOfUnits({other}, {{0xABCD, 0x11}}, allowed), "Camera units\n  none is plugged in\n");
    EXPECT_EQ(listOfUnits({other}, {{0xABCD, 0x12}}, allowed), "Camera units\n"
                                                               "  abcd:0012 \"NX7\", serial number LW-0042\n"
                                                               "    /dev/hidraw13: would be used\n");
}

TEST(MachineList, TheFirstWayThatCanBeHadIsUsed) {
    EXPECT_EQ(listOfPointerWays({way("uinput", ""), way("XTest", "")}),
              "Pointer\n  uinput: would be used\n  XTest: could be used\n");
    EXPECT_EQ(listOfPointerWays({way("uinput", "no permission"), way("XTest", "")}),
              "Pointer\n  uinput: cannot be used: no permission\n  XTest: would be used\n");
    EXPECT_EQ(listOfPointerWays({way("XTest", "the session is not X11")}),
              "Pointer\n  XTest: cannot be used: the session is not X11\n");
}

TEST(MachineList, TheFirstScreenShowsThePicture) {
    const std::vector<Screen> screens{{"HDMI-1", {{0, 0}, {1280, 800}}, 0},
                                      {"eDP-1", {{1280, 0}, {1536.5, 864}}, 1}};
    EXPECT_EQ(listOfScreens(screens, ""),
              "Screens\n"
              "  HDMI-1: 1280 x 800 points; would be used: it is the desktop's primary one\n"
              "  eDP-1: 1536.5 x 864 points; --screen eDP-1 would choose it\n");
    EXPECT_EQ(listOfScreens(screens, "HDMI-1"),
              "Screens\n"
              "  HDMI-1: 1280 x 800 points; would be used: it is the one that was asked for\n"
              "  eDP-1: 1536.5 x 864 points; --screen eDP-1 would choose it\n");
    EXPECT_EQ(listOfScreens(screens, "DP-9"),
              "Screens\n"
              "  HDMI-1: 1280 x 800 points; would be used: it is the desktop's primary one\n"
              "  eDP-1: 1536.5 x 864 points; --screen eDP-1 would choose it\n"
              "  DP-9 was asked for and is not there\n");
    EXPECT_EQ(listOfScreens({{"", {{0, 0}, {800, 600}}, 0}}, ""),
              "Screens\n"
              "  without a name: 800 x 600 points; would be used: it is the desktop's primary one\n");
    EXPECT_EQ(listOfScreens({}, ""), "Screens\n  there are none\n");
}

TEST(MachineList, AccessIsAskedForAndNothingOpened) {
    const TemporaryDirectory folder;
    EXPECT_EQ(errorOfAccess(folder.file("missing")), ENOENT);
    writeFile(folder.file("node"), "");
    EXPECT_EQ(errorOfAccess(folder.file("node")), 0);
}

} // namespace
} // namespace lightpen
