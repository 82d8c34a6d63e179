// SPDX-License-Identifier: MIT
#include "webcam/camera/CameraMode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen::webcam {
namespace {

using testing::ElementsAre;

constexpr CameraMode kFastYuyv{PixelFormat::yuyv, 640, 480, 60};
constexpr CameraMode kFastGrey{PixelFormat::grey, 640, 480, 60};
constexpr CameraMode kFastJpeg{PixelFormat::mjpeg, 640, 480, 60};
constexpr CameraMode kFastHD{PixelFormat::mjpeg, 1280, 720, 60};
constexpr CameraMode kSlowHD{PixelFormat::yuyv, 1280, 720, 10};
constexpr CameraMode kSlowYuyv{PixelFormat::yuyv, 640, 480, 30};

TEST(CameraModeTest, TheRateGoesBeforeTheSize) {
    EXPECT_TRUE(isBetter(kFastYuyv, kSlowHD));
    EXPECT_FALSE(isBetter(kSlowHD, kFastYuyv));
    EXPECT_TRUE(isBetter({PixelFormat::yuyv, 640, 480, 30}, {PixelFormat::yuyv, 1280, 720, 15}));
}

TEST(CameraModeTest, YuyvIsNotChosenWhereOnlyMjpegIsFast) {
    EXPECT_TRUE(isBetter(kFastHD, kSlowYuyv));
    EXPECT_TRUE(isBetter(kFastJpeg, kSlowYuyv));
}

TEST(CameraModeTest, TheCheaperFormatGoesBeforeWhereRateAndSizeAreTheSame) {
    EXPECT_TRUE(isBetter(kFastGrey, kFastYuyv));
    EXPECT_TRUE(isBetter(kFastYuyv, kFastJpeg));
    EXPECT_FALSE(isBetter(kFastYuyv, kFastYuyv));
}

TEST(CameraModeTest, OfEqualRateTheLargerUpToHDGoesBefore) {
    EXPECT_TRUE(isBetter(kFastHD, kFastYuyv));
    EXPECT_TRUE(isBetter(kFastHD, {PixelFormat::mjpeg, 1920, 1080, 60}));
    EXPECT_TRUE(isBetter(kFastYuyv, {PixelFormat::yuyv, 1920, 1080, 60}));
    EXPECT_TRUE(isBetter({PixelFormat::yuyv, 1280, 1024, 60}, kFastHD));
}

TEST(CameraModeTest, LargeOnesAreTheBetterTheSmallerTheyAre) {
    EXPECT_TRUE(isBetter({PixelFormat::mjpeg, 1920, 1080, 60}, {PixelFormat::mjpeg, 3840, 2160, 60}));
}

TEST(CameraModeTest, BeyondSixtyTheSizeGoesBeforeTheRate) {
    EXPECT_TRUE(isBetter(kFastHD, {PixelFormat::mjpeg, 640, 480, 120}));
    EXPECT_TRUE(isBetter({PixelFormat::mjpeg, 640, 480, 120}, kFastJpeg));
}

TEST(CameraModeTest, CoarsePicturesComeLast) {
    EXPECT_TRUE(isBetter(kSlowHD, {PixelFormat::grey, 160, 120, 120}));
    EXPECT_TRUE(isBetter({PixelFormat::yuyv, 320, 240, 60}, kSlowHD));
}

TEST(CameraModeTest, NearlySixtyIsSixty) {
    EXPECT_TRUE(isBetter({PixelFormat::mjpeg, 1280, 720, 59.94}, kFastYuyv));
}

TEST(CameraModeTest, AnUntoldRateIsTheUsualOne) {
    EXPECT_TRUE(isBetter({PixelFormat::grey, 640, 480, 0}, {PixelFormat::grey, 640, 480, 15}));
    EXPECT_TRUE(isBetter(kFastGrey, {PixelFormat::grey, 1280, 720, 0}));
}

TEST(CameraModeTest, SortsTheBestFirstAndEachOnce) {
    std::vector<CameraMode> modes{kSlowHD, kFastYuyv, kFastHD, kFastYuyv, kSlowYuyv};
    sortByUse(modes);
    EXPECT_THAT(modes, ElementsAre(kFastHD, kFastYuyv, kSlowYuyv, kSlowHD));
}

TEST(CameraModeTest, SaysItself) {
    EXPECT_EQ(textOf(kFastHD), "1280 x 720 MJPG at 60 a second");
    EXPECT_EQ(textOf({PixelFormat::yuyv, 640, 480, 7.5}), "640 x 480 YUYV at 7.5 a second");
    EXPECT_EQ(textOf({PixelFormat::grey, 640, 480, 0}), "640 x 480 GREY");
    EXPECT_EQ(textOfRate(29.97), "30");
    EXPECT_EQ(textOfRate(119.88), "119.9");
}

} // namespace
} // namespace lightpen::webcam
