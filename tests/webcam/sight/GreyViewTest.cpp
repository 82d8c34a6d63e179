// SPDX-License-Identifier: MIT
#include "webcam/sight/GreyView.h"

#include <climits>
#include <vector>

#include <gtest/gtest.h>

namespace lightpen::webcam {
namespace {

TEST(GreyViewTest, IsWholeWhenItsSizesFitItsBytes) {
    const std::vector<std::uint8_t> bytes(100);
    const auto whole = [&](int width, int height, int stride) {
        return GreyView{bytes, width, height, stride}.whole();
    };
    EXPECT_TRUE(whole(10, 10, 10));
    EXPECT_TRUE(whole(1, 100, 1));
    EXPECT_TRUE(whole(100, 1, INT_MAX));
    EXPECT_TRUE(whole(4, 9, 12)); // the last row without its padding
    EXPECT_FALSE(whole(5, 9, 12));
    EXPECT_FALSE(whole(10, 11, 10));
    EXPECT_FALSE(whole(10, 10, 9));
    EXPECT_FALSE(whole(0, 10, 10));
    EXPECT_FALSE(whole(10, 0, 10));
    EXPECT_FALSE(whole(-1, 5, 10));
    EXPECT_FALSE(whole(10, -5, 10));
    EXPECT_FALSE(whole(INT_MAX, INT_MAX, INT_MAX));
    EXPECT_FALSE((GreyView{}.whole()));
}

} // namespace
} // namespace lightpen::webcam
