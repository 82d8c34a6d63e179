// SPDX-License-Identifier: MIT
#include "device/PreviewImage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen {
namespace {

using testing::Each;

// A report of this length whose bytes tell their place and the report's number.
std::vector<std::uint8_t> numberedReport(int number, int length) {
    std::vector<std::uint8_t> report;
    for (int place = 0; place < length; ++place)
        report.push_back(static_cast<std::uint8_t>(1 + (number * 37 + place) % 251));
    return report;
}

// The picture of six such reports, byte by byte.
std::vector<std::uint8_t> pictureOf(int length) {
    std::vector<std::uint8_t> picture(4800);
    const int pixels = length - 4;
    for (int number = 0; number < 6; ++number)
        for (int i = 0; i < pixels; ++i)
            if (const int place = pixels * number + i; place < 4800)
                picture[static_cast<std::size_t>(place)] =
                    static_cast<std::uint8_t>(1 + (number * 37 + i + 1) % 251);
    return picture;
}

std::vector<std::uint8_t> pictureIn(const PictureAssembly& assembly) {
    const auto picture = assembly.picture();
    return {picture.begin(), picture.end()};
}

TEST(PictureAssemblyTest, SixReportsOf804BytesFillThePictureExactly) {
    PictureAssembly assembly;
    for (int number = 0; number < 6; ++number) {
        EXPECT_EQ(assembly.nextIndex(), number);
        EXPECT_EQ(assembly.take(numberedReport(number, 804), 804), number == 5);
        EXPECT_EQ(assembly.imageChunkCount, number + 1);
    }
    const auto picture = pictureIn(assembly);
    EXPECT_EQ(picture, pictureOf(804));
    EXPECT_THAT(picture, Each(testing::Ne(0))) << "no place is left out";
    // By hand: byte 1 of the first report is 2, byte 800 of the last is 1 + (185 + 800) % 251.
    EXPECT_EQ(picture.front(), 2);
    EXPECT_EQ(picture.back(), 233);
}

TEST(PictureAssemblyTest, EveryLengthStaysInsideItsBuffers) {
    for (int length = 0; length <= 1024; ++length) {
        PictureAssembly assembly;
        for (int number = 0; number < 6; ++number)
            ASSERT_EQ(assembly.take(numberedReport(number, length), length), number == 5) << length;
        ASSERT_EQ(assembly.imageAssemblyBuffer.size(), 4800u) << length;
        ASSERT_EQ(pictureIn(assembly), pictureOf(length)) << length;
    }
}

TEST(PictureAssemblyTest, AReportThatIsShorterThanTheUnitsLengthIsNotReadBeyondItsEnd) {
    for (int length = 0; length <= 1024; ++length) {
        PictureAssembly assembly;
        assembly.take(numberedReport(0, length), 804);
        const auto picture = pictureIn(assembly);
        const int carried = std::min(std::max(length - 1, 0), 800);
        for (int i = 0; i < 4800; ++i)
            ASSERT_EQ(picture[static_cast<std::size_t>(i)], i < carried ? 1 + (i + 1) % 251 : 0) << length;
    }
}

TEST(PictureAssemblyTest, AbsurdLengthsCarryNoPixelsOrDropThem) {
    for (const int length : {-2147483647 - 1, -1, 0, 4}) {
        PictureAssembly assembly;
        assembly.take(numberedReport(0, 64), length);
        EXPECT_THAT(pictureIn(assembly), Each(0)) << length;
    }
    for (const int length : {4804, 4805, 65536, 2147483647}) {
        PictureAssembly assembly;
        assembly.take(numberedReport(0, 6000), length);
        assembly.take(numberedReport(1, 6000), length);
        const auto picture = pictureIn(assembly);
        EXPECT_EQ(picture.back(), 1 + 4800 % 251) << length;
    }
}

// A picture whose last report nothing followed has left the count at 6.
TEST(PictureAssemblyTest, ACountBeyondAPictureStartsOver) {
    for (const int count : {6, 7, 79}) {
        PictureAssembly assembly;
        assembly.imageChunkCount = count;
        EXPECT_EQ(assembly.nextIndex(), 0);
        EXPECT_FALSE(assembly.take(numberedReport(0, 804), 804));
        EXPECT_EQ(assembly.imageChunkCount, 1);
        EXPECT_EQ(pictureIn(assembly).front(), 2);
    }
}

TEST(PictureAssemblyTest, ACountWithinAPictureGoesOn) {
    PictureAssembly assembly;
    assembly.imageChunkCount = 4;
    EXPECT_FALSE(assembly.take(numberedReport(4, 804), 804));
    EXPECT_TRUE(assembly.take(numberedReport(5, 804), 804));
    const auto picture = pictureIn(assembly);
    EXPECT_EQ(picture[3199], 0);
    EXPECT_EQ(picture[3200], 1 + (4 * 37 + 1) % 251);
}

TEST(PictureAssemblyTest, TheCountIsTakenModulo80) {
    PictureAssembly assembly;
    assembly.imageAssemblyBuffer.assign(4800, 9);
    assembly.imageChunkCount = 79;
    EXPECT_FALSE(assembly.take(numberedReport(0, 804), 804));
    EXPECT_EQ(assembly.imageChunkCount, 0);
    EXPECT_THAT(pictureIn(assembly), Each(9)) << "the 80th chunk lies far beyond";
}

TEST(PictureAssemblyTest, TheBufferLivesFromTheFirstReportToItsRelease) {
    PictureAssembly assembly;
    EXPECT_FALSE(assembly.release());
    assembly.take(numberedReport(0, 32), 32);
    EXPECT_TRUE(assembly.release());
    EXPECT_TRUE(assembly.imageAssemblyBuffer.empty());
    EXPECT_EQ(assembly.imageChunkCount, 1) << "the rest goes on behind it";
}

} // namespace
} // namespace lightpen
