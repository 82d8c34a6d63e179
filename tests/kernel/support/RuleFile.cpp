// SPDX-License-Identifier: MIT
#include "kernel/support/RuleFile.h"

#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/TemporaryDirectory.h"

namespace lightpen {

namespace {

void lookAtPointerDeviceAgain() {
    EXPECT_EQ(runProgram({"udevadm", "trigger", "--action=add", "/sys/devices/virtual/misc/uinput"}), 0);
    settleUdev();
}

} // namespace

void settleUdev() {
    EXPECT_EQ(runProgram({"udevadm", "settle", "--timeout=20"}), 0);
}

RuleFile::RuleFile(const std::string& name, const std::string& rules)
    : path_(std::filesystem::path("/etc/udev/rules.d") / name) {
    writeFile(path_, rules);
    EXPECT_EQ(readFile(path_), rules);
    EXPECT_EQ(runProgram({"udevadm", "control", "--reload"}), 0);
}

RuleFile::~RuleFile() {
    std::filesystem::remove(path_);
    EXPECT_EQ(runProgram({"udevadm", "control", "--reload"}), 0);
}

PackagedRule::PackagedRule()
    : file_(std::filesystem::path(LIGHTPEN_UDEV_RULES).filename(), readFile(LIGHTPEN_UDEV_RULES)) {
    lookAtPointerDeviceAgain();
}

PackagedRule::~PackagedRule() {
    std::filesystem::permissions("/dev/uinput", std::filesystem::perms(0600));
}

} // namespace lightpen
