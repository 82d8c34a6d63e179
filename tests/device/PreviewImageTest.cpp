// SPDX-License-Identifier: MIT
#include "device/PreviewImage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen {
namespace {

using testing::ElementsAre;

std::vector<int> pixel(const PreviewImage& image, std::size_t column, std::size_t row) {
    const auto* first = &image.rgba[row * 320 + column * 4];
    return {first, first + 4};
}

TEST(PreviewImageTest, BlackAndWhiteAreOpaque) {
    for (const int grey : {0, 255}) {
        std::array<std::uint8_t, 4800> picture{};
        picture.fill(static_cast<std::uint8_t>(grey));
        const auto image = previewImageOf(picture);
        ASSERT_EQ(image->rgba.size(), 19200u);
        for (std::size_t row = 0; row < 60; ++row)
            for (std::size_t column = 0; column < 80; ++column)
                ASSERT_THAT(pixel(*image, column, row), ElementsAre(grey, grey, grey, 255));
    }
}

TEST(PreviewImageTest, EachGreyLevelStaysInItsPlace) {
    std::array<std::uint8_t, 4800> picture{};
    picture[0] = 1;
    picture[79] = 2;
    picture[80] = 3;
    picture[59 * 80 + 17] = 200;
    picture[4799] = 254;
    const auto image = previewImageOf(picture);
    EXPECT_THAT(pixel(*image, 0, 0), ElementsAre(1, 1, 1, 255));
    EXPECT_THAT(pixel(*image, 79, 0), ElementsAre(2, 2, 2, 255));
    EXPECT_THAT(pixel(*image, 0, 1), ElementsAre(3, 3, 3, 255));
    EXPECT_THAT(pixel(*image, 17, 59), ElementsAre(200, 200, 200, 255));
    EXPECT_THAT(pixel(*image, 79, 59), ElementsAre(254, 254, 254, 255));
    EXPECT_THAT(pixel(*image, 17, 58), ElementsAre(0, 0, 0, 255));
}

TEST(PreviewImageTest, EachImageIsANewOne) {
    const std::array<std::uint8_t, 4800> picture{};
    EXPECT_NE(previewImageOf(picture), previewImageOf(picture));
    EXPECT_EQ(*previewImageOf(picture), *previewImageOf(picture));
}

} // namespace
} // namespace lightpen
