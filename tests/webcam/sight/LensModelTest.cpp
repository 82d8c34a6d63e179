// SPDX-License-Identifier: MIT
#include "webcam/sight/LensModel.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "unit/room/Homography.h"

namespace lightpen::webcam {
namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 480;
constexpr double kHalf = 400; // of the diagonal

// How a camera far below and to the left sees a screen of 1920 by 1080.
PicturePoint keystone(ScreenPoint point) {
    const double x = point.x / 1920;
    const double y = point.y / 1080;
    const double w = 1 + 0.18 * x - 0.12 * y;
    return {(70 + 560 * x + 18 * y) / w, (45 + 22 * x + 345 * y) / w};
}

// A barrel: what lies a half diagonal from the centre is seen so much nearer to it.
PicturePoint bent(PicturePoint point, double barrel) {
    const double x = point.x - (kWidth - 1) / 2.0;
    const double y = point.y - (kHeight - 1) / 2.0;
    const double factor = 1 - barrel * (x * x + y * y) / (kHalf * kHalf);
    return {x * factor + (kWidth - 1) / 2.0, y * factor + (kHeight - 1) / 2.0};
}

// Dots in so many columns and rows, as they are seen with noise.
std::vector<SeenDot> dots(int columns, int rows, double barrel, double noise = 0.05) {
    std::mt19937 random(2);
    std::normal_distribution<double> error(0, noise > 0 ? noise : 1);
    std::vector<SeenDot> made;
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column) {
            const ScreenPoint shown{60 + 1800.0 * column / std::max(columns - 1, 1),
                                    50 + 980.0 * row / std::max(rows - 1, 1)};
            PicturePoint seen = bent(keystone(shown), barrel);
            if (noise > 0)
                seen = {seen.x + error(random), seen.y + error(random)};
            made.push_back({seen, shown});
        }
    return made;
}

TEST(LensModelTest, BendsNothingUnlessToldTo) {
    const PicturePoint corner{3, 470};
    EXPECT_EQ(LensModel().undistorted(corner), corner);
    EXPECT_EQ(LensModel(kWidth, kHeight, 0).undistorted(corner), corner);
    for (const double k : {std::numeric_limits<double>::quiet_NaN(), HUGE_VAL, -0.51, 0.51})
        EXPECT_EQ(LensModel(kWidth, kHeight, k).undistorted(corner), corner);
    EXPECT_EQ(LensModel(0, kHeight, 0.1).undistorted(corner), corner);
    EXPECT_EQ(LensModel(kWidth, -1, 0.1).undistorted(corner), corner);
}

TEST(LensModelTest, MovesPlacesAlongTheirRay) {
    const LensModel lens(kWidth, kHeight, 0.1);
    const PicturePoint centre{319.5, 239.5};
    EXPECT_EQ(lens.undistorted(centre), centre);
    const PicturePoint moved = lens.undistorted({319.5 + 200, 239.5});
    EXPECT_NEAR(moved.x, 319.5 + 200 * 1.025, 1e-9);
    EXPECT_NEAR(moved.y, 239.5, 1e-9);
    const PicturePoint corner = lens.undistorted({319.5 - 320, 239.5 - 240});
    EXPECT_NEAR(corner.x, 319.5 - 352, 1e-9);
    EXPECT_NEAR(corner.y, 239.5 - 264, 1e-9);
}

TEST(LensModelTest, IsEstimatedFromDots) {
    for (const double barrel : {0.03, 0.1, -0.04}) {
        const auto estimate = estimateLens(dots(8, 8, barrel), kWidth, kHeight);
        ASSERT_TRUE(estimate.known) << barrel;
        EXPECT_NEAR(estimate.lens.k(), barrel, std::abs(barrel) / 4) << barrel;
        EXPECT_LT(estimate.error, 0.15) << barrel;
        EXPECT_GT(estimate.straightError, 8 * estimate.error) << barrel;
        double worst = 0;
        for (const SeenDot& dot : dots(20, 20, barrel, 0)) {
            const PicturePoint straight = estimate.lens.undistorted(dot.seen);
            worst = std::max(
                worst, std::hypot(straight.x - keystone(dot.shown).x, straight.y - keystone(dot.shown).y));
        }
        EXPECT_LT(worst, barrel == 0.1 ? 1.5 : 0.4) << barrel;
    }
}

// The median distance on a screen of 1920 by 1080 between a touch and where four calibrated targets put it.
double errorOnScreen(double barrel, const LensModel& lens) {
    const double left = 170, top = 75, right = 1750, bottom = 1005;
    const auto seen = [&](ScreenPoint point) {
        const PicturePoint straight = lens.undistorted(bent(keystone(point), barrel));
        return PlanePoint{straight.x, straight.y};
    };
    const auto toCamera = Homography::ofRectangle(
        right - left, bottom - top,
        {seen({left, top}), seen({right, top}), seen({right, bottom}), seen({left, bottom})});
    const Homography toScreen = toCamera.value().inverse();
    std::vector<double> errors;
    for (double y = 20; y < 1080; y += 40)
        for (double x = 20; x < 1920; x += 40) {
            const PlanePoint mapped = toScreen.map(seen({x, y}));
            errors.push_back(std::hypot(mapped.x + left - x, mapped.y + top - y));
        }
    std::ranges::sort(errors);
    return errors[errors.size() / 2];
}

TEST(LensModelTest, FourTargetsAreEnoughOnceTheLensIsKnown) {
    const auto estimate = estimateLens(dots(8, 8, 0.03), kWidth, kHeight);
    const double before = errorOnScreen(0.03, {});
    const double after = errorOnScreen(0.03, estimate.lens);
    std::printf("median of the screen: %.2f pixels, with the lens %.2f\n", before, after);
    EXPECT_GT(before, 2.5);
    EXPECT_LT(after, 0.4);
}

TEST(LensModelTest, AStraightLensStaysOne) {
    const auto estimate = estimateLens(dots(8, 8, 0), kWidth, kHeight);
    EXPECT_NEAR(estimate.lens.k(), 0, 0.001);
    EXPECT_LT(estimate.error, 0.1);
    const auto exact = estimateLens(dots(8, 8, 0, 0), kWidth, kHeight);
    EXPECT_NEAR(exact.lens.k(), 0, 1e-6);
}

TEST(LensModelTest, NineDotsAreEnoughForAStrongBend) {
    const auto estimate = estimateLens(dots(3, 3, 0.06), kWidth, kHeight);
    ASSERT_TRUE(estimate.known);
    EXPECT_NEAR(estimate.lens.k(), 0.06, 0.015);
}

// What a pass of thirteen dots has: corners, edges, the middle, and four between.
std::vector<SeenDot> thirteen(double barrel, double noise = 0.05) {
    auto made = dots(3, 3, barrel, noise);
    for (const SeenDot& dot : dots(5, 5, barrel, noise))
        if ((dot.shown.x == 510 || dot.shown.x == 1410) && (dot.shown.y == 295 || dot.shown.y == 785))
            made.push_back(dot);
    return made;
}

TEST(LensModelTest, ThirteenDotsAreEnough) {
    ASSERT_EQ(thirteen(0).size(), 13U);
    for (const double barrel : {0.01, 0.03, -0.02, 0.08}) {
        const auto estimate = estimateLens(thirteen(barrel), kWidth, kHeight);
        ASSERT_TRUE(estimate.known) << barrel;
        EXPECT_LT(errorOnScreen(barrel, estimate.lens), 0.8) << barrel;
    }
}

TEST(LensModelTest, OneDotThatIsNoneSpoilsNothing) {
    const auto with = [](std::size_t wrong, double off, double angle) {
        auto spoilt = thirteen(0.03);
        spoilt[wrong].seen.x += off * std::cos(angle);
        spoilt[wrong].seen.y += off * std::sin(angle);
        return estimateLens(spoilt, kWidth, kHeight);
    };
    for (std::size_t wrong = 0; wrong < 13; ++wrong)
        for (double angle = 0; angle < 6; angle += 0.5) {
            const auto refused = with(wrong, 12, angle);
            EXPECT_FALSE(refused.known) << wrong << " " << angle;
            EXPECT_EQ(refused.lens.k(), 0) << wrong << " " << angle;
            EXPECT_LT(errorOnScreen(0.03, with(wrong, 2, angle).lens), 1) << wrong << " " << angle;
        }
}

TEST(LensModelTest, ALensThatIsKnownAlreadyIsNotFoundAgain) {
    EXPECT_FALSE(estimateLens(thirteen(0), kWidth, kHeight).known);
    const double k = estimateLens(dots(8, 8, 0.03, 0), kWidth, kHeight).lens.k();
    EXPECT_FALSE(estimateLens(thirteen(0.03), kWidth, kHeight, k).known);
    const auto straight = estimateLens(thirteen(0), kWidth, kHeight, k);
    EXPECT_TRUE(straight.known) << "another lens is on the camera";
    EXPECT_NEAR(straight.lens.k(), 0, 0.003);
}

TEST(LensModelTest, TooFewDotsTellNothing) {
    const auto few = dots(2, 2, 0.1, 0);
    for (std::size_t count = 0; count <= few.size(); ++count) {
        const auto estimate = estimateLens(std::span(few).first(count), kWidth, kHeight);
        EXPECT_FALSE(estimate.known) << count;
        EXPECT_EQ(estimate.lens.k(), 0) << count;
    }
}

TEST(LensModelTest, DotsOnALineTellNothing) {
    for (const auto& line : {dots(30, 1, 0.1), dots(1, 30, 0.1, 0), dots(30, 1, 0, 0)})
        EXPECT_FALSE(estimateLens(line, kWidth, kHeight).known);
    std::vector<SeenDot> same(20, SeenDot{{100, 100}, {50, 60}});
    EXPECT_FALSE(estimateLens(same, kWidth, kHeight).known);
}

TEST(LensModelTest, NonsenseTellsNothing) {
    auto wild = dots(8, 8, 0.03);
    std::mt19937 random(1);
    for (SeenDot& dot : wild)
        dot.seen = {static_cast<double>(random() % 640), static_cast<double>(random() % 480)};
    EXPECT_FALSE(estimateLens(wild, kWidth, kHeight).known);
    auto broken = dots(8, 8, 0.03);
    broken[5].seen.x = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(estimateLens(broken, kWidth, kHeight).known);
    broken[5].seen.x = HUGE_VAL;
    EXPECT_FALSE(estimateLens(broken, kWidth, kHeight).known);
    EXPECT_FALSE(estimateLens(dots(8, 8, 0.03), 0, 0).known);
    EXPECT_FALSE(estimateLens(dots(8, 8, 0.03), -4, 480).known);
}

} // namespace
} // namespace lightpen::webcam
