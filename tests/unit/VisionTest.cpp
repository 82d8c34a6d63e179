// SPDX-License-Identifier: MIT
#include "unit/wire/Vision.h"

#include <gtest/gtest.h>

#include <chrono>

namespace lightpen {
namespace {

using namespace std::chrono_literals;

constexpr CameraPoint kPen{300, 200};
constexpr CameraPoint kLight{900, 800};
constexpr CameraPoint kBlob{1500, 1000};
constexpr CameraPoint kFarBlob{1500, 1041};

struct VisionTest : testing::Test {
    Vision vision;
    UnitBehaviour behaviour;
    Microseconds now{1s};

    VisionTest() { vision.powerUp(false); }
    // The filter is out, and has arrived there.
    void takeFilterOut() {
        vision.moveFilter(true, now, true);
        now += 500ms;
    }
    std::optional<CameraPoint> look(const Scene& scene) { return vision.look(scene, now, behaviour); }
};

TEST_F(VisionTest, ThroughTheFilterOnlyInfraredIsSeen) {
    EXPECT_FALSE(look({}));
    EXPECT_FALSE(look({.blobs = {kBlob}, .darkPicture = true}));
    EXPECT_EQ(kLight, look({.strayLight = kLight}));
    EXPECT_EQ(kPen, look({.pen = kPen, .strayLight = kLight}));
}

TEST_F(VisionTest, NothingIsSeenWhileTheFilterMoves) {
    EXPECT_TRUE(vision.moveFilter(true, now, true));
    EXPECT_TRUE(vision.filterOut());
    EXPECT_FALSE(look({.pen = kPen}));
    now += 499'999us;
    EXPECT_FALSE(look({.pen = kPen}));
    now += 1us;
    EXPECT_EQ(kPen, look({.pen = kPen}));
}

TEST_F(VisionTest, WithoutTheFilterASingleBlobOnADarkPictureIsASpot) {
    takeFilterOut();
    EXPECT_EQ(kBlob, look({.blobs = {kBlob}, .darkPicture = true}));
    EXPECT_FALSE(look({.blobs = {kBlob, kPen}, .darkPicture = true}));
    EXPECT_FALSE(look({.blobs = {kBlob}, .darkPicture = false}));
    EXPECT_FALSE(look({.darkPicture = true}));
}

TEST_F(VisionTest, ThePenWinsOverABlob) {
    takeFilterOut();
    EXPECT_EQ(kPen, look({.pen = kPen, .blobs = {kBlob}, .darkPicture = true}));
}

TEST_F(VisionTest, WithoutTheMannerTheFirstBlobAlwaysIsASpot) {
    takeFilterOut();
    behaviour.singleBlobOnly = false;
    EXPECT_EQ(kBlob, look({.blobs = {kBlob, kPen}, .darkPicture = false}));
}

TEST_F(VisionTest, ABlobThatJumpsIsDarkForAWhile) {
    takeFilterOut();
    EXPECT_TRUE(look({.blobs = {kBlob}, .darkPicture = true}));
    now += 8ms;
    const Scene jumped{.blobs = {kFarBlob}, .darkPicture = true};
    EXPECT_FALSE(look(jumped));
    now += 99'999us;
    EXPECT_FALSE(look(jumped));
    now += 1us;
    EXPECT_EQ(kFarBlob, look(jumped));
}

TEST_F(VisionTest, ABlobThatMovesALittleIsFollowed) {
    takeFilterOut();
    EXPECT_TRUE(look({.blobs = {kBlob}, .darkPicture = true}));
    EXPECT_TRUE(look({.blobs = {{kBlob.x, kBlob.y + 40}}, .darkPicture = true}));
    EXPECT_TRUE(look({.blobs = {{kBlob.x, kBlob.y + 80}}, .darkPicture = true}));
}

TEST_F(VisionTest, ABlobThatWasAwayHasNotJumped) {
    takeFilterOut();
    EXPECT_TRUE(look({.blobs = {kBlob}, .darkPicture = true}));
    EXPECT_FALSE(look({.darkPicture = true}));
    EXPECT_TRUE(look({.blobs = {kFarBlob}, .darkPicture = true}));
}

TEST_F(VisionTest, WithoutTheMannerAJumpIsFollowedAtOnce) {
    takeFilterOut();
    behaviour.darkAfterJump = false;
    EXPECT_TRUE(look({.blobs = {kBlob}, .darkPicture = true}));
    EXPECT_EQ(kFarBlob, look({.blobs = {kFarBlob}, .darkPicture = true}));
}

TEST_F(VisionTest, PowerUpEndsAMove) {
    vision.moveFilter(true, now, true);
    vision.powerUp(false);
    EXPECT_FALSE(vision.filterOut());
    EXPECT_EQ(kPen, look({.pen = kPen}));
}

} // namespace
} // namespace lightpen
