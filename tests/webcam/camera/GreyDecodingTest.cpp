// SPDX-License-Identifier: MIT
#include "webcam/camera/GreyDecoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/webcam/JpegPictures.h"

namespace lightpen::webcam {
namespace {

using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

TEST(GreyDecodingTest, GreyIsTakenRowByRow) {
    GreyPicture picture;
    const Bytes bytes{1, 2, 3, 4, 5, 6};
    ASSERT_TRUE(decodeGrey(bytes, {PixelFormat::grey, 3, 2, 3}, picture));
    EXPECT_EQ(picture.pixels, bytes);
    EXPECT_EQ(picture.width, 3);
    EXPECT_EQ(picture.height, 2);
    EXPECT_EQ(picture.stride, 3);
    EXPECT_EQ(picture.view().pixels.data(), picture.pixels.data());
    EXPECT_TRUE(picture.view().whole());
}

TEST(GreyDecodingTest, WhatStandsBehindARowIsLeftOut) {
    GreyPicture picture;
    ASSERT_TRUE(decodeGrey(Bytes{1, 2, 99, 3, 4}, {PixelFormat::grey, 2, 2, 3}, picture));
    EXPECT_THAT(picture.pixels, ElementsAre(1, 2, 3, 4));
    ASSERT_TRUE(decodeGrey(Bytes{1, 128, 2, 128, 99, 3, 128, 4, 128}, {PixelFormat::yuyv, 2, 2, 5}, picture));
    EXPECT_THAT(picture.pixels, ElementsAre(1, 2, 3, 4));
}

TEST(GreyDecodingTest, OfYuyvTheBrightnessIsTaken) {
    // Wide enough for what is done in blocks, and for what is left of a row.
    constexpr int kWidth = 150, kHeight = 3;
    Bytes bytes, expected;
    for (int i = 0; i < kWidth * kHeight; ++i) {
        expected.push_back(static_cast<std::uint8_t>(i * 7));
        bytes.push_back(expected.back());
        bytes.push_back(200);
    }
    GreyPicture picture;
    ASSERT_TRUE(decodeGrey(bytes, {PixelFormat::yuyv, kWidth, kHeight, 2 * kWidth}, picture));
    EXPECT_EQ(picture.pixels, expected);
}

TEST(GreyDecodingTest, OneByteTooFewIsNoPicture) {
    GreyPicture picture;
    EXPECT_FALSE(decodeGrey(Bytes(5), {PixelFormat::grey, 3, 2, 3}, picture));
    EXPECT_TRUE(decodeGrey(Bytes(11), {PixelFormat::yuyv, 2, 2, 7}, picture));
    EXPECT_FALSE(decodeGrey(Bytes(10), {PixelFormat::yuyv, 2, 2, 7}, picture));
    EXPECT_FALSE(decodeGrey({}, {PixelFormat::grey, 1, 1, 1}, picture));
}

TEST(GreyDecodingTest, LayoutsThatMakeNoSenseAreNoPicture) {
    GreyPicture picture;
    const Bytes bytes(100);
    for (const BufferLayout& layout :
         {BufferLayout{PixelFormat::grey, 0, 2, 3}, BufferLayout{PixelFormat::grey, 3, 0, 3},
          BufferLayout{PixelFormat::grey, -3, 2, 3}, BufferLayout{PixelFormat::grey, 3, 2, 2},
          BufferLayout{PixelFormat::grey, 3, 2, -3}, BufferLayout{PixelFormat::yuyv, 3, 2, 5},
          BufferLayout{PixelFormat::grey, kLargestSide + 1, 1, kLargestSide + 1},
          BufferLayout{PixelFormat::grey, kLargestSide, kLargestSide, kLargestSide}})
        EXPECT_FALSE(decodeGrey(bytes, layout, picture)) << layout.width << " " << layout.stride;
}

TEST(GreyDecodingTest, MemoryIsUsedAgainAndAnotherSizeIsTaken) {
    GreyPicture picture;
    picture.taken = Microseconds(7);
    ASSERT_TRUE(decodeGrey(Bytes(64), {PixelFormat::grey, 8, 8, 8}, picture));
    const auto* const memory = picture.pixels.data();
    ASSERT_TRUE(decodeGrey(Bytes{9, 8}, {PixelFormat::grey, 1, 2, 1}, picture));
    EXPECT_EQ(picture.pixels.data(), memory);
    EXPECT_THAT(picture.pixels, ElementsAre(9, 8));
    EXPECT_EQ(picture.taken, Microseconds(7));
}

TEST(GreyDecodingTest, OfAJpegTheBrightnessIsTaken) {
    const Bytes grey = slopes(160, 120);
    GreyPicture picture;
    ASSERT_TRUE(decodeGrey(jpegOf(grey, 160, 120), {PixelFormat::mjpeg, 160, 120, 0}, picture));
    ASSERT_EQ(picture.pixels.size(), grey.size());
    EXPECT_NEAR(picture.pixels[std::size_t{30} * 160 + 53], 255, 12); // the spot
    EXPECT_NEAR(picture.pixels[std::size_t{119} * 160 + 159], 149, 12);
    EXPECT_NEAR(picture.pixels[0], 0, 12);
}

} // namespace
} // namespace lightpen::webcam
