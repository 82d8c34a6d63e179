// SPDX-License-Identifier: MIT
#include "kernel/room/RoomView.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

#include "kernel/room/BrightPlace.h"
#include "kernel/room/VideoStream.h"

namespace lightpen {
namespace {

constexpr Size kScreen{320, 180};
constexpr PictureSize kSmall{640, 480};

// A screen in memory, in one colour each time it is filled.
struct Screen {
    std::vector<std::uint32_t> pixels = std::vector<std::uint32_t>(320 * 180);

    // The half-open rectangle.
    void fill(int left, int top, int right, int bottom, std::uint32_t colour) {
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x)
                pixels[static_cast<std::size_t>(y * 320 + x)] = colour;
    }
    ScreenPicture picture() const {
        return {
            320,
            180,
            320 * sizeof(std::uint32_t),
            {reinterpret_cast<const std::uint8_t*>(pixels.data()), pixels.size() * sizeof(std::uint32_t)}};
    }
};

struct RoomViewTest : testing::TestWithParam<PictureSize> {
    std::vector<std::uint8_t> drawn(std::optional<ScreenPoint> pen = std::nullopt) {
        std::vector<std::uint8_t> grey(static_cast<std::size_t>(view.size().width) *
                                       static_cast<std::size_t>(view.size().height));
        view.draw(pen, grey);
        return grey;
    }
    // How far what is bright lies from where it belongs, in pixels.
    double offBy(const std::vector<std::uint8_t>& grey, PicturePoint expected) const {
        const auto found = brightPlace(grey, view.size());
        return found ? std::hypot(found->x - expected.x, found->y - expected.y) : 1e9;
    }
    std::uint8_t at(const std::vector<std::uint8_t>& grey, ScreenPoint point) const {
        const PicturePoint seen = view.place(point);
        return grey[static_cast<std::size_t>(static_cast<int>(seen.y) * view.size().width +
                                             static_cast<int>(seen.x))];
    }

    RoomView view{GetParam(), kScreen, Optics::strongKeystone(kScreen)};
    Screen screen;
};

TEST_P(RoomViewTest, ThePensLightIsWhereTheOpticsSay) {
    for (const ScreenPoint place : {ScreenPoint{3.25, 5.5}, {160.1, 80.9}, {311.7, 14}, {20, 171.3}})
        EXPECT_LT(offBy(drawn(place), view.place(place)), 0.1) << NSStringFromPoint(place);
}

TEST_P(RoomViewTest, WhatTheProjectorShowsIsWhereTheOpticsSay) {
    screen.fill(100, 60, 124, 80, 0xFFFFFF);
    view.show(screen.picture());
    // A projected square's middle is a little off the middle's projection, and its edges fall between pixels.
    const double little = view.size().width / 1280.0;
    EXPECT_LT(offBy(drawn(), view.place({112, 70})), little);
    screen.fill(100, 60, 124, 80, 0);
    screen.fill(250, 150, 270, 166, 0xFFFF00);
    view.show(screen.picture());
    EXPECT_LT(offBy(drawn(), view.place({260, 158})), little);
    screen.fill(250, 150, 270, 166, 0);
    view.show(screen.picture());
    EXPECT_LT(std::ranges::max(drawn()), 30) << "what was shown before has left a trace";
}

TEST_P(RoomViewTest, AFilmLeavesThePenAlone) {
    screen.fill(0, 0, 320, 180, 0xFFFFFF);
    view.show(screen.picture());
    EXPECT_NEAR(at(drawn(), {40, 40}), 200, 14);
    RoomLight light;
    light.screen = 20;
    view.setLight(light);
    const auto grey = drawn(ScreenPoint{200, 90});
    EXPECT_NEAR(at(grey, {40, 40}), 20, 14);
    EXPECT_LT(offBy(grey, view.place({200, 90})), 0.1);
}

TEST_P(RoomViewTest, NoiseIsAsStrongAsToldAndNeverTheSame) {
    for (const double sigma : {0.5, 2.0, 4.0}) {
        RoomLight light;
        light.noise = sigma;
        light.dark = 20;
        view.setLight(light);
        const auto one = drawn();
        const auto other = drawn();
        double sum = 0;
        double squares = 0;
        std::size_t same = 0;
        for (std::size_t i = 0; i < one.size(); ++i) {
            sum += one[i];
            squares += (one[i] - 20.0) * (one[i] - 20.0);
            same += one[i] == other[i] ? 1 : 0;
        }
        const double count = static_cast<double>(one.size());
        EXPECT_NEAR(sum / count, 20, 0.6);
        EXPECT_NEAR(std::sqrt(squares / count), sigma, 0.3 + 0.1 * sigma);
        EXPECT_LT(static_cast<double>(same) / count, 0.7);
    }
}

TEST_P(RoomViewTest, ALampShinesBesideThePen) {
    RoomLight light;
    light.lamp = CameraPoint{2420, 120};
    view.setLight(light);
    const auto grey = drawn();
    EXPECT_LT(offBy(grey, view.inPicture({2420, 120})), 0.3);
    const auto both = drawn(ScreenPoint{10, 10});
    EXPECT_GT(at(both, {10, 10}), 230);
}

TEST_P(RoomViewTest, NothingBrightOverflows) {
    screen.fill(0, 0, 320, 180, 0xFFFFFF);
    view.show(screen.picture());
    RoomLight light;
    light.screen = 255;
    light.noise = 4;
    view.setLight(light);
    const auto grey = drawn(ScreenPoint{160, 90});
    EXPECT_EQ(at(grey, {160, 90}), 255);
    // Only the picture's own bright pixels count, which are all of the screen's.
    EXPECT_GT(at(grey, {80, 40}), 220);
    EXPECT_GT(at(grey, {240, 120}), 220);
}

TEST_P(RoomViewTest, APictureOfAnotherScreenShowsNothing) {
    const std::vector<std::uint32_t> white(16, 0xFFFFFF);
    view.show({4, 4, 16, {reinterpret_cast<const std::uint8_t*>(white.data()), 64}});
    EXPECT_LT(std::ranges::max(drawn()), 30);
}

TEST(PixelKindTest, GreyLevelsComeBackFromEachKind) {
    std::vector<std::uint8_t> grey(23);
    for (std::size_t i = 0; i < grey.size(); ++i)
        grey[i] = static_cast<std::uint8_t>(11 * i + 3);
    for (const PixelKind kind : {PixelKind::grey, PixelKind::yuyv}) {
        std::vector<std::uint8_t> bytes(grey.size() * (kind == PixelKind::yuyv ? 2 : 1));
        fromGrey(grey, kind, bytes);
        for (std::size_t i = 0; i < bytes.size() && kind == PixelKind::yuyv; ++i)
            EXPECT_EQ(bytes[i], i % 2 == 0 ? grey[i / 2] : 128) << i;
        std::vector<std::uint8_t> back(grey.size());
        greyOf(bytes, kind, back);
        EXPECT_EQ(back, grey);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, RoomViewTest,
                         testing::Values(kSmall, PictureSize{1280, 720}, PictureSize{1920, 1080}));

} // namespace
} // namespace lightpen
