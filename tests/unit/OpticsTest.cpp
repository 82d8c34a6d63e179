// SPDX-License-Identifier: MIT
#include "unit/room/Optics.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>

namespace lightpen {
namespace {

using namespace std::chrono_literals;

constexpr Size kScreen{1280, 800};

void expectNear(CameraPoint expected, CameraPoint found) {
    EXPECT_NEAR(expected.x, found.x, 1e-6);
    EXPECT_NEAR(expected.y, found.y, 1e-6);
}

TEST(OpticsTest, AStraightCameraScalesAndShifts) {
    const Optics optics = Optics::straight(kScreen);
    expectNear({380, 330}, optics.project({0, 0}));
    expectNear({2180, 1590}, optics.project({1280, 800}));
    expectNear({380 + 1800.0 / 4, 330 + 1260.0 / 8}, optics.project({320, 100}));
}

TEST(OpticsTest, CornersAreSeenWhereTheyAreSaidToBe) {
    const auto optics = Optics::fromCorners(kScreen, {{100, 200}, {2400, 150}, {2200, 1800}, {300, 1700}});
    ASSERT_TRUE(optics);
    expectNear({100, 200}, optics->project({0, 0}));
    expectNear({2400, 150}, optics->project({1280, 0}));
    expectNear({2200, 1800}, optics->project({1280, 800}));
    expectNear({300, 1700}, optics->project({0, 800}));
}

TEST(OpticsTest, ImpossibleCornersAreRefused) {
    EXPECT_FALSE(Optics::fromCorners(kScreen, {{0, 0}, {10, 10}, {20, 20}, {5, 90}}));
    EXPECT_FALSE(Optics::fromCorners({0, 800}, {{100, 200}, {2400, 150}, {2200, 1800}, {300, 1700}}));
}

TEST(OpticsTest, EveryPresetSeesTheWholeScreenAndAMarginAround) {
    for (const Optics& optics :
         {Optics::straight(kScreen), Optics::strongKeystone(kScreen), Optics::rotated(kScreen)})
        for (double x = -100; x <= kScreen.width + 100; x += 20)
            for (double y = -60; y <= kScreen.height + 60; y += 20) {
                const auto seen = optics.see({x, y}, 0s);
                ASSERT_TRUE(seen) << x << ", " << y;
                EXPECT_TRUE(seen->x >= 1 && seen->x <= 2559 && seen->y >= 0 && seen->y <= 1920)
                    << x << ", " << y;
            }
}

TEST(OpticsTest, ABarrelDrawsTowardsTheMiddleAndBackAgain) {
    Optics optics = Optics::strongKeystone(kScreen);
    const Optics straight = optics;
    optics.setBarrel(0.03);
    for (const ScreenPoint place : {ScreenPoint{0, 0}, {1280, 30}, {1200, 800}, {431, 257}}) {
        const CameraPoint exact = straight.project(place);
        const CameraPoint seen = optics.project(place);
        const double from = std::hypot(exact.x - 1280, exact.y - 960);
        EXPECT_NEAR(std::hypot(seen.x - 1280, seen.y - 960), from * (1 - 0.03 * from * from / 1600 / 1600),
                    1e-6);
        EXPECT_NEAR((seen.x - 1280) * (exact.y - 960), (seen.y - 960) * (exact.x - 1280), 1e-6);
        const ScreenPoint back = optics.unproject(seen);
        EXPECT_NEAR(back.x, place.x, 1e-6);
        EXPECT_NEAR(back.y, place.y, 1e-6);
        expectNear(seen, *optics.see(place, 0s));
    }
    optics.setBarrel(-1);
    EXPECT_EQ(optics.project({0, 0}), straight.project({0, 0}));
}

double length(const Optics& optics, ScreenPoint from, ScreenPoint to) {
    const CameraPoint a = optics.project(from);
    const CameraPoint b = optics.project(to);
    return std::hypot(b.x - a.x, b.y - a.y);
}

TEST(OpticsTest, ARotationTurnsAndDoesNothingElse) {
    for (const Size screen : {kScreen, Size{1920, 1080}, Size{600, 1024}}) {
        const Optics optics = Optics::rotated(screen);
        expectNear({1280, 960}, optics.project({screen.width / 2, screen.height / 2}));
        const double scale = length(optics, {0, 0}, {1, 0});
        EXPECT_NEAR(scale * 300, length(optics, {17, 400}, {317, 400}), 1e-6);
        EXPECT_NEAR(scale * 500, length(optics, {100, 550}, {400, 150}), 1e-6);
        const CameraPoint origin = optics.project({0, 0});
        const CameraPoint along = optics.project({100, 0});
        EXPECT_NEAR(15, std::atan2(along.y - origin.y, along.x - origin.x) * 57.29577951308232, 1e-9);
        const CameraPoint down = optics.project({0, 100});
        EXPECT_NEAR(105, std::atan2(down.y - origin.y, down.x - origin.x) * 57.29577951308232, 1e-9);
    }
}

TEST(OpticsTest, EveryPresetFillsHalfOfTheCamerasWidth) {
    constexpr Size kWide{1920, 1080};
    for (const Optics& optics :
         {Optics::straight(kWide), Optics::strongKeystone(kWide), Optics::rotated(kWide)})
        for (const double y : {0.0, 540.0, 1080.0})
            EXPECT_GE(length(optics, {0, y}, {1920, y}), 1280) << y;
}

TEST(OpticsTest, APresetWithoutAScreenIsOneForASmallOne) {
    for (const Size none : {Size{0, 0}, Size{0, 5}, Size{7, -1}}) {
        expectNear({1280, 960}, Optics::rotated(none).project({0.5, 0.5}));
        expectNear({1280, 960}, Optics::straight(none).project({0.5, 0.5}));
    }
}

TEST(OpticsTest, UnprojectIsTheWayBack) {
    for (const Optics& optics :
         {Optics::straight(kScreen), Optics::strongKeystone(kScreen), Optics::rotated(kScreen)}) {
        const ScreenPoint back = optics.unproject(optics.project({777.25, 31.5}));
        EXPECT_NEAR(777.25, back.x, 1e-9);
        EXPECT_NEAR(31.5, back.y, 1e-9);
    }
}

TEST(OpticsTest, WhatIsBeyondTheLensIsNotSeen) {
    const Optics optics = Optics::straight(kScreen); // 1.40625 camera units a point across
    EXPECT_TRUE(optics.see({(-319.0 - 380) / 1.40625, 400}, 0s));
    EXPECT_FALSE(optics.see({(-321.0 - 380) / 1.40625, 400}, 0s));
    EXPECT_FALSE(optics.see({640, 5000}, 0s));
    EXPECT_FALSE(optics.see({std::nan(""), 400}, 0s));
}

TEST(OpticsTest, WhatIsBehindTheCameraIsNotSeen) {
    // The depth is 1 at the left side, 1/2 at the right one, so the horizon is at 200; what lies beyond it
    // comes out at a place in the camera's view, but upside down.
    const auto optics =
        Optics::fromCorners({100, 100}, {{1000, 900}, {1200, 800}, {1200, 1200}, {1000, 1100}});
    ASSERT_TRUE(optics);
    expectNear({400.0 / 3, 1000}, optics->project({260, 50}));
    EXPECT_FALSE(optics->see({260, 50}, 0s));
    EXPECT_TRUE(optics->see({50, 50}, 0s));
}

TEST(OpticsTest, NoiseIsReproducibleAndOfItsSize) {
    Optics optics = Optics::straight(kScreen);
    optics.setNoise(2.0, 7);
    const CameraPoint exact = optics.project({640, 400});
    EXPECT_EQ(*optics.see({640, 400}, 8ms), *optics.see({640, 400}, 8ms));
    EXPECT_NE(*optics.see({640, 400}, 8ms), *optics.see({640, 400}, 16ms));
    Optics other = optics;
    other.setNoise(2.0, 8);
    EXPECT_NE(*optics.see({640, 400}, 8ms), *other.see({640, 400}, 8ms));

    double sum = 0;
    double squares = 0;
    constexpr int kLooks = 4000;
    for (int look = 0; look < kLooks; ++look) {
        const auto seen = optics.see({640, 400}, look * 8ms);
        sum += seen->x - exact.x + seen->y - exact.y;
        squares += std::pow(seen->x - exact.x, 2) + std::pow(seen->y - exact.y, 2);
    }
    EXPECT_NEAR(0, sum / (2 * kLooks), 0.1);
    EXPECT_NEAR(4, squares / (2 * kLooks), 0.3);
}

} // namespace
} // namespace lightpen
