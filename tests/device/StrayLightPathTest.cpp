// SPDX-License-Identifier: MIT
// With stray light, points go to the check view instead of the pointer.
#include "kit/device/PassFixture.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class StrayLightPathTest : public PassFixture {
protected:
    StrayLightPathTest() {
        beginArmedThread();
        sharedState.strayLightLevel = 3;
        sharedState.strayLightViewShown = 1;
        sharedState.pairingKeyWindow = keyWindow;
        thread.pollResult = kIOReturnUnderrun;
    }
    CameraPoint shown() const { return sharedState.checkViewPoint; }

    std::shared_ptr<RecordingKeyWindow> keyWindow = std::make_shared<RecordingKeyWindow>();
};

TEST_F(StrayLightPathTest, TheFirstFrameIsCountedAndSkipped) {
    EXPECT_EQ(passOn(1001, 601), idle());
    EXPECT_EQ(sharedState.strayLightFrameCount, 1);
    EXPECT_EQ(shown(), (CameraPoint{0, 0}));
    EXPECT_EQ(thread.pollResult, kIOReturnSuccess); // the report is taken all the same
}

TEST_F(StrayLightPathTest, LaterFramesShowTheRawPoint) {
    sharedState.strayLightFrameCount = 1; // as startDevice leaves it
    const Pass frame = passOn(1001, 601);
    EXPECT_EQ(frame.lines,
              (std::vector<std::string>{"Event n:1505 ( 1001, 601)",
                                        "Event n:1811 mappedPoint: (1001.00,601.00) MouesState:1 "
                                        "vtMouseStop:0 ,result:0"}));
    EXPECT_EQ(frame.sleeps, (std::vector{kPassSleep}));
    EXPECT_THAT(frame.posted, IsEmpty());
    EXPECT_EQ(shown(), (CameraPoint{1001, 601}));
    EXPECT_EQ(sharedState.strayLightFrameCount, 2);
}

TEST_F(StrayLightPathTest, AnEmptyPollDecodesTheLastReportAndShowsNoPoint) {
    sharedState.strayLightFrameCount = 4;
    passOn(1001, 601);
    const Pass frame = pass();
    EXPECT_EQ(frame.lines,
              (std::vector<std::string>{"Event n:1505 ( 1001, 601)",
                                        "Event n:1811 mappedPoint: (1001.00,601.00) MouesState:1 "
                                        "vtMouseStop:0 ,result:-536870169"}));
    EXPECT_EQ(shown(), (CameraPoint{-100, -100}));
    EXPECT_EQ(sharedState.strayLightFrameCount, 6);
}

TEST_F(StrayLightPathTest, APenUpIsShownAsItDecodes) {
    sharedState.strayLightFrameCount = 1;
    passOn(penUpReport());
    EXPECT_EQ(shown(), kPenUpPoint);
}

TEST_F(StrayLightPathTest, ANegativeFrameCountIsCountedUpFirst) {
    sharedState.strayLightFrameCount = -2;
    for (int count = -1; count <= 1; ++count) {
        EXPECT_EQ(passOn(1001, 601), idle());
        EXPECT_EQ(sharedState.strayLightFrameCount, count);
    }
    EXPECT_NE(passOn(1001, 601), idle());
}

TEST_F(StrayLightPathTest, PicturesAreNoPoints) {
    sharedState.strayLightFrameCount = 1;
    passOn(1001, 601);
    driver->setImageProcessMode(true);
    EXPECT_EQ(passOn(1205, 611).lines.front(), "Event n:1505 ( 1001, 601)");
    EXPECT_EQ(shown(), (CameraPoint{-100, -100}));
    driver->setImageProcessMode(false);
    pass();
    EXPECT_EQ(shown(), (CameraPoint{-100, -100})); // nor is one left for later
}

TEST_F(StrayLightPathTest, TheKeyWindowLetsTheMouseThroughWhateverThePen) {
    for (const int wireless : {-1, 0, 1}) {
        sharedState.wireless = wireless;
        pass();
    }
    runMainLoop();
    EXPECT_THAT(keyWindow->told, ElementsAre(true));
}

TEST_F(StrayLightPathTest, WithoutTheViewNothingHappens) {
    sharedState.strayLightViewShown = 0;
    sharedState.strayLightFrameCount = 1;
    unit.queue(1)->notesPolls = true;
    EXPECT_EQ(passOn(1001, 601), idle());
    EXPECT_THAT(unit.takeOperations(), IsEmpty());
    EXPECT_EQ(sharedState.strayLightFrameCount, 1);
}

TEST_F(StrayLightPathTest, PollErrorsAreNotReported) {
    sharedState.strayLightViewShown = 0;
    thread.pollResult = kIOReturnError;
    EXPECT_EQ(pass(), idle());
}

// The view still shown after its light has gone: no pointer output either.
TEST_F(StrayLightPathTest, TheViewWithoutStrayLightHoldsThePointerBack) {
    sharedState.strayLightLevel = 0;
    EXPECT_EQ(passOn(1001, 601), idle());
    EXPECT_EQ(thread.pollResult, kIOReturnSuccess);
    sharedState.strayLightViewShown = 0;
    EXPECT_EQ(passOn(1001, 601).posted, (std::vector{down(503, 307)}));
}

TEST_F(StrayLightPathTest, AnUnknownLevelIsNoStrayLightAndNoPointer) {
    sharedState.strayLightLevel = -1;
    thread.pollResult = kIOReturnSuccess;
    EXPECT_EQ(passOn(1001, 601), idle());
    EXPECT_EQ(sharedState.strayLightFrameCount, 0);
}

} // namespace
} // namespace lightpen
