// SPDX-License-Identifier: MIT
#include "unit/room/RoomPicture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace lightpen {
namespace {

int pixel(const Picture& picture, int column, int row) {
    return picture[static_cast<std::size_t>(row * 80 + column)];
}

TEST(RoomPictureTest, ALightIsWhiteWhereItIs) {
    const Picture picture = takePicture({.pen = CameraPoint{1600, 480}}, false);
    EXPECT_EQ(255, pixel(picture, 50, 15));
    EXPECT_EQ(255, pixel(picture, 51, 16));
    EXPECT_LT(pixel(picture, 52, 15), 64);
    EXPECT_LT(pixel(picture, 15, 50), 64);
}

TEST(RoomPictureTest, LightsAtTheEdgesStayInThePicture) {
    const Picture corner = takePicture({.pen = CameraPoint{2559, 1919}}, false);
    EXPECT_EQ(255, pixel(corner, 79, 59));
    const Picture beyond = takePicture({.pen = CameraPoint{2560, 1920}}, false);
    EXPECT_EQ(255, pixel(beyond, 79, 59));
    const Picture outside = takePicture({.pen = CameraPoint{-5, 100}}, false);
    EXPECT_EQ(0, std::count(outside.begin(), outside.end(), 255));
}

TEST(RoomPictureTest, TheDisplayedPictureShowsOnlyWithoutTheFilter) {
    const Scene scene{.blobs = {{640, 320}}, .darkPicture = true};
    EXPECT_LT(pixel(takePicture(scene, false), 20, 10), 64);
    EXPECT_EQ(255, pixel(takePicture(scene, true), 20, 10));
    EXPECT_LT(pixel(takePicture(scene, true), 40, 40), 64);
    EXPECT_GT(pixel(takePicture({}, true), 40, 40), 64);
}

// The screen

Scene withScreen() {
    // Its sides are crooked; in pixels: (10, 5), (70, 10), (60, 50), (20, 40).
    return {.screen = std::array{CameraPoint{320, 160}, CameraPoint{2240, 320}, CameraPoint{1920, 1600},
                                 CameraPoint{640, 1280}}};
}

TEST(RoomPictureTest, TheScreenIsAGreyTrapezium) {
    const Picture picture = takePicture(withScreen(), false);
    EXPECT_EQ(70, pixel(picture, 12, 6));
    EXPECT_EQ(70, pixel(picture, 67, 11));
    EXPECT_EQ(70, pixel(picture, 58, 48));
    EXPECT_EQ(70, pixel(picture, 21, 39));
    for (const auto& [column, row] :
         {std::pair{9, 5}, {40, 6}, {71, 10}, {69, 30}, {60, 51}, {30, 46}, {14, 30}})
        EXPECT_EQ(12, pixel(picture, column, row)) << column << ", " << row;
}

TEST(RoomPictureTest, TheScreensEdgesAreSmooth) {
    const Picture picture = takePicture(withScreen(), false);
    int between = 0;
    for (const std::uint8_t grey : picture)
        between += grey > 12 && grey < 70 ? 1 : 0;
    EXPECT_GT(between, 60);
    EXPECT_LT(between, 400);
}

TEST(RoomPictureTest, TheOrderOfTheCornersMayGoEitherWay) {
    Scene mirrored = withScreen();
    std::reverse(mirrored.screen->begin(), mirrored.screen->end());
    EXPECT_EQ(takePicture(withScreen(), false), takePicture(mirrored, false));
}

TEST(RoomPictureTest, WithoutTheFilterTheScreenShowsWhatItDisplays) {
    Scene scene = withScreen();
    EXPECT_EQ(150, pixel(takePicture(scene, true), 40, 25));
    EXPECT_EQ(12, pixel(takePicture(scene, true), 75, 55)) << "the room stays as it is";
    scene.darkPicture = true;
    EXPECT_EQ(34, pixel(takePicture(scene, true), 40, 25));
    EXPECT_EQ(70, pixel(takePicture(scene, false), 40, 25));
}

TEST(RoomPictureTest, AScreenThatIsNoneShowsNothing) {
    Scene nowhere;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    nowhere.screen =
        std::array{CameraPoint{nan, nan}, CameraPoint{nan, 0}, CameraPoint{0, nan}, CameraPoint{nan, nan}};
    EXPECT_EQ(takePicture({}, false), takePicture(nowhere, false));
    EXPECT_EQ(takePicture({}, false), takePicture({.pen = CameraPoint{nan, 5}}, false));
}

TEST(RoomPictureTest, ForeignLightHasAHaloThePensHasNone) {
    const CameraPoint place{1616, 976}; // the middle of pixel (50, 30)
    const Picture foreign = takePicture({.strayLight = place}, false);
    const Picture pen = takePicture({.pen = place}, false);
    EXPECT_EQ(255, pixel(foreign, 52, 30));
    EXPECT_EQ(255, pixel(pen, 52, 30));
    EXPECT_GT(pixel(foreign, 54, 30), 64);
    EXPECT_EQ(12, pixel(pen, 54, 30));
    EXPECT_EQ(12, pixel(foreign, 57, 30));
}

} // namespace
} // namespace lightpen
