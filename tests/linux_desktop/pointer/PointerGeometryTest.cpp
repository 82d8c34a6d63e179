// SPDX-License-Identifier: MIT
#include "linux_desktop/pointer/PointerGeometry.h"

#include <gtest/gtest.h>

#include <limits>

namespace lightpen {
namespace {

// The pixel that a desktop of that length makes of an axis value, in the two ways in which they do it.
int pixelInSteps(int value, int length) {
    return static_cast<int>(std::int64_t{value} * length / (PointerGeometry::kAxisMaximum + 1));
}
int pixelInSpan(int value, int length) {
    return static_cast<int>(std::int64_t{value} * length / PointerGeometry::kAxisMaximum);
}

TEST(PointerGeometry, KnowsNoDesktopAtFirst) {
    const PointerGeometry geometry;
    EXPECT_FALSE(geometry.known());
    EXPECT_EQ(geometry.axisAt({100, 200}), (AxisPoint{0, 0}));
    EXPECT_FALSE(PointerGeometry({0, 0}, 1, {0, 0, 0, 600}).known());
    EXPECT_FALSE(PointerGeometry({0, 0}, 1, {0, 0, 800, -1}).known());
}

TEST(PointerGeometry, FindsThePixelOfAPoint) {
    const PointerGeometry plain({0, 0}, 1, {0, 0, 1366, 768});
    // 1280 x 1024 to the left of 1920 x 1080, which is the main one and stands 56 pixels lower.
    const PointerGeometry right({1280, 56}, 1, {0, 0, 3200, 1136});
    // A scale is the points', not the origin's; under a fractional one the nearest pixel counts.
    const PointerGeometry scaled({1280, 0}, 2, {0, 0, 1280 + 3840, 2160});
    const PointerGeometry fractional({0, 0}, 1.25, {0, 0, 2560, 1440});
    EXPECT_EQ(plain.pixelAt({0, 0}), (PixelPoint{0, 0}));
    EXPECT_EQ(plain.pixelAt({1365, 700}), (PixelPoint{1365, 700}));
    EXPECT_EQ(plain.pixelAt({-3, 800}), (PixelPoint{-3, 800}));
    EXPECT_EQ(right.pixelAt({10, 20}), (PixelPoint{1290, 76}));
    EXPECT_EQ(scaled.pixelAt({101, 7}), (PixelPoint{1280 + 202, 14}));
    EXPECT_EQ(fractional.pixelAt({1, 2}), (PixelPoint{1, 3}));
    EXPECT_EQ(fractional.pixelAt({3, 5}), (PixelPoint{4, 6}));
}

TEST(PointerGeometry, CountsTheAxesFromTheDesktopsOrigin) {
    // The main screen is the right one; the window system's origin is its corner.
    const PointerGeometry geometry({0, 0}, 1, {-1024, -100, 1024 + 800, 868});
    const AxisPoint axis = geometry.axisAt({0, 0});
    EXPECT_EQ(pixelInSteps(axis.x, 1824), 1024);
    EXPECT_EQ(pixelInSteps(axis.y, 868), 100);
}

TEST(PointerGeometry, ClampsTheAxesToTheDesktop) {
    const PointerGeometry geometry({0, 0}, 1, {0, 0, 1000, 500});
    EXPECT_EQ(geometry.axisAt({-1, 500}), geometry.axisAt({0, 499}));
    EXPECT_EQ(geometry.axisAt({1000, -1}), geometry.axisAt({999, 0}));
    EXPECT_EQ(geometry.axisAt({std::numeric_limits<std::int16_t>::max(), 0}), geometry.axisAt({999, 0}));
}

class PointerGeometryAxis : public testing::TestWithParam<int> {};

TEST_P(PointerGeometryAxis, LeadsToEachPixelExactlyHoweverDesktopsDivideIt) {
    const int length = GetParam();
    const PointerGeometry geometry({0, 0}, 1, {0, 0, length, length});
    for (int pixel = 0; pixel < length; ++pixel) {
        const auto point = static_cast<std::int16_t>(pixel);
        const AxisPoint axis = geometry.axisAt({point, point});
        ASSERT_EQ(pixelInSteps(axis.x, length), pixel);
        ASSERT_EQ(pixelInSpan(axis.y, length), pixel);
        ASSERT_GE(axis.x, 0);
        ASSERT_LE(axis.x, PointerGeometry::kAxisMaximum);
    }
}

INSTANTIATE_TEST_SUITE_P(Lengths, PointerGeometryAxis,
                         testing::Values(1, 2, 3, 768, 1366, 1920, 7680, 16383));

} // namespace
} // namespace lightpen
