// SPDX-License-Identifier: MIT
// How far the spot that is found lies from where the pen's light was drawn.
#include <cmath>
#include <cstdio>

#include <gtest/gtest.h>

#include "kit/sight/DrawnPicture.h"
#include "webcam/sight/SpotFinder.h"

namespace lightpen::webcam {
namespace {

struct Light {
    double sigma; // pixels
    double peak;  // levels; above 255 it is overexposed
    int quality;  // of the compression; 0: none
};

struct Deviation {
    double x = 0; // rms, pixels
    double y = 0;
    int missed = 0;
};

constexpr int kPictures = 700;
constexpr int kQuiet = 20;

// A pen that wanders over all parts of pixels, in noise of two levels.
Deviation deviationOf(const Light& light) {
    std::mt19937 random(9);
    std::uniform_real_distribution<double> part(0, 1);
    SpotFinder finder;
    Deviation deviation;
    int seen = 0;
    for (int i = 0; i < kPictures; ++i) {
        DrawnPicture picture(160, 128);
        const double x = 70 + 12 * std::sin(i * 0.05) + part(random);
        const double y = 60 + 9 * std::cos(i * 0.045) + part(random);
        if (i >= kQuiet)
            picture.spot(x, y, light.sigma, light.peak);
        picture.noise(2, random);
        if (light.quality > 0)
            picture.compress(light.quality);
        const auto spot = finder.find(picture.view(), Microseconds(i * 16'667));
        if (i <= kQuiet)
            continue;
        if (!spot) {
            ++deviation.missed;
            continue;
        }
        ++seen;
        deviation.x += (spot->x - x) * (spot->x - x);
        deviation.y += (spot->y - y) * (spot->y - y);
    }
    deviation.x = std::sqrt(deviation.x / seen);
    deviation.y = std::sqrt(deviation.y / seen);
    return deviation;
}

void expectWithin(double limit, std::initializer_list<Light> lights) {
    for (const Light& light : lights) {
        const Deviation deviation = deviationOf(light);
        EXPECT_LT(deviation.x, limit) << light.sigma << " " << light.peak << " " << light.quality;
        EXPECT_LT(deviation.y, limit) << light.sigma << " " << light.peak << " " << light.quality;
        EXPECT_LE(deviation.missed, 7) << light.sigma << " " << light.peak << " " << light.quality;
        std::printf("sigma %.1f, peak %3.0f, quality %2d: %.3f and %.3f pixels rms, %d missed\n", light.sigma,
                    light.peak, light.quality, deviation.x, deviation.y, deviation.missed);
    }
}

TEST(SpotAccuracyTest, AnUncompressedPicture) {
    expectWithin(0.05, {{1.0, 200, 0}, {1.5, 200, 0}, {2.5, 200, 0}, {1.5, 600, 0}});
}

TEST(SpotAccuracyTest, ACompressedPicture) {
    expectWithin(0.05, {{1.5, 200, 80}, {2.0, 400, 80}});
}

TEST(SpotAccuracyTest, AFaintSpotInACompressedPicture) {
    expectWithin(0.2, {{1.2, 45, 80}, {1.8, 45, 80}});
}

} // namespace
} // namespace lightpen::webcam
