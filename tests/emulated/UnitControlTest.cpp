// SPDX-License-Identifier: MIT
#include "emulated/UnitControl.h"

#include "emulated/UnitOnDesk.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;

constexpr Size kScreen{1024, 700};

struct UnitControlTest : UnitOnDesk {
    UnitControl control{unit, desk.clock, kScreen};
};

TEST_F(UnitControlTest, ANewUnitSeesThisScreenFromTheFirstPose) {
    ASSERT_FALSE(UnitControl::poses().empty());
    EXPECT_EQ(control.poseName(), UnitControl::poses().front());
    const ScreenPoint corner = unit.optics().unproject(unit.optics().corners().bottomRight);
    EXPECT_NEAR(corner.x, 1024, 1e-9);
    EXPECT_NEAR(corner.y, 700, 1e-9);
}

TEST_F(UnitControlTest, EveryPoseIsAnother) {
    const auto poses = UnitControl::poses();
    for (std::size_t i = 0; i < poses.size(); ++i) {
        ASSERT_TRUE(UnitControl::poseNamed(poses[i], kScreen)) << poses[i];
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_NE(UnitControl::poseNamed(poses[i], kScreen)->corners().topLeft,
                      UnitControl::poseNamed(poses[j], kScreen)->corners().topLeft);
    }
    EXPECT_FALSE(UnitControl::poseNamed("", kScreen));
    EXPECT_FALSE(control.pose("Keystone"));
}

TEST_F(UnitControlTest, AReplugOfWhatIsNotThereOnlyPlugs) {
    control.replug(milliseconds(200));
    wait(milliseconds(190));
    EXPECT_FALSE(unit.plugged());
    wait(milliseconds(20));
    EXPECT_TRUE(unit.plugged());
}

TEST_F(UnitControlTest, TheFlashHoldsWhatTheCameraSeesOfTheTargets) {
    control.pose("rotated");
    control.calibrate();
    const auto points = unit.flash()->points();
    ASSERT_TRUE(points);
    const ScreenPoint targets[] = {{170, 75}, {854, 75}, {170, 625}, {854, 625}};
    for (std::size_t i = 0; i < points->size(); ++i) {
        EXPECT_NEAR((*points)[i].x, unit.seen(targets[i]).x, 0.5) << i;
        EXPECT_NEAR((*points)[i].y, unit.seen(targets[i]).y, 0.5) << i;
    }
    const auto before = *points;
    control.pose("straight"); // the flash does not know that the camera has moved
    EXPECT_EQ(unit.flash()->points(), before);
}

} // namespace
} // namespace lightpen
