// SPDX-License-Identifier: MIT
#include "unit/wire/Picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace lightpen {
namespace {

int pixel(const Picture& picture, int column, int row) {
    return picture[static_cast<std::size_t>(row * 80 + column)];
}

TEST(PictureTest, TheLeftColumnIsBlack) {
    const Picture picture = takePicture({}, true, true);
    for (int row = 0; row < 60; ++row) {
        EXPECT_EQ(0, pixel(picture, 0, row));
        EXPECT_NE(0, pixel(picture, 1, row));
    }
    EXPECT_EQ(255, pixel(takePicture({}, true, false), 0, 59));
}

TEST(PictureTest, ALightIsWhiteWhereItIs) {
    const Picture picture = takePicture({.pen = CameraPoint{1600, 480}}, false, true);
    EXPECT_EQ(255, pixel(picture, 50, 15));
    EXPECT_EQ(255, pixel(picture, 51, 16));
    EXPECT_LT(pixel(picture, 52, 15), 64);
    EXPECT_LT(pixel(picture, 15, 50), 64);
}

TEST(PictureTest, LightsAtTheEdgesStayInThePicture) {
    const Picture corner = takePicture({.pen = CameraPoint{2559, 1919}}, false, true);
    EXPECT_EQ(255, pixel(corner, 79, 59));
    const Picture beyond = takePicture({.pen = CameraPoint{2560, 1920}}, false, true);
    EXPECT_EQ(255, pixel(beyond, 79, 59));
    const Picture outside = takePicture({.pen = CameraPoint{-5, 100}}, false, true);
    EXPECT_EQ(0, std::count(outside.begin(), outside.end(), 255));
}

TEST(PictureTest, TheDisplayedPictureShowsOnlyWithoutTheFilter) {
    const Scene scene{.blobs = {{640, 320}}, .darkPicture = true};
    EXPECT_LT(pixel(takePicture(scene, false, true), 20, 10), 64);
    EXPECT_EQ(255, pixel(takePicture(scene, true, true), 20, 10));
    EXPECT_LT(pixel(takePicture(scene, true, true), 40, 40), 64);
    EXPECT_GT(pixel(takePicture({}, true, true), 40, 40), 64);
}

// The screen

Scene withScreen() {
    // Its sides are crooked; in pixels: (10, 5), (70, 10), (60, 50), (20, 40).
    return {.screen = std::array{CameraPoint{320, 160}, CameraPoint{2240, 320}, CameraPoint{1920, 1600},
                                 CameraPoint{640, 1280}}};
}

TEST(PictureTest, TheScreenIsAGreyTrapezium) {
    const Picture picture = takePicture(withScreen(), false, true);
    EXPECT_EQ(70, pixel(picture, 12, 6));
    EXPECT_EQ(70, pixel(picture, 67, 11));
    EXPECT_EQ(70, pixel(picture, 58, 48));
    EXPECT_EQ(70, pixel(picture, 21, 39));
    for (const auto& [column, row] :
         {std::pair{9, 5}, {40, 6}, {71, 10}, {69, 30}, {60, 51}, {30, 46}, {14, 30}})
        EXPECT_EQ(12, pixel(picture, column, row)) << column << ", " << row;
}

TEST(PictureTest, TheScreensEdgesAreSmooth) {
    const Picture picture = takePicture(withScreen(), false, true);
    int between = 0;
    for (const std::uint8_t grey : picture)
        between += grey > 12 && grey < 70 ? 1 : 0;
    EXPECT_GT(between, 60);
    EXPECT_LT(between, 400);
}

TEST(PictureTest, TheOrderOfTheCornersMayGoEitherWay) {
    Scene mirrored = withScreen();
    std::reverse(mirrored.screen->begin(), mirrored.screen->end());
    EXPECT_EQ(takePicture(withScreen(), false, true), takePicture(mirrored, false, true));
}

TEST(PictureTest, WithoutTheFilterTheScreenShowsWhatItDisplays) {
    Scene scene = withScreen();
    EXPECT_EQ(150, pixel(takePicture(scene, true, true), 40, 25));
    EXPECT_EQ(12, pixel(takePicture(scene, true, true), 75, 55)) << "the room stays as it is";
    scene.darkPicture = true;
    EXPECT_EQ(34, pixel(takePicture(scene, true, true), 40, 25));
    EXPECT_EQ(70, pixel(takePicture(scene, false, true), 40, 25));
}

TEST(PictureTest, AScreenThatIsNoneShowsNothing) {
    Scene nowhere;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    nowhere.screen =
        std::array{CameraPoint{nan, nan}, CameraPoint{nan, 0}, CameraPoint{0, nan}, CameraPoint{nan, nan}};
    EXPECT_EQ(takePicture({}, false, true), takePicture(nowhere, false, true));
    EXPECT_EQ(takePicture({}, false, true), takePicture({.pen = CameraPoint{nan, 5}}, false, true));
}

TEST(PictureTest, ForeignLightHasAHaloThePensHasNone) {
    const CameraPoint place{1616, 976}; // the middle of pixel (50, 30)
    const Picture foreign = takePicture({.strayLight = place}, false, true);
    const Picture pen = takePicture({.pen = place}, false, true);
    EXPECT_EQ(255, pixel(foreign, 52, 30));
    EXPECT_EQ(255, pixel(pen, 52, 30));
    EXPECT_GT(pixel(foreign, 54, 30), 64);
    EXPECT_EQ(12, pixel(pen, 54, 30));
    EXPECT_EQ(12, pixel(foreign, 57, 30));
}

// The reports

Picture numbered() {
    Picture picture;
    for (std::size_t index = 0; index < picture.size(); ++index)
        picture[index] = static_cast<std::uint8_t>(index % 251);
    return picture;
}

TEST(PictureTest, SixReportsOf800PixelsCarryItWhole) {
    const Picture picture = numbered();
    Picture together{};
    for (unsigned index = 0; index < 6; ++index) {
        const ReportBytes report = pictureReport(picture, index, 804);
        ASSERT_EQ(804U, report.size());
        EXPECT_EQ(0, report[0]);
        EXPECT_EQ(0, report[801] | report[802] | report[803]);
        std::copy_n(report.begin() + 1, 800, together.begin() + 800 * index);
    }
    EXPECT_EQ(picture, together);
}

TEST(PictureTest, ShortReportsCarryAsMuchAsTheyCan) {
    const ReportBytes report = pictureReport(numbered(), 2, 32);
    ASSERT_EQ(32U, report.size());
    EXPECT_EQ(56, report[1]);
    EXPECT_EQ(83, report[28]);
    EXPECT_EQ(0, report[29]);
    EXPECT_EQ(ReportBytes(4), pictureReport(numbered(), 1, 4));
    EXPECT_EQ(ReportBytes(), pictureReport(numbered(), 1, 0));
}

TEST(PictureTest, LongReportsEndWithThePicture) {
    const ReportBytes report = pictureReport(numbered(), 1, 4004);
    EXPECT_EQ(4000 % 251, report[1]);
    EXPECT_EQ(4799 % 251, report[800]);
    EXPECT_EQ(0, report[801]);
    EXPECT_EQ(ReportBytes(4004), pictureReport(numbered(), 2, 4004));
}

} // namespace
} // namespace lightpen
