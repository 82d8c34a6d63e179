// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/MonitorRotations.h"

#include <gmock/gmock.h>

#include "kit/TestPlatform.h"
#include "kit/linux/TestMain.h"
#include "kit/linux/Xephyr.h"
#include "linux_desktop/screen/QtDesktop.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

using testing::ElementsAre;

// A desktop of one screen that somebody turns.
class MonitorRotationsTest : public testing::Test {
protected:
    ~MonitorRotationsTest() override {
        turn("normal");
        EXPECT_TRUE(becomes(screen(1000, 600, 0)));
    }

    static void turn(const std::string& how) { EXPECT_EQ(runProgram({"xrandr", "-o", how}), 0) << how; }
    static Screen screen(double width, double height, int quarterTurns) {
        return {"default", {{0, 0}, {width, height}}, quarterTurns};
    }
    bool becomes(const Screen& wanted) {
        return comesTrue([&] { return desktop.screens() == std::vector{wanted}; });
    }

    MemoryDefaults defaults;
    SharedGeometry geometry;
    QtDesktop desktop{defaults, geometry};
};

TEST_F(MonitorRotationsTest, FollowsEachTurnCounterClockwise) {
    EXPECT_THAT(desktop.screens(), ElementsAre(screen(1000, 600, 0)));
    turn("left");
    EXPECT_TRUE(becomes(screen(600, 1000, 1)));
    turn("right");
    EXPECT_TRUE(becomes(screen(600, 1000, 3)));
    turn("normal");
    EXPECT_TRUE(becomes(screen(1000, 600, 0)));
}

// Nothing but the rotation changes then.
TEST_F(MonitorRotationsTest, TellsOfAHalfTurnBeforeAndAfterwards) {
    std::vector<std::string> told;
    desktop.beforeMainScreenChanges = [&] { told.emplace_back("before"); };
    desktop.afterChange = [&] { told.emplace_back("after"); };
    turn("inverted");
    EXPECT_TRUE(becomes(screen(1000, 600, 2)));
    EXPECT_TRUE(comesTrue([&] { return !told.empty(); }));
    EXPECT_THAT(told, ElementsAre("before", "after"));
    desktop.beforeMainScreenChanges = nullptr;
    desktop.afterChange = nullptr;
}

// Qt itself tells of this server's only output, and would not of a second one.
TEST_F(MonitorRotationsTest, TellsOfATurnByItself) {
    int told = 0;
    MonitorRotations rotations([&] { ++told; });
    turn("inverted");
    EXPECT_TRUE(comesTrue([&] { return told > 0; }));
    rotations.look();
    EXPECT_EQ(rotations.quarterTurnsOf("default"), 2);
}

TEST_F(MonitorRotationsTest, KnowsHowTheScreenIsTurnedThatItFindsAndNoOthers) {
    turn("left");
    ASSERT_TRUE(becomes(screen(600, 1000, 1)));
    MonitorRotations rotations([] {});
    EXPECT_EQ(rotations.quarterTurnsOf("default"), 0) << "before the first look";
    rotations.look();
    EXPECT_EQ(rotations.quarterTurnsOf("default"), 1);
    EXPECT_EQ(rotations.quarterTurnsOf("HDMI-1"), 0);
}

// A monitor that somebody has made of a part of the output is turned with it, one without an output never is.
TEST_F(MonitorRotationsTest, AMonitorIsTurnedWithItsOutput) {
    turn("inverted");
    ASSERT_EQ(runProgram({"xrandr", "--setmonitor", "left", "400/106x600/159+0+0", "default"}), 0);
    ASSERT_EQ(runProgram({"xrandr", "--setmonitor", "free", "600/159x600/159+400+0", "none"}), 0);
    MonitorRotations rotations([] {});
    rotations.look();
    EXPECT_EQ(rotations.quarterTurnsOf("left"), 2);
    EXPECT_EQ(rotations.quarterTurnsOf("free"), 0);
    for (const char* name : {"left", "free"})
        EXPECT_EQ(runProgram({"xrandr", "--delmonitor", name}), 0);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runTests<QGuiApplication>(argc, argv, lightpen::NoBus(), lightpen::Xephyr("1000x600"));
}
