// SPDX-License-Identifier: MIT
// The picture's screen comes, leaves and changes while the application runs.
#include "kit/ChildProcess.h"
#include "on_screen/ApplicationTest.h"

namespace lightpen {
namespace {

using std::chrono::seconds;

constexpr seconds kSession{60};

// A laptop's screen and, beside it and lower, the projector's; together they are the stage.
class ApplicationScreensTest : public ApplicationTest {
protected:
    struct Area {
        int x, y, width, height;
    };
    static constexpr Area kStage{0, 0, ApplicationStage::kWidth, ApplicationStage::kHeight};
    static constexpr Area kProjector{424, 168, 600, 600};

    ~ApplicationScreensTest() override {
        plugOut();
        if (smaller_)
            setMode("1024x768");
    }
    static void xrandr(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "xrandr");
        EXPECT_EQ(runProgram(arguments), 0) << arguments[2];
    }
    static void plugIn() {
        xrandr({"--setmonitor", "*laptop", "424/112x768/203+0+0", "screen"});
        xrandr({"--setmonitor", "projector", "600/159x600/159+424+168", "none"});
    }
    static void plugOut() {
        for (const char* name : {"laptop", "projector"})
            runProgram({"xrandr", "--delmonitor", name});
    }
    void setMode(const std::string& mode) {
        xrandr({"--output", "screen", "--mode", mode});
        smaller_ = mode != "1024x768";
    }
    void makeSmaller() {
        runProgram(
            {"xrandr", "--newmode", "less", "40", "800", "840", "968", "1056", "500", "501", "505", "528"});
        runProgram({"xrandr", "--addmode", "screen", "less"});
        setMode("less");
    }
    bool covers(const Area& area) {
        return user
            .window([&](const ShownWindow& one) {
                return one.x == area.x && one.y == area.y && one.width == area.width &&
                       one.height == area.height;
            })
            .has_value();
    }
    void beginSession(const Area& on) {
        ASSERT_TRUE(isReady());
        ASSERT_TRUE(user.menu->click(Labels{"Calibration"}));
        ASSERT_TRUE(comesTrue([&] { return covers(on); })) << user.program.log();
    }
    // A session by the hand, which looks for the targets on the picture's screen.
    void calibrate(const Area& on = kStage) {
        beginSession(on);
        ASSERT_TRUE(comesTrue([&] { return !covers(on); }, kSession)) << user.program.log();
        ASSERT_TRUE(comesTrue([&] { return user.program.ask("flash") != "ok empty"; }));
    }
    void expectTapOnProjector(int x, int y) { expectTap(x, y, kProjector.x + x, kProjector.y + y); }
    bool logHas(const std::string& line) {
        return comesTrue([&] { return user.program.log().find(line) != std::string::npos; });
    }

private:
    bool smaller_ = false;
};

TEST_F(ApplicationScreensTest, ThePenIsAsExactInAnotherModeAsBefore) {
    ASSERT_TRUE(comesWithUnit(user));
    calibrate();
    expectTap(812, 93);
    makeSmaller();
    ASSERT_TRUE(logHas("Screen: the picture is on \"screen\", 800 x 500 points"));
    expectTap(400, 250);
    expectTap(61, 452);
    // Also when the unit tells its points anew.
    ASSERT_TRUE(user.program.perform("unplug"));
    ASSERT_TRUE(user.showsMenu({"Exit"}));
    ASSERT_TRUE(user.program.perform("plug"));
    ASSERT_TRUE(user.showsMenu(fullMenu("English")));
    expectTap(702, 71);
    setMode("1024x768");
    ASSERT_TRUE(logHas("Screen: the picture is on \"screen\", 1024 x 768 points"));
    expectTap(170, 640);
}

// The laptop is logged in, the program starts with it, then the projector is plugged in.
TEST_F(ApplicationScreensTest, AProjectorThatComesLateIsThePicturesScreen) {
    user.set("Main Screen", "projector");
    ASSERT_TRUE(comesWithUnit(user));
    EXPECT_TRUE(logHas("Screen: there is no screen called \"projector\" now (there are: screen)"));
    plugIn();
    ASSERT_TRUE(logHas("Screen: the picture is on \"projector\", 600 x 600 points"));
    calibrate(kProjector);
    expectTapOnProjector(302, 77);
    expectTapOnProjector(41, 555);
    plugOut();
    ASSERT_TRUE(logHas("Screen: the picture is on \"screen\", 1024 x 768 points"));
    expectTap(700, 150);
    plugIn();
    expectTapOnProjector(555, 33);
}

TEST_F(ApplicationScreensTest, ASessionOnAScreenThatLeavesKeepsWhatTheFlashHad) {
    plugIn();
    ASSERT_TRUE(comesWithUnit(user, {"--plugged", "--calibrated", "--no-hand", "--screen", "projector"}));
    const auto before = user.program.ask("flash");
    beginSession(kProjector);
    ASSERT_TRUE(user.program.perform("tap 170 75"));
    ASSERT_TRUE(user.program.perform("wait"));
    plugOut();
    EXPECT_TRUE(comesTrue([&] { return !covers(kProjector); })) << user.program.log();
    // "Its screen has left", or the window manager is the first to tell, by giving the window another size.
    EXPECT_TRUE(logHas("; it ends\n")) << user.program.log();
    EXPECT_EQ(user.program.ask("flash"), before);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runOnApplicationStage(argc, argv);
}
