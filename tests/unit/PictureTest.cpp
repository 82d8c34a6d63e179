// SPDX-License-Identifier: MIT
#include "unit/wire/Picture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace lightpen {
namespace {

TEST(PictureTest, TheLeftColumnIsBlack) {
    Picture picture;
    picture.fill(12);
    fillLeftColumn(picture, true);
    for (std::size_t pixel = 0; pixel < picture.size(); ++pixel)
        EXPECT_EQ(pixel % 80 == 0 ? 0 : 12, picture[pixel]) << pixel;
    fillLeftColumn(picture, false);
    for (std::size_t pixel = 0; pixel < picture.size(); ++pixel)
        EXPECT_EQ(pixel % 80 == 0 ? 255 : 12, picture[pixel]) << pixel;
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
