// SPDX-License-Identifier: MIT
#include "support/calibration/SessionFixture.h"

namespace lightpen {
namespace {

using testing::ElementsAre;

const PointList kFour{{312, 271}, {2201, 188.5}, {164, 1633}, {2390, 1702}};

class CalibrationSessionTest : public SessionFixture {};

TEST_F(CalibrationSessionTest, ManualSessionFromStartToCompletion) {
    center->setTotalPoints(4);
    center->startCalibration();
    EXPECT_TRUE(windowIsVisible());
    EXPECT_EQ(driver->delegate(), center);
    const WindowPoint origins[] = {{160, 995}, {1740, 995}, {160, 65}, {1740, 65}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(targetOrigin(), origins[i]) << i;
        EXPECT_TRUE(completed.empty());
        touchAndWait(kFour[i]);
    }
    ASSERT_EQ(completed.size(), 1u);
    EXPECT_EQ(*completed.front(), kFour);
    EXPECT_EQ(*center->calibrationPoints(), kFour);
    EXPECT_EQ(center->calibrators()->size(), 1u);
    EXPECT_EQ(window(), nullptr);
    EXPECT_EQ(desk.systemUI.mode, kUIModeNormal);
}

} // namespace
} // namespace lightpen
