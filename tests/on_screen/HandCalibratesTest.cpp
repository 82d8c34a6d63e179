// SPDX-License-Identifier: MIT
// Calibrations on an X server's screen with the hand that touches targets by itself allowed all the time.
#include <gtest/gtest.h>

#include "emulated/ScreenWatch.h"
#include "emulated/TargetHand.h"
#include "on_screen/DriverStage.h"

namespace lightpen {
namespace {

using std::chrono::seconds;

class HandCalibratesTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(stage->plugIn(unit)); }
    void TearDown() override {
        hand.allow(false);
        EXPECT_TRUE(stage->unplug(unit));
    }
    // Whether the flash came to hold what the four targets look like from the camera.
    bool calibrates(bool automatic) {
        stage->platform().defaults.setObject("Auto Calibration", automatic);
        hand.allow(true);
        stage->controller->calibration("the test");
        return waitUntil(
            stage->platform(), [&] { return unit.flash()->calibrated(); }, seconds(40));
    }
    void expectExactFlash() {
        const auto points = unit.flash()->points();
        ASSERT_TRUE(points);
        const ScreenPoint targets[] = {{170, 75}, {1750, 75}, {170, 1005}, {1750, 1005}};
        for (std::size_t i = 0; i < points->size(); ++i) {
            EXPECT_NEAR(points->at(i).x, unit.seen(targets[i]).x, 1.5) << i;
            EXPECT_NEAR(points->at(i).y, unit.seen(targets[i]).y, 1.5) << i;
        }
    }

    CameraUnit& unit = stage->bus.add<CameraUnit>();
    UnitControl control{unit, stage->platform().clock, DriverStage::kScreen};
    TargetHand hand{control, stage->platform().clock, stage->look(),
                    [this] { return sessionByHandShown(unit); }};
};

TEST_F(HandCalibratesTest, ASessionByHandIsCompleted) {
    ASSERT_TRUE(calibrates(false));
    expectExactFlash();
    EXPECT_FALSE(sessionByHandShown(unit));
}

TEST_F(HandCalibratesTest, AnAutomaticSessionIsLeftAlone) {
    const ScreenWatch watch(stage->look(), unit);
    bool touched = false;
    QTimer pen;
    QObject::connect(&pen, &QTimer::timeout, &pen,
                     [&] { touched = touched || unit.toPlay() > Microseconds::zero(); });
    pen.start(10);
    ASSERT_TRUE(calibrates(true));
    EXPECT_FALSE(touched);
    expectExactFlash();
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    lightpen::runTestsOnDriverStage(argc, argv);
}
