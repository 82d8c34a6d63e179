// SPDX-License-Identifier: MIT
#include "platform/Geometry.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace lightpen {
namespace {

using Limits = std::numeric_limits<double>;

TEST(GeometryTest, StringFormIsTheShortestDecimal) {
    EXPECT_EQ(NSStringFromPoint(ScreenPoint{0, -0.0}), "{0, -0}");
    EXPECT_EQ(NSStringFromPoint(ScreenPoint{500, 400.5}), "{500, 400.5}");
    EXPECT_EQ(NSStringFromPoint(CameraPoint{0.1, 1.0 / 3}), "{0.1, 0.3333333333333333}");
    EXPECT_EQ(NSStringFromPoint(CameraPoint{4294967295.0, -1}), "{4294967295, -1}");
    EXPECT_EQ(NSStringFromPoint(WindowPoint{1e21, 5e-324}), "{1e+21, 5e-324}");
    EXPECT_EQ(NSStringFromRect(ScreenRect{{170, 75}, {1580, 930.25}}), "{{170, 75}, {1580, 930.25}}");
}

TEST(GeometryTest, LongestFormsFitTheStackText) {
    const ScreenPoint longest{-Limits::denorm_min() * 4503599627370497.0, -2.2250738585072014e-308};
    EXPECT_STREQ(PointText(longest).c_str(), NSStringFromPoint(longest).c_str());
    EXPECT_EQ(NSPointFromString<ScreenPoint>(PointText(longest).c_str()), longest);
    EXPECT_EQ(NSStringFromPoint(ScreenPoint{-Limits::max(), -Limits::max()}),
              "{-1.7976931348623157e+308, -1.7976931348623157e+308}");
}

TEST(GeometryTest, EveryDoubleReadsBackToTheSameBits) {
    std::mt19937_64 random(42);
    for (int i = 0; i < 200'000; ++i) {
        const auto x = std::bit_cast<double>(random());
        const auto y = std::bit_cast<double>(random());
        double readX = 0, readY = 0;
        const std::string text = PointText(x, y).c_str();
        ASSERT_TRUE(pairFromString(text, readX, readY)) << text;
        // What makes a not-a-number is not in its text; that it is one is.
        for (const auto& [value, read] : {std::pair(x, readX), std::pair(y, readY)}) {
            if (std::isnan(value))
                ASSERT_TRUE(std::isnan(read)) << text;
            else
                ASSERT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(read)) << text;
        }
    }
}

TEST(GeometryTest, PointsThatAreNotFiniteHaveATextToo) {
    const std::string text = NSStringFromPoint(ScreenPoint{Limits::infinity(), -Limits::infinity()});
    EXPECT_EQ(text, "{inf, -inf}");
    EXPECT_EQ(NSPointFromString<ScreenPoint>(text), (ScreenPoint{Limits::infinity(), -Limits::infinity()}));
    const auto nothing =
        NSPointFromString<ScreenPoint>(NSStringFromPoint(ScreenPoint{Limits::quiet_NaN(), 3}));
    EXPECT_TRUE(std::isnan(nothing.x));
    EXPECT_EQ(nothing.y, 3);
}

TEST(GeometryTest, OtherTextsAreNoPoint) {
    for (const char* text : {"", "{", "{}", "{1}", "{1,2}", "{1, 2", "1, 2}", "{1, 2} ", " {1, 2}", "{1, 2}}",
                             "{, 2}", "{1, }", "{a, 2}", "{1, 2, 3}", "{+1, 2}", "{1, 0x2}", "{1e999, 2}"}) {
        double x = 7, y = 8;
        EXPECT_FALSE(pairFromString(text, x, y)) << text;
        EXPECT_EQ(x, 7);
        EXPECT_EQ(y, 8);
        EXPECT_EQ(NSPointFromString<CameraPoint>(text), CameraPoint());
    }
}

} // namespace
} // namespace lightpen
