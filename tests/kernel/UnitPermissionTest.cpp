// SPDX-License-Identifier: MIT
// An ordinary user's driver and a real unit: with the rule that the package brings, without it, and while
// udev is still at work on the unit.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <filesystem>
#include <string>

#include "kernel/gadget/GadgetBus.h"
#include "kernel/support/DriverLines.h"
#include "kernel/support/DriverProcess.h"
#include "kernel/support/HostNodes.h"
#include "kernel/support/RuleFile.h"
#include "kit/ChildProcess.h"
#include "kit/Eventually.h"
#include "kit/TemporaryDirectory.h"
#include "linux_desktop/hid/PermissionCommand.h"
#include "linux_desktop/process/SystemClock.h"
#include "platform/UnitIdentifiers.h"
#include "unit/CameraUnit.h"

namespace lightpen {
namespace {

using test::penNode;
using test::waitForNodes;

unsigned modeOf(const std::string& path) {
    std::error_code none;
    return static_cast<unsigned>(std::filesystem::status(path, none).permissions()) & 07777U;
}

class UnitPermission : public testing::Test {
protected:
    UnitPermission() : unit_(bus_.add<CameraUnit>({.reportLength = 32})) {}
    ~UnitPermission() override {
        unit_.unplug();
        bus_.settle(unit_);
        settleUdev();
    }

    void plug() {
        unit_.plug();
        ASSERT_TRUE(bus_.settle(unit_)) << bus_.failure(unit_);
        ASSERT_EQ(waitForNodes(4).size(), 4U);
    }
    void unplug() {
        unit_.unplug();
        ASSERT_TRUE(bus_.settle(unit_)) << bus_.failure(unit_);
        ASSERT_TRUE(waitForNodes(0).empty());
    }
    void replug() {
        unplug();
        settleUdev();
        plug();
    }

    SystemClock clock_;
    GadgetBus bus_{clock_};
    CameraUnit& unit_;
};

TEST_F(UnitPermission, TheRuleGivesAnOrdinaryUserTheUnitAndThePointer) {
    const PackagedRule rule;
    DriverProcess driver;
    ASSERT_TRUE(driver.waitFor(kPointerThroughUinput)) << driver.log();
    ASSERT_TRUE(driver.waitFor(kStarted)) << driver.log();
    plug();
    ASSERT_TRUE(driver.waitFor(kArrived)) << driver.log();
    EXPECT_TRUE(driver.waitFor(kFlashRead)) << driver.log();
    EXPECT_EQ(modeOf(penNode()), 0660U);
    unplug();
    EXPECT_TRUE(driver.waitFor(kRemoved)) << driver.log();
    plug();
    EXPECT_TRUE(driver.waitFor(kFlashRead)) << driver.log();
    EXPECT_EQ(driver.count(kArrived), 2U) << driver.log();
    EXPECT_EQ(driver.count(kRefused), 0U) << driver.log();
    EXPECT_EQ(driver.end(), 0) << driver.log();
}

TEST_F(UnitPermission, AUnitThatIsThereAtTheStartIsTakenIntoUse) {
    const PackagedRule rule;
    plug();
    settleUdev();
    DriverProcess driver;
    ASSERT_TRUE(driver.waitFor(kOpening)) << driver.log();
    EXPECT_TRUE(driver.waitFor(kFlashRead)) << driver.log();
    EXPECT_EQ(driver.count(kArrived), 0U) << driver.log();
}

TEST_F(UnitPermission, WithoutTheRuleOneLineNamesItAndAReplugWithItIsEnough) {
    plug();
    settleUdev();
    ASSERT_EQ(modeOf(penNode()), 0600U);
    DriverProcess driver;
    ASSERT_TRUE(driver.waitFor(kRefused)) << driver.log();
    EXPECT_EQ(driver.count("70-lightpen-nx7.rules in /etc/udev/rules.d, then unplug the unit"), 1U)
        << driver.log();
    // Whatever udev has to say of the nodes later, nothing has changed.
    for (int again = 0; again < 3; ++again) {
        ASSERT_EQ(runProgram({"udevadm", "trigger", "--subsystem-match=hidraw"}), 0);
        settleUdev();
    }
    // Each plugging in is a new occasion.
    replug();
    ASSERT_TRUE(driver.waitFor(kRefused)) << driver.log();
    EXPECT_EQ(driver.count(kRefused), 2U) << driver.log();

    const PackagedRule rule;
    replug();
    EXPECT_TRUE(driver.waitFor(kArrived)) << driver.log();
    EXPECT_TRUE(driver.waitFor(kFlashRead)) << driver.log();
    EXPECT_EQ(driver.count(kRefused), 2U) << driver.log();
    EXPECT_EQ(driver.count(kArrived), 1U) << driver.log();
    EXPECT_EQ(driver.end(), 0) << driver.log();
}

// Whether udev gives the node to the user who sits at the machine.
bool isForTheSeat(const std::string& node) {
    struct stat found = {};
    EXPECT_EQ(::stat(node.c_str(), &found), 0) << node;
    return std::filesystem::exists("/run/udev/tags/uaccess/c" + std::to_string(major(found.st_rdev)) + ":" +
                                   std::to_string(minor(found.st_rdev)));
}

TEST_F(UnitPermission, TheCommandThatIsOfferedOpensThePenAndNothingElse) {
    plug();
    settleUdev();
    for (const test::HostNode& node : waitForNodes(4))
        ASSERT_FALSE(isForTheSeat(node.devnode)) << node.devnode;
    const TemporaryDirectory folder;
    writeFile(folder.file("sudo"), "#!/bin/sh\nexec \"$@\"\n");
    std::filesystem::permissions(folder.file("sudo"), std::filesystem::perms::owner_all);
    ASSERT_EQ(runProgram({"sh", "-c",
                          "PATH=\"" + folder.path().string() + ":$PATH\"; " +
                              commandForPermission({kUnitVendorID, kUnitFirstProductID})}),
              0);
    settleUdev();
    for (const test::HostNode& node : waitForNodes(4))
        EXPECT_EQ(isForTheSeat(node.devnode), node.devnode == penNode()) << node.devnode;
    EXPECT_EQ(
        runProgram({"sh", "-c", "rm /etc/udev/rules.d/70-lightpen-*-*.rules && udevadm control --reload"}),
        0);
}

// Holds udev up at each new node, before it comes to the permissions, until it is told to go on.
class Delay {
public:
    void goOn() { writeFile(kGo, ""); }
    ~Delay() {
        goOn();
        settleUdev();
        std::filesystem::remove(kGo);
    }

private:
    static constexpr const char* kGo = "/run/lightpen-delay-is-over";
    RuleFile rule_{"05-delay.rules",
                   std::string("ACTION==\"add\", SUBSYSTEM==\"hidraw\", PROGRAM=\"/bin/sh -c '") +
                       "while [ ! -e " + kGo + " ]; do sleep 0.1; done'\"\n"};
};

TEST_F(UnitPermission, ANodeThatIsShutWhileUdevIsAtWorkIsWaitedFor) {
    const PackagedRule rule;
    Delay delay;
    DriverProcess driver;
    ASSERT_TRUE(driver.waitFor(kPointerThroughUinput)) << driver.log();
    ASSERT_TRUE(driver.waitFor(kStarted)) << driver.log();
    plug();
    EXPECT_EQ(modeOf(penNode()), 0600U);
    EXPECT_EQ(driver.count(kArrived), 0U) << driver.log();
    delay.goOn();
    ASSERT_TRUE(driver.waitFor(kFlashRead)) << driver.log();
    EXPECT_EQ(modeOf(penNode()), 0660U);
    settleUdev();
    EXPECT_EQ(driver.count(kRefused), 0U) << driver.log();
    EXPECT_EQ(driver.count(kArrived), 1U) << driver.log();
    EXPECT_EQ(driver.count(kFlashRead), 1U) << driver.log();
}

TEST_F(UnitPermission, AStartWhileUdevIsAtWorkFindsTheUnitAfterwards) {
    const PackagedRule rule;
    Delay delay;
    plug();
    DriverProcess driver;
    ASSERT_TRUE(driver.waitFor(kPointerThroughUinput)) << driver.log();
    EXPECT_TRUE(eventually([&] { return driver.count(kStarted) == 1; })) << driver.log();
    EXPECT_EQ(modeOf(penNode()), 0600U);
    EXPECT_EQ(driver.count(kOpening), 0U) << driver.log();
    delay.goOn();
    ASSERT_TRUE(driver.waitFor(kFlashRead)) << driver.log();
    settleUdev();
    EXPECT_EQ(driver.count(kRefused), 0U) << driver.log();
    EXPECT_EQ(driver.count(kArrived), 1U) << driver.log();
    EXPECT_EQ(driver.count(kFlashRead), 1U) << driver.log();
}

} // namespace
} // namespace lightpen
