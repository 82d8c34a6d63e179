// SPDX-License-Identifier: MIT
// From an empty flash to an exact pointer, through the real driver, an X server's own pixels and its pointer.
#include "measure/CalibrationTrial.h"

#include <gmock/gmock.h>

#include "on_screen/DriverStage.h"

namespace lightpen {
namespace {

using testing::IsEmpty;

// Plays the scene and expects everything that is the same for both ways.
CalibrationOutcome playWell(SessionKind session) {
    const Optics optics = Optics::strongKeystone(DriverStage::kScreen);
    CalibrationTrial trial(
        stage->desktop, stage->bus, *stage->controller, [] { return stage->look(); }, stage->folder);
    const CalibrationOutcome outcome = trial.run({"strong keystone", optics, session, 0});
    EXPECT_EQ(outcome.problem, "");
    EXPECT_EQ(outcome.completions, 1);
    const ScreenPoint targets[] = {{170, 75}, {1750, 75}, {170, 1005}, {1750, 1005}};
    EXPECT_EQ(outcome.stored.size(), std::size(targets));
    for (std::size_t i = 0; i < std::min(outcome.stored.size(), std::size(targets)); ++i) {
        EXPECT_NEAR(outcome.stored[i].x, optics.project(targets[i]).x, 0.6) << i;
        EXPECT_NEAR(outcome.stored[i].y, optics.project(targets[i]).y, 0.6) << i;
    }
    PointList calibration = outcome.readBack;
    calibration.resize(std::min(calibration.size(), outcome.stored.size()));
    EXPECT_EQ(calibration, outcome.stored);
    EXPECT_EQ(outcome.row.accuracy.reached.mapped.count, 40U);
    EXPECT_THAT(missedAims({outcome.row}), IsEmpty()) << tableOf({outcome.row});
    return outcome;
}

TEST(CalibrationTrialTest, ByHandThePointerIsAsExactAsTheCameraAllows) {
    EXPECT_EQ(playWell(SessionKind::byHand).touches, 4);
    EXPECT_TRUE(std::filesystem::exists(stage->folder / "target-by-hand.png"));
}

TEST(CalibrationTrialTest, WithoutAHandItIsAsExact) {
    EXPECT_EQ(playWell(SessionKind::automatic).touches, 0);
    EXPECT_TRUE(std::filesystem::exists(stage->folder / "target-automatic.png"));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    lightpen::runTestsOnDriverStage(argc, argv);
}
