// SPDX-License-Identifier: MIT
// Stray light in front of a camera unit in software, from its plug to the pen's working again.
#include <QApplication>

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
    ~StrayLightCheckTest() override { driver->Nx9windowrelease(); }

    static FloatPanel* panel() { return topWindow<FloatPanel>(); }
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
    camera.strayLight(CameraPoint{705, 430});
    camera.plug();
    start();
    ASSERT_TRUE(panel());
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_EQ(panel()->geometry(), QRect(320, 134, 640, 400));
    EXPECT_THAT(drawnMeanwhile(), Contains(drawnAt("320.00,200.00")));
    // The last corner of the stored calibration is right of and below the first.
    camera.strayLight(CameraPoint{141, 215});
    EXPECT_THAT(drawnMeanwhile(), Contains(drawnAt("64.00,300.00")));
    EXPECT_THAT(desk.pointer.takePosted(), testing::IsEmpty());

    camera.strayLight(std::nullopt);
    drawnMeanwhile();
    driver->startPointQueue();
    EXPECT_EQ(panel(), nullptr);
    EXPECT_THAT(deviceDelegate->takeHeard(), Contains("add"));
    run(seconds(2));
    EXPECT_TRUE(touchWorks(camera, {400, 300}));
}

} // namespace
} // namespace lightpen
