// SPDX-License-Identifier: MIT
#include "webcam/sight/SmallPicture.h"

#include <algorithm>
#include <cmath>

#include <gmock/gmock.h>

#include "kit/sight/DrawnPicture.h"

namespace lightpen::webcam {
namespace {

using testing::Each;
using testing::Eq;

int pixel(const SmallPicture& picture, int column, int row) {
    return picture[static_cast<std::size_t>(row * kSmallWidth + column)];
}

TEST(SmallPictureTest, APlainPictureStaysWhatItIs) {
    for (const auto& [width, height] :
         {std::pair{1, 1}, {1, 1080}, {79, 61}, {80, 60}, {83, 7}, {640, 480}, {1921, 1081}})
        EXPECT_THAT(smallPicture(DrawnPicture(width, height, 137, 9).view()), Each(Eq(137))) << width;
}

TEST(SmallPictureTest, EachPixelIsTheMeanOfItsPart) {
    const auto small = smallPicture(DrawnPicture(640, 480, 0).rectangle(80, 16, 4, 8, 200).view());
    EXPECT_EQ(pixel(small, 10, 2), 100); // the left half of its part
    EXPECT_EQ(std::ranges::count(small, 0), 80 * 60 - 1);
}

TEST(SmallPictureTest, KeepsTheLightOfAPictureOfOddSize) {
    std::mt19937 random(3);
    auto picture = DrawnPicture(1013, 771, 40, 11).disc(700, 200, 150, 220).noise(9, random);
    double all = 0;
    for (int y = 0; y < 771; ++y)
        for (int x = 0; x < 1013; ++x)
            all += picture.view().row(y)[x];
    const auto small = smallPicture(picture.view());
    double kept = 0;
    for (const int level : small)
        kept += level;
    EXPECT_NEAR(kept / static_cast<double>(small.size()), all / (1013 * 771), 0.5);
    EXPECT_EQ(pixel(small, 55, 15), 220);
}

TEST(SmallPictureTest, ASmallerPictureIsEnlarged) {
    const auto small = smallPicture(DrawnPicture(2, 2, 0).rectangle(1, 0, 1, 1, 90).view());
    EXPECT_EQ(pixel(small, 39, 0), 0);
    EXPECT_EQ(pixel(small, 40, 0), 90);
    EXPECT_EQ(pixel(small, 79, 29), 90);
    EXPECT_EQ(pixel(small, 79, 30), 0);
}

TEST(SmallPictureTest, NoPictureIsBlack) {
    EXPECT_THAT(smallPicture({}), Each(Eq(0)));
    const std::uint8_t white = 255;
    EXPECT_THAT(smallPicture({{&white, 1}, 640, 480, 640}), Each(Eq(0)));
}

} // namespace
} // namespace lightpen::webcam
