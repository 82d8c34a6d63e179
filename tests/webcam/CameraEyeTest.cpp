// SPDX-License-Identifier: MIT
#include "webcam/CameraEye.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "kit/sight/DrawnPicture.h"

namespace lightpen::webcam {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int kWidth = 640;
constexpr int kHeight = 480;

class CameraEyeTest : public testing::Test {
protected:
    CameraEyeTest() {
        eye.begin(60);
        eye.set({.threshold = 512, .exposure = 23});
        settle();
    }
    static DrawnPicture room(int level = 20) { return DrawnPicture(kWidth, kHeight, level); }
    // The next picture of the camera, and what the unit sees right behind it.
    Scene take(const DrawnPicture& picture, Microseconds period = 16'667us) {
        now += period;
        eye.use(eye.wanted());
        eye.take(picture.view(), now);
        return eye.look(now);
    }
    // What a finder takes to know a room without a pen.
    void settle(int level = 20) {
        for (int i = 0; i < 20; ++i)
            take(room(level));
    }

    CameraEye eye;
    Microseconds now{5s};
};

TEST_F(CameraEyeTest, ThePlaceOfThePenIsInTheUnitsCoordinates) {
    const Scene scene = take(room().spot(100.25, 311.5, 1.5, 200));
    ASSERT_TRUE(scene.pen);
    EXPECT_NEAR(scene.pen->x, (100.25 + 0.5) * 4, 0.3);
    EXPECT_NEAR(scene.pen->y, (311.5 + 0.5) * 4, 0.3);
    EXPECT_FALSE(scene.strayLight);
    EXPECT_THAT(scene.blobs, IsEmpty());
}

TEST_F(CameraEyeTest, ALensIsUndone) {
    eye.correct({.lens = 0.05});
    const Scene scene = take(room().spot(100, 311, 1.5, 200));
    const PicturePoint straight = LensModel(kWidth, kHeight, 0.05).undistorted({100, 311});
    ASSERT_TRUE(scene.pen);
    EXPECT_GT(std::abs(straight.x - 100), 2);
    EXPECT_NEAR(scene.pen->x, (straight.x + 0.5) * 4, 0.3);
    EXPECT_NEAR(scene.pen->y, (straight.y + 0.5) * 4, 0.3);
}

TEST_F(CameraEyeTest, ALampOffItsPenIsUndoneAndNoDisc) {
    eye.correct({.lens = 0, .lamp = {30, -12}});
    const auto pen = take(room().spot(100.25, 311.5, 1.5, 200)).pen;
    ASSERT_TRUE(pen);
    EXPECT_NEAR(pen->x, (100.25 + 0.5) * 4 - 30, 0.3);
    EXPECT_NEAR(pen->y, (311.5 + 0.5) * 4 + 12, 0.3);
    eye.set({.threshold = 512, .exposure = 23, .filterOut = true});
    take(room().disc(400, 120, 8, 220));
    const Scene scene = take(room().disc(400, 120, 8, 220));
    ASSERT_THAT(scene.blobs, SizeIs(1));
    EXPECT_NEAR(scene.blobs[0].x, 400.5 * 4, 1);
}

// However late the unit looks: a touch that has no end would be no touch of the next target.
TEST_F(CameraEyeTest, ADiscThatIsShownElsewhereHasGoneOutBetween) {
    eye.set({.threshold = 512, .exposure = 23, .filterOut = true});
    settle();
    const auto show = [&](double x) {
        now += 16'667us;
        eye.take(room().disc(x, 120, 8, 220).view(), now);
    };
    show(200);
    show(200);
    ASSERT_THAT(eye.look(now).blobs, SizeIs(1));
    for (int i = 0; i < 20; ++i)
        show(400);
    for (int looks = 0; looks < CameraEye::kLooksBetween; ++looks) {
        EXPECT_THAT(eye.look(now).blobs, IsEmpty()) << looks;
        if (looks + 1 < CameraEye::kLooksBetween)
            show(400);
    }
    show(400);
    const Scene scene = eye.look(now);
    ASSERT_THAT(scene.blobs, SizeIs(1));
    EXPECT_NEAR(scene.blobs[0].x, 400.5 * 4, 1);
    show(401);
    show(401);
    EXPECT_THAT(eye.look(now).blobs, SizeIs(1)) << "it is the same one";
}

TEST_F(CameraEyeTest, WhoWatchesSeesTheDiscsAndTheUnitNothing) {
    eye.correct({.lens = 0.05, .lamp = {30, -12}});
    eye.watch(true);
    EXPECT_TRUE(eye.wanted().filterOut) << "the room's exposure";
    EXPECT_FALSE(eye.watched());
    const DrawnPicture disc = room().disc(100, 311, 8, 220);
    take(disc);
    const Scene scene = take(disc);
    EXPECT_THAT(scene.blobs, IsEmpty());
    EXPECT_FALSE(scene.pen);
    const auto watched = eye.watched();
    ASSERT_TRUE(watched);
    EXPECT_EQ(watched->number, 2U);
    EXPECT_EQ(watched->lights.width, kWidth);
    EXPECT_EQ(watched->lights.height, kHeight);
    EXPECT_TRUE(watched->lights.dark);
    ASSERT_THAT(watched->lights.blobs, SizeIs(1));
    EXPECT_NEAR(watched->lights.blobs[0].x, 100, 0.1) << "nothing is undone";
    EXPECT_NEAR(watched->lights.blobs[0].y, 311, 0.1);
    eye.watch(false);
    EXPECT_FALSE(eye.watched());
    EXPECT_FALSE(eye.wanted().filterOut);
    settle();
    EXPECT_TRUE(take(room().spot(300, 200, 1.5, 200)).pen);
}

TEST_F(CameraEyeTest, TheUnitSeesNoPenWhileSomebodyWatches) {
    ASSERT_TRUE(take(room().spot(300, 200, 1.5, 200)).pen);
    eye.watch(true);
    EXPECT_FALSE(eye.look(now).pen) << "at once, with no further picture";
    eye.take(room().spot(300, 200, 1.5, 200).view(), now);
    EXPECT_FALSE(eye.look(now).pen) << "nor from a picture that was on its way";
    EXPECT_FALSE(eye.watched());
}

TEST_F(CameraEyeTest, OneDarkPictureKeepsThePenTwoLiftIt) {
    const auto place = take(room().spot(300, 200, 1.5, 200)).pen;
    ASSERT_TRUE(place);
    EXPECT_EQ(take(room()).pen, place);
    EXPECT_FALSE(take(room()).pen);
}

TEST_F(CameraEyeTest, WithoutPicturesThePenIsLifted) {
    ASSERT_TRUE(take(room().spot(300, 200, 1.5, 200)).pen);
    EXPECT_TRUE(eye.look(now + 40ms).pen);
    EXPECT_FALSE(eye.look(now + 42ms).pen);
}

TEST_F(CameraEyeTest, ASlowCameraMayLoseOnePicture) {
    eye.begin(30);
    for (int i = 0; i < 20; ++i)
        take(room(), 33'333us);
    const DrawnPicture pen = room().spot(300, 200, 1.5, 60);
    take(pen, 33'333us);
    ASSERT_TRUE(take(pen, 33'333us).pen);
    EXPECT_TRUE(eye.look(now + 67ms).pen);
    EXPECT_TRUE(take(pen, 67ms).pen) << "it is still the same touch";
    EXPECT_FALSE(eye.look(now + 84ms).pen);
}

TEST_F(CameraEyeTest, ACameraThatHasGoneSeesNothing) {
    ASSERT_TRUE(take(room().spot(300, 200, 1.5, 200)).pen);
    eye.end();
    EXPECT_FALSE(eye.look(now).pen);
    EXPECT_EQ(eye.picture(now), Picture{});
}

TEST_F(CameraEyeTest, WithTheFilterOutTheDisplayedDiscIsTheSpot) {
    eye.set({.threshold = 512, .exposure = 23, .filterOut = true});
    EXPECT_FALSE(take(room(150)).darkPicture) << "a desktop";
    take(room().disc(400, 120, 8, 220));
    const Scene scene = take(room().disc(400, 120, 8, 220));
    EXPECT_FALSE(scene.pen);
    EXPECT_TRUE(scene.darkPicture);
    ASSERT_THAT(scene.blobs, SizeIs(1));
    EXPECT_NEAR(scene.blobs[0].x, 400.5 * 4, 1);
    EXPECT_NEAR(scene.blobs[0].y, 120.5 * 4, 1);
}

TEST_F(CameraEyeTest, TheThresholdIsTheUnits) {
    const DrawnPicture weak = room().spot(300, 200, 1.5, 60);
    take(weak);
    EXPECT_TRUE(take(weak).pen);
    settle();
    eye.set({.threshold = 2000, .exposure = 23});
    take(weak);
    EXPECT_FALSE(take(weak).pen);
}

TEST_F(CameraEyeTest, AnotherExposureBeginsAnew) {
    eye.set({.threshold = 512, .exposure = 46});
    EXPECT_FALSE(take(room(90)).pen);
    settle(90);
    EXPECT_TRUE(take(room(90).spot(300, 200, 1.5, 160)).pen);
}

TEST_F(CameraEyeTest, WhatPowerUpSaysIsNotTakenAtItsWord) {
    eye.set({});
    EXPECT_EQ(eye.wanted(), CameraEye::kAtFirst);
}

TEST_F(CameraEyeTest, AForeignLightIsToldOf) {
    EXPECT_FALSE(eye.foreignLight(now));
    eye.begin(60);
    for (int i = 0; i < 20; ++i)
        take(room().rectangle(60, 40, 200, 160, 255));
    EXPECT_TRUE(eye.foreignLight(now));
}

TEST_F(CameraEyeTest, TheSmallPictureFollowsSlowly) {
    EXPECT_EQ(eye.picture(now)[40], 20);
    take(room(200));
    EXPECT_EQ(eye.picture(now)[40], 20);
    take(room(200), 200ms);
    EXPECT_EQ(eye.picture(now)[40], 200);
}

} // namespace
} // namespace lightpen::webcam
