// SPDX-License-Identifier: MIT
// What the whole platform says of a unit that cannot be listed.
#include "linux_desktop/LinuxPlatform.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include <QApplication>

#include "kit/TemporaryDirectory.h"
#include "kit/linux/FakeLogind.h"
#include "kit/linux/TestMain.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

TEST(PlatformUnitAccess, FollowsWhoSitsAtTheMachine) {
    const TemporaryDirectory folder;
    LogindProgram logind(std::getenv("DBUS_SYSTEM_BUS_ADDRESS"),
                         [](FakeLogind& fake) { fake.session.active = false; });
    LinuxPlatformSettings settings;
    settings.units = Units::ofTheProgram;
    settings.pointer = PointerChoice::xtest;
    settings.settingsFile = folder.file("settings.ini");
    settings.loginFolder = folder.file("autostart");
    settings.log.choice = LogChoice::none;
    LinuxPlatform linuxPlatform(settings);
    Platform& platform = linuxPlatform.platform();
    const UnitAccess& access = platform.shell.unitAccess;
    EXPECT_EQ(access, UnitAccess{.hasTheSeat = false}) << "as it is when it is made";
    std::vector<UnitAccess> told;
    platform.notifications.addObserver(&told, kUnitAccessDidChange, nullptr,
                                       [&](const Notification&) { told.push_back(access); });
    logind.perform([](FakeLogind& fake) { fake.setActive(true); });
    EXPECT_TRUE(comesTrue([&] { return access.hasTheSeat; }));
    logind.perform([](FakeLogind& fake) { fake.setLocked(true); });
    logind.perform([](FakeLogind& fake) { fake.setActive(false); });
    EXPECT_TRUE(comesTrue([&] { return !access.hasTheSeat; }));
    EXPECT_EQ(told, (std::vector<UnitAccess>{{true, ""}, {false, ""}})) << "a locked screen is none of it";
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    return lightpen::runTests<QApplication>(argc, argv, lightpen::PrivateBus());
}
