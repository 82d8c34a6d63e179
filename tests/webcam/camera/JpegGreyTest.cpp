// SPDX-License-Identifier: MIT
#include "webcam/camera/JpegGrey.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>

#include <gtest/gtest.h>

#include "kit/webcam/JpegPictures.h"

namespace lightpen::webcam {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kWidth = 160;
constexpr int kHeight = 120;

// The picture that is decoded; empty when there is none.
Bytes decoded(const Bytes& jpeg, int width = kWidth, int height = kHeight) {
    // A block of its own for each, so that a byte too far is seen by those who look for that.
    const Bytes exact(jpeg.begin(), jpeg.end());
    Bytes grey(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    return decodeJpegGrey(exact, width, height, grey) ? grey : Bytes();
}

int largestDifference(const Bytes& one, const Bytes& other) {
    int largest = one.size() == other.size() ? 0 : 1000;
    for (std::size_t i = 0; largest < 1000 && i < one.size(); ++i)
        largest = std::max(largest, std::abs(int(one[i]) - int(other[i])));
    return largest;
}

class JpegGreyTest : public testing::Test {
protected:
    const Bytes grey_ = slopes(kWidth, kHeight);
    const Bytes jpeg_ = jpegOf(grey_, kWidth, kHeight, {.quality = 95});
};

TEST_F(JpegGreyTest, IsTheBrightnessOfThePicture) {
    EXPECT_LE(largestDifference(decoded(jpeg_), grey_), 16);
    EXPECT_LE(
        largestDifference(decoded(jpegOf(grey_, kWidth, kHeight, {.grey = true, .quality = 95})), grey_), 16);
}

TEST_F(JpegGreyTest, ACameraMayLeaveOutTheTablesThatAllShare) {
    const Bytes bare = jpegOf(grey_, kWidth, kHeight, {.tables = false, .quality = 95});
    ASSERT_LT(bare.size() + 400, jpeg_.size());
    EXPECT_EQ(decoded(bare), decoded(jpeg_));
}

TEST_F(JpegGreyTest, WhatFollowsThePictureDoesNotMatter) {
    Bytes padded = jpeg_;
    padded.insert(padded.end(), 3000, 0);
    EXPECT_EQ(decoded(padded), decoded(jpeg_));
    padded.insert(padded.end(), jpeg_.begin(), jpeg_.end());
    EXPECT_EQ(decoded(padded), decoded(jpeg_));
}

TEST_F(JpegGreyTest, StrayBytesBeforeTheEndDoNotMatter) {
    Bytes stray = jpeg_;
    stray.insert(stray.end() - 2, {0x12, 0x34});
    EXPECT_EQ(decoded(stray), decoded(jpeg_));
}

TEST_F(JpegGreyTest, APictureWithoutItsEndAloneIsWhole) {
    const Bytes endless(jpeg_.begin(), jpeg_.end() - 2);
    EXPECT_EQ(decoded(endless), decoded(jpeg_));
}

TEST_F(JpegGreyTest, APictureThatIsCutShortIsNone) {
    for (std::size_t size = 0; size + 20 < jpeg_.size(); size += 37)
        EXPECT_TRUE(decoded(Bytes(jpeg_.begin(), jpeg_.begin() + std::ptrdiff_t(size))).empty()) << size;
}

TEST_F(JpegGreyTest, APictureOfAnotherSizeIsNone) {
    EXPECT_TRUE(decoded(jpeg_, kWidth, kHeight / 2).empty());
    EXPECT_TRUE(decoded(jpeg_, kWidth / 2, kHeight).empty());
    EXPECT_TRUE(decoded(jpeg_, kWidth * 2, kHeight * 2).empty());
    EXPECT_TRUE(decoded(jpeg_, 0, 0).empty());
}

TEST_F(JpegGreyTest, TooLittleRoomIsLeftAlone) {
    Bytes grey(static_cast<std::size_t>(kWidth * kHeight - 1), 77);
    EXPECT_FALSE(decodeJpegGrey(jpeg_, kWidth, kHeight, grey));
    EXPECT_EQ(std::count(grey.begin(), grey.end(), 77), kWidth * kHeight - 1);
}

TEST_F(JpegGreyTest, KindsThatNoCameraSendsAreNone) {
    for (const JpegScans scans : {JpegScans::eachColour, JpegScans::several, JpegScans::most})
        EXPECT_TRUE(decoded(jpegOf(grey_, kWidth, kHeight, {.scans = scans})).empty());
}

// Decoding all scans of this picture takes hundreds of times as long as decoding a camera's picture of its
// size; being told what it is takes less.
TEST_F(JpegGreyTest, ManyScansTakeNoTime) {
    const int width = 4 * kWidth, height = 4 * kHeight;
    const Bytes grey = slopes(width, height);
    const Bytes usual = jpegOf(grey, width, height);
    const Bytes slow = jpegOf(grey, width, height, {.scans = JpegScans::most});
    const auto timeFor = [&](const Bytes& jpeg, int times) {
        const std::clock_t before = std::clock(); // of the processor
        for (int i = 0; i < times; ++i)
            decoded(jpeg, width, height);
        return std::clock() - before;
    };
    ASSERT_FALSE(decoded(usual, width, height).empty());
    EXPECT_TRUE(decoded(slow, width, height).empty());
    EXPECT_LE(timeFor(slow, 10), timeFor(usual, 10) * 10);
}

TEST_F(JpegGreyTest, NoiseIsNone) {
    Bytes noise(5000);
    std::uint32_t seed = 1;
    for (std::uint8_t& byte : noise)
        byte = static_cast<std::uint8_t>((seed = seed * 1664525 + 1013904223) >> 24);
    EXPECT_TRUE(decoded(noise).empty());
    EXPECT_TRUE(decoded(Bytes(5000, 0)).empty());
    EXPECT_TRUE(decoded({}).empty());
}

TEST_F(JpegGreyTest, ADamagedHeadIsNone) {
    int none = 0;
    for (std::size_t at = 0; at < 600; at += 5) {
        Bytes damaged = jpeg_;
        damaged[at] = static_cast<std::uint8_t>(~damaged[at]);
        none += decoded(damaged).empty() ? 1 : 0;
    }
    // Not each byte of a head decides; those that do are many.
    EXPECT_GT(none, 20);
}

} // namespace
} // namespace lightpen::webcam
