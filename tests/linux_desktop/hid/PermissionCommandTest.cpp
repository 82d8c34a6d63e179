// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/PermissionCommand.h"

#include <gtest/gtest.h>

#include <regex>

#include "kit/ChildProcess.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

class PermissionCommandTest : public testing::Test {
protected:
    // Performs the command with a sudo that leaves the machine alone: rule files go into the folder, and what
    // else is asked of udev is written down.
    void perform(const UsbIdentifier& unit) {
        writeFile(folder.file("sudo"), R"(#!/bin/sh
here=$(dirname "$0")
case "$1" in
tee) exec tee "$here/rules" ;;
*) echo "$@" >> "$here/asked" ;;
esac
)");
        std::filesystem::permissions(folder.file("sudo"), std::filesystem::perms::owner_all);
        command = commandForPermission(unit);
        ASSERT_EQ(runProgram({"sh", "-c",
                              "PATH=\"" + folder.path().string() + ":$PATH\"; " + command + " >/dev/null"}),
                  0);
    }

    const TemporaryDirectory folder;
    std::string command;
};

TEST_F(PermissionCommandTest, WritesARuleForThisUnitsPenAloneAndHasItApplied) {
    perform({0x0A09, 0x001F});
    EXPECT_EQ(readFile(folder.file("rules")),
              "SUBSYSTEM==\"hidraw\", ATTRS{modalias}==\"usb:v0A09p001F*in03\", TAG+=\"uaccess\"\n");
    EXPECT_EQ(readFile(folder.file("asked")),
              "udevadm control --reload\nudevadm trigger --subsystem-match=hidraw\n");
}

TEST_F(PermissionCommandTest, TheRuleIsReadInTimeAndReplacesNoPackagedOne) {
    std::smatch file;
    command = commandForPermission({0x1209, 1});
    ASSERT_TRUE(std::regex_search(command, file, std::regex(" tee /etc/udev/rules.d/([0-9]+)([^ ]+) ")));
    EXPECT_LT(std::stoi(file[1]), 73) << "where udev looks for \"uaccess\"";
    EXPECT_EQ(file[2], "-lightpen-1209-0001.rules");
}

TEST_F(PermissionCommandTest, IsOneLine) {
    EXPECT_EQ(commandForPermission({0x1209, 1}).find('\n'), std::string::npos);
}

} // namespace
} // namespace lightpen
