// SPDX-License-Identifier: MIT
#include "unit/room/ScreenSight.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <functional>

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

MATCHER_P3(IsNear, x, y, tolerance, "") {
    return std::abs(arg.x - x) <= tolerance && std::abs(arg.y - y) <= tolerance;
}
auto exactly(double x, double y) {
    return IsNear(x, y, 1e-9);
}

constexpr std::uint32_t kWhite = 0xFFFFFF;

// A screen to draw on, with bytes behind each row that are no pixels.
class ShownScreen {
public:
    ShownScreen(int width, int height, std::uint32_t background = 0)
        : width_(width), height_(height), bytes_(kStride(width) * static_cast<std::size_t>(height), 0xA5) {
        fill(0, 0, width, height, background);
    }
    // The half-open ranges of pixels.
    ShownScreen& fill(int left, int top, int right, int bottom, std::uint32_t colour) {
        for (int y = std::max(top, 0); y < std::min(bottom, height_); ++y)
            for (int x = std::max(left, 0); x < std::min(right, width_); ++x)
                set(x, y, colour);
        return *this;
    }
    // White where the function says so, with edges as a toolkit draws them: by how much of a pixel is
    // covered.
    ShownScreen& draw(const std::function<bool(double, double)>& covered) {
        constexpr int kParts = 8;
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x) {
                int count = 0;
                for (int part = 0; part < kParts * kParts; ++part)
                    count += covered(x + (part % kParts + 0.5) / kParts, y + (part / kParts + 0.5) / kParts);
                const auto grey = static_cast<std::uint32_t>(std::lround(255.0 * count / (kParts * kParts)));
                if (count > 0)
                    set(x, y, grey * 0x010101U);
            }
        return *this;
    }
    ScreenPicture picture() const { return {width_, height_, kStride(width_), bytes_, 1}; }

private:
    static std::size_t kStride(int width) { return static_cast<std::size_t>(width) * 4 + 12; }
    void set(int x, int y, std::uint32_t colour) {
        // What lies on top means nothing, and differs from pixel to pixel.
        const std::uint32_t pixel = colour | static_cast<std::uint32_t>(x * 7 + y * 3) << 24;
        std::memcpy(bytes_.data() + static_cast<std::size_t>(y) * kStride(width_) +
                        static_cast<std::size_t>(x) * 4,
                    &pixel, sizeof pixel);
    }

    int width_;
    int height_;
    std::vector<std::uint8_t> bytes_;
};

std::function<bool(double, double)> ringAndCross(double centreX, double centreY) {
    return [=](double x, double y) {
        const double dx = std::abs(x - centreX);
        const double dy = std::abs(y - centreY);
        const double radius = std::hypot(dx, dy);
        const bool cross = (dx < 1 && dy < 9) || (dy < 1 && dx < 9);
        return cross || (radius > 16 && radius < 20.5);
    };
}

// The camera

struct Lights {
    const char* name;
    ShownScreen screen;
    std::vector<ScreenPoint> blobs;
};

class LightsTest : public testing::TestWithParam<Lights> {};

TEST_P(LightsTest, AreTheBlobsOfADarkScreen) {
    const DisplayedPicture view = cameraView(GetParam().screen.picture());
    ASSERT_EQ(view.blobs.size(), GetParam().blobs.size());
    for (std::size_t i = 0; i < view.blobs.size(); ++i)
        EXPECT_THAT(view.blobs[i], exactly(GetParam().blobs[i].x, GetParam().blobs[i].y)) << i;
    EXPECT_TRUE(view.dark);
}

INSTANTIATE_TEST_SUITE_P(
    , LightsTest,
    testing::Values(
        Lights{"None", ShownScreen(700, 400), {}},
        Lights{"ASquare", ShownScreen(1280, 720).fill(160, 63, 180, 80, kWhite), {{170, 71.5}}},
        // It is half a pixel from its number.
        Lights{"APixel", ShownScreen(640, 360).fill(321, 7, 322, 8, kWhite), {{321.5, 7.5}}},
        // The faint edge lies in a cell of its own, which is too dark to be part of anything.
        Lights{"AFaintEdge",
               ShownScreen(320, 200).fill(160, 80, 168, 88, kWhite).fill(168, 80, 169, 88, 0x1A1A1A),
               {{(8 * 255 * 164.0 + 26 * 168.5) / (8 * 255 + 26), 84}}},
        Lights{"ADimBeginning",
               ShownScreen(320, 200).fill(160, 81, 168, 82, 0x404040).fill(160, 82, 168, 87, kWhite),
               {{164, (64 * 81.5 + 5 * 255 * 84.5) / (64 + 5 * 255)}}},
        Lights{"OnWhatIsNotQuiteBlack",
               ShownScreen(320, 200, 0x141414).fill(161, 83, 175, 90, kWhite),
               {{168, 86.5}}},
        Lights{"Apart",
               ShownScreen(640, 400)
                   .fill(500, 40, 512, 50, kWhite)
                   .fill(20, 300, 24, 310, kWhite)
                   .fill(530, 40, 536, 50, kWhite),
               {{506, 45}, {533, 45}, {22, 305}}},
        Lights{"CloseTogether",
               ShownScreen(640, 400).fill(500, 40, 510, 50, kWhite).fill(516, 40, 526, 50, kWhite),
               {{513, 45}}},
        Lights{"InCorners",
               ShownScreen(643, 405).fill(0, 0, 12, 9, kWhite).fill(641, 404, 643, 405, kWhite),
               {{6, 4.5}, {642, 404.5}}}),
    [](const auto& test) { return test.param.name; });

TEST(ScreenSightTest, AntiAliasedEdgesCountAsMuchAsTheyAreLit) {
    ShownScreen square(320, 200);
    square.draw([](double x, double y) { return x >= 160.25 && x < 180.25 && y >= 64.0 && y < 80.5; });
    EXPECT_THAT(cameraView(square.picture()).blobs, ElementsAre(IsNear(170.25, 72.25, 0.01)));

    ShownScreen target(320, 200);
    target.draw(ringAndCross(97.3, 60.7));
    EXPECT_THAT(cameraView(target.picture()).blobs, ElementsAre(IsNear(97.3, 60.7, 0.02)));
}

TEST(ScreenSightTest, WhatTheEdgeHidesIsNotSeen) {
    ShownScreen screen(320, 200);
    screen.draw([](double x, double y) { return x * x + (y - 100) * (y - 100) < 400; });
    // Half a disc: 4 r / (3 pi) from its middle.
    EXPECT_THAT(cameraView(screen.picture()).blobs, ElementsAre(IsNear(80 / (3 * 3.14159265), 100, 0.02)));
}

TEST(ScreenSightTest, ALargeLightIsNoBlobAndTheRestIsNotDark) {
    const ShownScreen white(640, 400, kWhite);
    EXPECT_THAT(cameraView(white.picture()).blobs, IsEmpty());
    EXPECT_FALSE(cameraView(white.picture()).dark);

    const ShownScreen half =
        ShownScreen(640, 400).fill(320, 0, 640, 400, kWhite).fill(50, 60, 60, 64, kWhite);
    EXPECT_THAT(cameraView(half.picture()).blobs, ElementsAre(exactly(55, 62)));
    EXPECT_FALSE(cameraView(half.picture()).dark);

    const ShownScreen line = ShownScreen(640, 400).fill(100, 200, 300, 201, kWhite);
    EXPECT_THAT(cameraView(line.picture()).blobs, IsEmpty());
    EXPECT_FALSE(cameraView(line.picture()).dark);
}

TEST(ScreenSightTest, ADimLightIsNoBlobAndTheRestIsNotDark) {
    const ShownScreen screen =
        ShownScreen(640, 400).fill(100, 200, 110, 210, 0x404040).fill(300, 200, 310, 210, 0xC0C0C0);
    EXPECT_THAT(cameraView(screen.picture()).blobs, ElementsAre(exactly(305, 205)));
    EXPECT_FALSE(cameraView(screen.picture()).dark);
    EXPECT_FALSE(cameraView(ShownScreen(640, 400, 0x303030).picture()).dark);
}

TEST(ScreenSightTest, ColoursCountByTheirLight) {
    const auto blobs = [](std::uint32_t colour) {
        return cameraView(ShownScreen(640, 400).fill(300, 200, 310, 210, colour).picture()).blobs.size();
    };
    EXPECT_EQ(blobs(0x00FF00), 1U);
    EXPECT_EQ(blobs(0x0000FF), 0U);
    EXPECT_EQ(blobs(0xFF0000), 0U);
    EXPECT_EQ(blobs(0xFFFF00), 1U);
}

TEST(ScreenSightTest, PlacesAreInPoints) {
    ShownScreen screen(640, 400);
    screen.draw(ringAndCross(450, 150)).fill(550, 350, 560, 366, kWhite).fill(574, 350, 584, 366, kWhite);
    ScreenPicture picture = screen.picture();
    picture.pointsPerPixel = 0.5;
    // Here the eye's cells are 16 pixels wide, so the two rectangles are one thing.
    EXPECT_THAT(cameraView(picture).blobs, ElementsAre(IsNear(225, 75, 0.01), exactly(283.5, 179)));
}

TEST(ScreenSightTest, PicturesWithoutPixelsShowNothing) {
    const std::vector<std::uint8_t> bytes(40, 0xFF);
    for (const ScreenPicture& picture :
         {ScreenPicture{}, ScreenPicture{0, 4, 16, bytes, 1}, ScreenPicture{4, 0, 16, bytes, 1},
          ScreenPicture{-4, -3, 16, bytes, 1}, ScreenPicture{11, 2, 44, bytes, 1}}) {
        EXPECT_THAT(cameraView(picture).blobs, IsEmpty());
        EXPECT_TRUE(cameraView(picture).dark);
        EXPECT_EQ(targetSeen(picture), std::nullopt);
    }
}

TEST(ScreenSightTest, RowsThatAreNotThereAreNotRead) {
    // Three rows are promised, and the third is not whole.
    const std::vector<std::uint8_t> bytes(2 * 40 + 39, 0xFF);
    EXPECT_FALSE(cameraView({10, 3, 40, bytes, 1}).dark);
    const std::vector<std::uint8_t> one(40, 0xFF);
    EXPECT_FALSE(cameraView({10, 3, 0, one, 1}).dark);
}

TEST(ScreenSightTest, ASinglePixelIsTheWholeScreenAndNoBlob) {
    const ShownScreen lit(1, 1, kWhite);
    EXPECT_THAT(cameraView(lit.picture()).blobs, IsEmpty());
    EXPECT_FALSE(cameraView(lit.picture()).dark);
    EXPECT_TRUE(cameraView(ShownScreen(1, 1).picture()).dark);
    EXPECT_EQ(targetSeen(lit.picture()), std::nullopt);
}

// A person

TEST(ScreenSightTest, APersonPointsAtTheMiddleOfTheOnlyThing) {
    for (const std::uint32_t background : {0xFFFFFFU, 0x000000U, 0x2040C0U, 0x808080U})
        EXPECT_EQ(targetSeen(ShownScreen(1280, 720, background).fill(160, 63, 180, 80, 0xE01020).picture()),
                  (ScreenPoint{170, 71.5}))
            << background;
}

TEST(ScreenSightTest, TheBackgroundIsWhatThereIsMostOf) {
    EXPECT_EQ(targetSeen(ShownScreen(640, 400, kWhite).fill(0, 0, 12, 8, 0).picture()), (ScreenPoint{6, 4}));
    EXPECT_EQ(targetSeen(ShownScreen(640, 400, kWhite).fill(620, 380, 640, 400, 0).picture()),
              (ScreenPoint{630, 390}));
}

TEST(ScreenSightTest, APersonFindsATargetOfManyParts) {
    ShownScreen screen(640, 400, kWhite);
    screen.fill(300, 100, 320, 120, 0x00FF00).fill(302, 102, 318, 118, kWhite);
    screen.fill(309, 105, 311, 116, 0).fill(305, 109, 316, 111, 0);
    const auto seen = targetSeen(screen.picture());
    ASSERT_TRUE(seen);
    EXPECT_NEAR(seen->x, 310, 0.1);
    EXPECT_NEAR(seen->y, 110, 0.1);
}

TEST(ScreenSightTest, APersonFindsNothingOnAPlainScreen) {
    EXPECT_EQ(targetSeen(ShownScreen(640, 400, kWhite).picture()), std::nullopt);
    EXPECT_EQ(targetSeen(ShownScreen(640, 400, 0xF8F8F8).fill(9, 9, 19, 19, kWhite).picture()), std::nullopt);
}

TEST(ScreenSightTest, APersonDoesNotChooseAmongSeveralThings) {
    EXPECT_EQ(
        targetSeen(ShownScreen(640, 400, kWhite).fill(9, 9, 19, 19, 0).fill(400, 9, 410, 19, 0).picture()),
        std::nullopt);
}

TEST(ScreenSightTest, APersonDoesNotTakeALabelForTheTarget) {
    const auto labelled = [](int width, int height) {
        return ShownScreen(1280, 720, kWhite).fill(560, 680, 560 + width, 680 + height, 0xD6D6D6);
    };
    for (const int width : {72, 160, 480}) {
        ShownScreen screen = labelled(width, 24);
        EXPECT_EQ(targetSeen(screen.picture()), std::nullopt) << width;
        EXPECT_EQ(targetSeen(screen.fill(160, 63, 180, 80, 0xE01020).picture()), (ScreenPoint{170, 71.5}))
            << width;
    }
    EXPECT_TRUE(targetSeen(labelled(64, 24).picture())) << "it is not flat enough";
    EXPECT_TRUE(targetSeen(labelled(24, 24).picture()));
}

TEST(ScreenSightTest, APersonSeesNoTargetOnADesktop) {
    const ShownScreen window = ShownScreen(640, 400, 0x335577).fill(100, 50, 400, 300, kWhite);
    EXPECT_EQ(targetSeen(window.picture()), std::nullopt);
    const ShownScreen panel =
        ShownScreen(640, 400, kWhite).fill(0, 380, 640, 400, 0x202020).fill(40, 40, 60, 60, 0);
    EXPECT_EQ(targetSeen(panel.picture()), std::nullopt);
    ShownScreen wallpaper(640, 400);
    for (int y = 0; y < 400; ++y)
        wallpaper.fill(0, y, 640, y + 1, static_cast<std::uint32_t>(y / 2 * 0x010101 + y));
    EXPECT_EQ(targetSeen(wallpaper.picture()), std::nullopt);
}

TEST(ScreenSightTest, APersonPointsAtWhatIsLeftOfAHiddenTarget) {
    EXPECT_EQ(targetSeen(ShownScreen(640, 400, kWhite).fill(-10, 395, 10, 415, 0).picture()),
              (ScreenPoint{5, 397.5}));
}

} // namespace
} // namespace lightpen
