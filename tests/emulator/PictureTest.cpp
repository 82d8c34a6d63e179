// SPDX-License-Identifier: MIT
#include "emulator/Picture.h"

#include <gtest/gtest.h>

#include <algorithm>

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
