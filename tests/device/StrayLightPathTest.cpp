// SPDX-License-Identifier: MIT
// With stray light, points go to the check view instead of the pointer.
#include "device/ChTwoPoint.h"
#include "kit/device/CheckViewFixture.h"

namespace lightpen {
namespace {

using testing::IsEmpty;

class StrayLightPathTest : public CheckViewFixture {};

TEST_F(StrayLightPathTest, FromThePlugToTheRestartItIsToldLikeThis) {
    storeCorners({100, 90}, {2000, 1500});
    start();
    happened.clear();
    plugIn();
    EXPECT_TRUE(matchesTranscript("stray_light_arrival"));
    // Six passes of waiting, and frames with a report, a pen-up and none.
    desk.clock.sleep(7 * kPassSleep);
    for (const ReportBytes& report : {penReport(1001, 601), penUpReport()})
        unit.sendReport(report), run(kPassSleep);
    run(kPassSleep);
    EXPECT_TRUE(matchesTranscript("stray_light_frames"));
    unitAnswers.sightings = 0;
    driver->startPointQueue();
    EXPECT_TRUE(matchesTranscript("stray_light_restart"));
    for (int i = 0; i < 6; ++i)
        lift();
    pass();
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

TEST_F(StrayLightPathTest, PicturesAreNoPoints) {
    openShowing();
    drawnFor(1001, 601);
    driver->setImageProcessMode(true);
    EXPECT_EQ(drawnFor(1205, 611), (Deeds{"755.00,-50.00"})) << "no light";
    driver->setImageProcessMode(false);
    pass();
    EXPECT_THAT(drawn(), IsEmpty()) << "nor is one left for later";
}

TEST_F(StrayLightPathTest, TheKeyWindowLetsTheMouseThroughWhateverThePen) {
    unitAnswers.wireless = 0;
    openShowing();
    const ChTwoPoint* keyWindow = topWindow<ChTwoPoint>();
    ASSERT_TRUE(keyWindow);
    pass();
    runMainLoop();
    EXPECT_TRUE(keyWindow->ignoresMouseEvents());
}

// No pointer output either.
TEST_F(StrayLightPathTest, TheViewWithoutStrayLightHoldsThePointerBack) {
    unitAnswers.sightings = 0;
    openArmed();
    driver->Nx9windowChTwoPoint();
    drawn();
    for (const int x : {1001, 1003, 1005})
        EXPECT_THAT(drawnFor(x, 601), IsEmpty()) << "nor is there anything to show";
}

} // namespace
} // namespace lightpen
