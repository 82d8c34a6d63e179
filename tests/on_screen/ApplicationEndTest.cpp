// SPDX-License-Identifier: MIT
// The application is asked to end from outside, whatever it is doing.
#include <signal.h>

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

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runOnApplicationStage(argc, argv);
}
