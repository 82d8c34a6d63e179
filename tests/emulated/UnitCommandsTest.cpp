// SPDX-License-Identifier: MIT
#include "emulated/UnitCommands.h"

#include <gmock/gmock.h>

#include "emulated/UnitOnDesk.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr Size kScreen{1280, 800};

class UnitCommandsTest : public UnitOnDesk {
protected:
    // Asks until the command is done, for a minute at most.
    std::string perform(std::string_view line) {
        for (int i = 0; i < 3000; ++i) {
            if (const auto answer = commands.perform(line))
                return *answer;
            wait(milliseconds(20));
        }
        return "no answer";
    }
    // Where the pen is after each of so many milliseconds from now on.
    std::vector<std::optional<ScreenPoint>> penAfter(std::initializer_list<int> times) {
        std::vector<std::optional<ScreenPoint>> places;
        for (const int time : times)
            places.push_back(unit.penOnScreen(desk.clock.now() + milliseconds(time)));
        return places;
    }

    UnitControl control{unit, desk.clock, kScreen};
    std::vector<std::string> heard;
    UnitCommands commands{control,
                          {[this](bool on) { heard.emplace_back(on ? "hand on" : "hand off"); },
                           [] { return std::string("connected=yes"); },
                           [this] { heard.emplace_back("quit"); }}};
};

TEST_F(UnitCommandsTest, AUnitIsSilentUntilItIsToldToSpeak) {
    EXPECT_EQ(perform("silent on"), "ok");
    EXPECT_TRUE(unit.faults()->silent);
    EXPECT_EQ(perform("silent"), "error silent on, or silent off");
    EXPECT_TRUE(unit.faults()->silent);
    EXPECT_EQ(perform("silent off"), "ok");
    EXPECT_FALSE(unit.faults()->silent);
}

TEST_F(UnitCommandsTest, ThePlugIsDoneWhenItIsAnswered) {
    EXPECT_EQ(commands.perform("plug"), std::nullopt);
    EXPECT_FALSE(unit.plugged());
    EXPECT_EQ(perform("plug"), "ok");
    EXPECT_TRUE(unit.plugged());
    EXPECT_EQ(perform("plug"), "ok");
    EXPECT_EQ(commands.perform("unplug"), std::nullopt);
    EXPECT_TRUE(unit.plugged());
    EXPECT_EQ(perform("unplug"), "ok");
    EXPECT_FALSE(unit.plugged());
    EXPECT_EQ(perform("unplug"), "ok");
}

TEST_F(UnitCommandsTest, AReplugLeavesAPause) {
    perform("plug");
    EXPECT_EQ(perform("replug"), "ok");
    wait(milliseconds(990));
    EXPECT_FALSE(unit.plugged());
    wait(milliseconds(20));
    EXPECT_TRUE(unit.plugged());
    EXPECT_EQ(perform("replug 70"), "ok");
    wait(milliseconds(60));
    EXPECT_FALSE(unit.plugged());
    wait(milliseconds(20));
    EXPECT_TRUE(unit.plugged());
}

TEST_F(UnitCommandsTest, ATapIsShortAndAHoldLongEnoughForARightClick) {
    perform("plug");
    const ScreenPoint place{311.5, 72};
    EXPECT_EQ(perform("tap 311.5 72"), "ok");
    EXPECT_THAT(penAfter({0, 119, 120}), ElementsAre(place, place, std::nullopt));
    EXPECT_EQ(perform("wait"), "ok");
    EXPECT_EQ(perform("hold 311.5 72"), "ok");
    EXPECT_THAT(penAfter({0, 2499, 2500}), ElementsAre(place, place, std::nullopt));
    EXPECT_EQ(perform("wait"), "ok");
    EXPECT_EQ(perform("hold 311.5 72 700"), "ok");
    EXPECT_THAT(penAfter({0, 699, 700}), ElementsAre(place, place, std::nullopt));
}

TEST_F(UnitCommandsTest, ADragRestsAtBothEnds) {
    perform("plug");
    EXPECT_EQ(perform("drag 100 50 500 50 500 -150"), "ok"); // 400 and 200 points at 800 a second
    EXPECT_THAT(penAfter({0, 49, 300, 675, 800, 849, 850}),
                ElementsAre(ScreenPoint{100, 50}, ScreenPoint{100, 50}, ScreenPoint{300, 50},
                            ScreenPoint{500, -50}, ScreenPoint{500, -150}, ScreenPoint{500, -150},
                            std::nullopt));
}

TEST_F(UnitCommandsTest, AGestureDoesNotCutAnotherShort) {
    perform("plug");
    perform("tap 100 50");
    const Microseconds start = desk.clock.now();
    EXPECT_EQ(perform("tap 900 700"), "error the hand is busy");
    EXPECT_EQ(unit.penOnScreen(start), (ScreenPoint{100, 50}));
}

TEST_F(UnitCommandsTest, WaitingLastsUntilWhatTheHandDidHasArrived) {
    perform("plug");
    EXPECT_EQ(perform("wait"), "ok");
    perform("tap 100 50");
    const Microseconds start = desk.clock.now();
    EXPECT_EQ(commands.perform("wait"), std::nullopt);
    EXPECT_EQ(perform("wait"), "ok");
    const Microseconds rest = milliseconds(120 + 200) + UnitControl::kEcho; // the touch, and the way back
    EXPECT_GE(desk.clock.now() - start, rest);
    EXPECT_LE(desk.clock.now() - start, rest + milliseconds(20));
    EXPECT_EQ(perform("tap 900 700"), "ok");
}

TEST_F(UnitCommandsTest, AUnitThatIsNotThereIsNotTouched) {
    EXPECT_EQ(perform("tap 100 50"), "error the unit is not plugged in");
    EXPECT_EQ(perform("drag 1 2 3 4"), "error the unit is not plugged in");
    EXPECT_EQ(unit.toPlay(), Microseconds::zero());
}

TEST_F(UnitCommandsTest, AStrayLightStandsBesideTheScreenOrWhereItIsPut) {
    EXPECT_EQ(perform("stray on"), "ok");
    EXPECT_EQ(unit.scene().strayLight, UnitControl::kLampBeside);
    EXPECT_EQ(perform("stray on 1500 940.5"), "ok");
    EXPECT_EQ(unit.scene().strayLight, (CameraPoint{1500, 940.5}));
    EXPECT_EQ(perform("stray off"), "ok");
    EXPECT_EQ(unit.scene().strayLight, std::nullopt);
}

TEST_F(UnitCommandsTest, BytesOfTheFirmware) {
    EXPECT_EQ(perform("wireless 0"), "ok");
    EXPECT_EQ(perform("board 52"), "ok");
    EXPECT_EQ(perform("cmos 255"), "ok");
    EXPECT_EQ(unit.information()->wireless, 0);
    EXPECT_EQ(unit.information()->NX9Ver, 52);
    EXPECT_EQ(unit.information()->cmosVer, 255);
    EXPECT_THAT(perform("wireless 256"), testing::StartsWith("error "));
    EXPECT_THAT(perform("wireless -1"), testing::StartsWith("error "));
    EXPECT_THAT(perform("wireless"), testing::StartsWith("error "));
    EXPECT_EQ(unit.information()->wireless, 0);
}

TEST_F(UnitCommandsTest, TheFlashTellsWhatItHolds) {
    EXPECT_EQ(perform("flash"), "ok empty");
    EXPECT_EQ(perform("calibrate"), "ok");
    EXPECT_TRUE(unit.flash()->calibrated());
    unit.flash()->store({746, 481}, {1847, 380}, {546, 1328}, {1910, 1446});
    EXPECT_EQ(perform("flash"), "ok {746, 481} {1847, 380} {546, 1328} {1910, 1446}");
    EXPECT_EQ(perform("erase"), "ok");
    EXPECT_EQ(perform("flash"), "ok empty");
}

TEST_F(UnitCommandsTest, TheCameraIsPutElsewhere) {
    EXPECT_EQ(unit.optics().corners().topLeft, Optics::strongKeystone(kScreen).corners().topLeft);
    EXPECT_EQ(perform("pose rotated"), "ok");
    EXPECT_EQ(unit.optics().corners().bottomLeft, Optics::rotated(kScreen).corners().bottomLeft);
    EXPECT_EQ(control.poseName(), "rotated");
    EXPECT_EQ(perform("pose sideways"), "error pose keystone, straight or rotated");
    EXPECT_EQ(control.poseName(), "rotated");
}

TEST_F(UnitCommandsTest, TheRestIsSomebodyElses) {
    EXPECT_EQ(perform("hand off"), "ok");
    EXPECT_EQ(perform("hand on"), "ok");
    EXPECT_EQ(perform("hand"), "error hand on, or hand off");
    EXPECT_EQ(perform("quit"), "ok");
    EXPECT_THAT(heard, ElementsAre("hand off", "hand on", "quit"));
}

TEST_F(UnitCommandsTest, TheStateInWords) {
    EXPECT_EQ(perform("state"), "ok plugged=no filter=in hand=resting connected=yes");
    perform("plug");
    perform("tap 100 50");
    EXPECT_EQ(perform("state"), "ok plugged=yes filter=in hand=playing connected=yes");
}

class WrongCommandTest : public UnitCommandsTest, public testing::WithParamInterface<const char*> {};

TEST_P(WrongCommandTest, HasAReasonAndNoEffect) {
    perform("plug");
    unit.flash()->store({1, 2}, {3, 4}, {5, 6}, {7, 8});
    const std::string answer = perform(GetParam());
    EXPECT_THAT(answer, testing::StartsWith("error "));
    EXPECT_GT(answer.size(), 12u);
    EXPECT_EQ(unit.toPlay(), Microseconds::zero());
    EXPECT_TRUE(unit.plugged());
    EXPECT_EQ(unit.scene().strayLight, std::nullopt);
    EXPECT_THAT(heard, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Commands, WrongCommandTest,
                         testing::Values("", "   ", "jump", "Tap 1 2", "tap", "tap 1", "tap 1 2 3",
                                         "tap one 2", "tap 1 2x", "tap nan 2", "tap 1,5 2", "hold 1",
                                         "hold 1 2 0", "hold 1 2 -5", "hold 1 2 99999999", "hold 1 2 3 4",
                                         "drag 1 2", "drag 1 2 3", "drag 1 2 3 inf", "stray", "stray 1 2",
                                         "stray on 1", "stray off 1 2", "replug 0", "replug soon",
                                         "hand maybe"));

} // namespace
} // namespace lightpen
