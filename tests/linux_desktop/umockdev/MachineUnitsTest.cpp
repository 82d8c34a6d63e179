// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/MachineUnits.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include <QCoreApplication>

#include "kit/RecordingLog.h"
#include "kit/SocketNode.h"
#include "kit/TemporaryDirectory.h"
#include "kit/TestPlatform.h"
#include "linux_desktop/hid/PermissionCommand.h"
#include "linux_desktop/umockdev/SimulatedBus.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

using namespace test;

class MachineUnitsTest : public testing::Test {
protected:
    MachineUnitsTest() { writeFile(folder_.file("hidraw4"), ""); }

    // With the simulated bus's nodes in a folder of the test's, where the test decides who may open them.
    void begin(bool allowed = true) {
        MachineUnits::Instead instead;
        instead.openNode = [this](const std::string&, FileDescriptor& node) {
            ++openings_;
            if (openError_ == 0)
                node = SocketNode().takeHost();
            return openError_;
        };
        instead.nodeFolder = folder_.path();
        instead.isInitialised = [](udev_device*) { return true; };
        units_ = std::make_unique<MachineUnits>(desktop_.registry, desktop_.runLoop, desktop_.clock, allowed,
                                                std::move(instead));
    }
    bool isListed() {
        const auto unit = desktop_.registry.IOServiceGetMatchingService(0, IOServiceMatching("IOUSBDevice"));
        desktop_.registry.IOObjectRelease(unit);
        return unit != 0;
    }
    bool becomesListed(bool listed) {
        return comesTrue([&] { return isListed() == listed; });
    }
    // Nothing but the permissions of the node change.
    void changePermissions() {
        std::filesystem::permissions(folder_.file("hidraw4"), std::filesystem::perms::owner_read,
                                     readable_ ? std::filesystem::perm_options::remove
                                               : std::filesystem::perm_options::add);
        readable_ = !readable_;
    }

    RecordingLog log_;
    TestPlatform desktop_;
    SimulatedBus bus_;
    const TemporaryDirectory folder_;
    bool readable_ = true;
    int openError_ = 0;
    int openings_ = 0;
    std::unique_ptr<MachineUnits> units_;
};

TEST_F(MachineUnitsTest, ListsWhatIsThereAndWhatComes) {
    const auto unit = bus_.plugIn({});
    begin();
    EXPECT_TRUE(isListed()) << "before anybody has run the loop";
    bus_.unplug(unit);
    EXPECT_TRUE(becomesListed(false));
    bus_.plugIn({});
    EXPECT_TRUE(becomesListed(true));
}

TEST_F(MachineUnitsTest, ListsNoneWhileItMayNot) {
    bus_.plugIn({});
    begin(false);
    EXPECT_FALSE(isListed());
    units_->allow(true);
    EXPECT_TRUE(isListed());
    units_->allow(false);
    EXPECT_FALSE(isListed());
}

TEST_F(MachineUnitsTest, NoticesThatANodeIsOpenedToTheUserWithoutAWordFromTheBus) {
    openError_ = EACCES;
    bus_.plugIn({});
    begin();
    EXPECT_FALSE(isListed());
    std::vector<std::string> commands;
    units_->setObserver([&] { commands.push_back(units_->permissionCommand()); });
    EXPECT_EQ(units_->permissionCommand(), commandForPermission({0x1209, 1}));
    changePermissions(); // to those of another user
    EXPECT_TRUE(comesTrue([&] { return openings_ == 2; }));
    EXPECT_FALSE(isListed());
    openError_ = 0;
    changePermissions();
    EXPECT_TRUE(becomesListed(true));
    ASSERT_FALSE(commands.empty());
    EXPECT_EQ(commands.back(), "") << "the observer has been told";
    EXPECT_EQ(log_.lines().size(), 1U);
}

TEST_F(MachineUnitsTest, WatchesOnlyWhileSomebodyWaits) {
    const auto unit = bus_.plugIn({});
    begin();
    openings_ = 0;
    changePermissions();
    units_->allow(false);
    openError_ = EACCES;
    changePermissions();
    bus_.unplug(unit);
    EXPECT_TRUE(becomesListed(false));
    for (int i = 0; i < 50; ++i)
        QCoreApplication::processEvents();
    EXPECT_EQ(openings_, 0);
    EXPECT_TRUE(log_.lines().empty());
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
