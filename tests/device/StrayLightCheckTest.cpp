// SPDX-License-Identifier: MIT
// Stray light in front of a camera unit in software, from its plug to the pen's working again.
#include <QCoreApplication>

#include "device/CheckViewRequests.h"
#include "device/FloatPanel.h"
#include "kit/device/EmulatedUnitFixture.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::Contains;
using testing::HasSubstr;

class StrayLightCheckTest : public EmulatedUnitFixture {
protected:
    ~StrayLightCheckTest() override { sharedState.checkViewPanel = nullptr; }

    static FloatPanel* panel() { return sharedState.checkViewPanel.get(); }
    // The lines of what is drawn within a second.
    std::vector<std::string> drawnMeanwhile() {
        log.clear();
        for (int i = 0; i < 10; ++i) {
            run(milliseconds(100));
            QCoreApplication::processEvents();
        }
        return log.takeLines();
    }
    static testing::Matcher<std::string> drawnAt(const std::string& point) {
        return HasSubstr("Event n:256 sptScreenP1: (" + point + ")");
    }

    const bool application = ensureOffscreenApplication();
};

TEST_F(StrayLightCheckTest, TheMarkerFollowsTheLightUntilThePenWorksAgain) {
    CameraUnit& camera = addCamera();
    calibrate(camera);
    const auto corners = [] { return sharedState.firstRecordPoints.load().first; };
    camera.strayLight(CameraPoint{705, 430});
    camera.plug();
    start();
    ASSERT_GT(sharedState.strayLightLevel, 0);
    ASSERT_TRUE(panel());
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_EQ(sharedState.checkViewRect, (WindowRect{{320, 266}, {640, 400}}));
    ASSERT_NE(corners(), CameraPoint()) << "the stored calibration tells which way round";
    EXPECT_THAT(drawnMeanwhile(), Contains(drawnAt("320.00,200.00")));
    camera.strayLight(CameraPoint{141, 430});
    EXPECT_THAT(drawnMeanwhile(),
                Contains(testing::AnyOf(drawnAt("64.00,200.00"), drawnAt("576.00,200.00"))));
    EXPECT_THAT(desk.pointer.takePosted(), testing::IsEmpty());

    camera.strayLight(std::nullopt);
    drawnMeanwhile();
    driver->startPointQueue();
    EXPECT_EQ(panel(), nullptr);
    EXPECT_EQ(sharedState.strayLightLevel, 0);
    EXPECT_EQ(sharedState.checkViewState, 0);
    EXPECT_THAT(deviceDelegate->takeHeard(), Contains("add"));
    run(seconds(2));
    EXPECT_TRUE(touchWorks(camera, {400, 300}));
}

TEST_F(StrayLightCheckTest, AUnitThatLeavesTakesThePanelAlong) {
    CameraUnit& camera = addCamera();
    calibrate(camera);
    camera.strayLight(CameraPoint{705, 430});
    camera.plug();
    start();
    ASSERT_TRUE(panel());
    camera.unplug();
    run(seconds(2));
    EXPECT_EQ(panel(), nullptr);
    EXPECT_EQ(sharedState.checkViewState, 0);
    EXPECT_EQ(sharedState.strayLightViewShown, 0);
    camera.strayLight(std::nullopt);
    camera.plug();
    run(seconds(8));
    EXPECT_EQ(panel(), nullptr);
    EXPECT_TRUE(touchWorks(camera, {400, 300}));
}

} // namespace
} // namespace lightpen
