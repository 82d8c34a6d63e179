// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/PrimaryOutput.h"

#include <gtest/gtest.h>

#include <QGuiApplication>

#include "kit/RecordingLog.h"
#include "kit/linux/FakeDisplayConfig.h"
#include "kit/linux/FakeOutputOrder.h"
#include "kit/linux/TestMain.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

// A desktop that answers is not too slow on any machine.
constexpr std::chrono::seconds kPatience{10};

class PrimaryOutputTest : public testing::Test {
protected:
    PrimaryOutputTest() {
        setenv("WAYLAND_DISPLAY", kwin->socket().c_str(), 1);
        kwin->setOrder({"DP-3", "DP-4"});
        mutter.setScreens({"eDP-1", "HDMI-1"}, "HDMI-1");
    }
    RecordingLog log;
    std::unique_ptr<FakeOutputOrder> kwin = std::make_unique<FakeOutputOrder>();
    FakeDisplayConfig mutter{std::getenv("DBUS_SESSION_BUS_ADDRESS")};
};

TEST_F(PrimaryOutputTest, IsKnownAtOnceFromWhoeverSays) {
    mutter.appear();
    EXPECT_EQ(PrimaryOutput(true, kPatience).name(), "HDMI-1");
    kwin->appear();
    EXPECT_EQ(PrimaryOutput(true, kPatience).name(), "DP-3") << "the compositor's own connection goes first";
    mutter.disappear();
    EXPECT_EQ(PrimaryOutput(true, kPatience).name(), "DP-3");
    kwin->disappear();
    EXPECT_EQ(PrimaryOutput(true, kPatience).name(), "");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(PrimaryOutputTest, TellsOfEachChange) {
    PrimaryOutput output(true, kPatience);
    std::vector<std::string> told;
    output.setObserver([&] { told.push_back(output.name()); });
    mutter.appear();
    EXPECT_TRUE(comesTrue([&] { return output.name() == "HDMI-1"; }));
    kwin->appear();
    EXPECT_TRUE(comesTrue([&] { return output.name() == "DP-3"; }));
    kwin->setOrder({"DP-4", "DP-3"});
    EXPECT_TRUE(comesTrue([&] { return output.name() == "DP-4"; }));
    kwin.reset();
    EXPECT_TRUE(comesTrue([&] { return output.name() == "HDMI-1"; }));
    mutter.setScreens({"eDP-1", "HDMI-1"}, "eDP-1");
    mutter.tell();
    EXPECT_TRUE(comesTrue([&] { return output.name() == "eDP-1"; }));
    mutter.disappear();
    EXPECT_TRUE(comesTrue([&] { return output.name().empty(); }));
    EXPECT_EQ(told, (std::vector<std::string>{"HDMI-1", "DP-3", "DP-4", "HDMI-1", "eDP-1", ""}));
}

TEST_F(PrimaryOutputTest, NobodyIsAskedWhereQtKnows) {
    kwin->appear();
    mutter.appear();
    EXPECT_EQ(PrimaryOutput(false, kPatience).name(), "");
    ASSERT_EQ(QGuiApplication::platformName(), "offscreen");
    EXPECT_EQ(PrimaryOutput().name(), "");
    EXPECT_EQ(mutter.questions(), 0);
    EXPECT_EQ(kwin->listeners(), 0u);
}

// Both hang, and the start goes on; what they say later counts.
TEST_F(PrimaryOutputTest, ADesktopThatHangsHoldsTheStartUpOnlyOnce) {
    mutter.appear();
    mutter.setAnswer(FakeDisplayConfig::Answer::never);
    kwin->appear();
    kwin->stall();
    PrimaryOutput output(true, std::chrono::milliseconds(50));
    EXPECT_EQ(output.name(), "");
    kwin->goOn();
    EXPECT_TRUE(comesTrue([&] { return output.name() == "DP-3"; }));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    return lightpen::runTests<QGuiApplication>(argc, argv, lightpen::PrivateBus());
}
