// SPDX-License-Identifier: MIT
// The application is asked to end from outside, whatever it is doing.
#include <signal.h>

#include "kit/linux/PointerObserver.h"
#include "on_screen/ApplicationTest.h"

namespace lightpen {
namespace {

class ApplicationEndTest : public ApplicationTest {
protected:
    void ends() {
        user.program.send(SIGTERM);
        EXPECT_EQ(user.program.waitForEnd(), 0) << user.program.log();
    }
};

TEST_F(ApplicationEndTest, WithoutAUnitAndWithoutAPanel) {
    ASSERT_TRUE(user.start());
    ASSERT_TRUE(user.program.perform("flash"));
    ends();
}

TEST_F(ApplicationEndTest, WhileTheUnitsFlashIsAwaited) {
    ASSERT_TRUE(comes(user));
    ASSERT_TRUE(user.program.perform("silent on"));
    user.program.tell("plug");
    ASSERT_TRUE(user.program.waitForLog("Event n:914"));
    ends();
}

TEST_F(ApplicationEndTest, WithTheMenuOpen) {
    ASSERT_TRUE(comesWithUnit(user));
    ASSERT_TRUE(user.menu->open());
    ends();
}

TEST_F(ApplicationEndTest, DuringACalibration) {
    ASSERT_TRUE(comesWithUnit(user, {"--plugged", "--no-hand"}));
    ASSERT_TRUE(user.menu->click(Labels{"Calibration"}));
    ASSERT_TRUE(comesTrue([&] { return user.coveringWindow().has_value(); }));
    ends();
}

// Its own main thread may stand in a call of Qt's by then, so one signal does what else two are for.
TEST_F(ApplicationEndTest, WhileTheDisplayHangsInAStroke) {
    Xvfb display("1024x768");
    panel();
    ASSERT_TRUE(user.start({"--plugged", "--calibrated"}, {{"DISPLAY", display.display()}}));
    ASSERT_TRUE(comesTrue([&] { return user.program.isIn("ready=yes"); }));
    EXPECT_EQ(user.program
                  .ask("drag 100 100 900 100 900 200 100 200 100 300 900 300 900 400 100 400 100 500 900 500")
                  .value_or("none"),
              "ok");
    PointerObserver observer(display.display());
    ASSERT_TRUE(comesTrue([&] { return observer.state().left; })) << user.program.log();
    display.standStill();
    EXPECT_TRUE(user.program.waitForLog("Pointer: the X server does not read its events"));
    user.program.send(SIGTERM);
    const auto status = user.program.waitForEnd();
    display.goOn();
    ASSERT_TRUE(status) << user.program.log();
    EXPECT_TRUE(*status == 0 || *status == 128 + SIGTERM) << *status;
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runOnApplicationStage(argc, argv);
}
