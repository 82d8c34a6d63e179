// SPDX-License-Identifier: MIT
#include "webcam/sight/SpotFinder.h"

#include <cmath>
#include <limits>

#include <gmock/gmock.h>

#include "kit/sight/DrawnPicture.h"

namespace lightpen::webcam {
namespace {

using testing::Eq;
using testing::Field;
using testing::Optional;
using namespace std::chrono_literals;

constexpr int kWidth = 640;
constexpr int kHeight = 480;
constexpr Microseconds kPicture{16'667};

// A finder that has seen the room, and a clock of 60 pictures a second.
class SpotFinderTest : public testing::Test {
protected:
    SpotFinderTest() { showQuiet(12); }

    std::optional<Spot> show(const DrawnPicture& picture, Microseconds after = kPicture) {
        return finder_.find(picture.view(), now_ += after);
    }
    void showQuiet(int pictures) {
        for (int i = 0; i < pictures; ++i)
            EXPECT_THAT(show(quiet()), Eq(std::nullopt));
    }
    DrawnPicture quiet() { return DrawnPicture(kWidth, kHeight, 20).noise(2, random_); }
    DrawnPicture pen(double x, double y, double peak = 220) {
        return DrawnPicture(kWidth, kHeight, 20).spot(x, y, 1.6, peak).noise(2, random_);
    }
    std::optional<Spot> showPen(double x, double y, double peak = 220) { return show(pen(x, y, peak)); }
    // The pen at a height of 200, and another light beside it.
    std::optional<Spot> showTwo(double x, double peak, double otherPeak) {
        return show(DrawnPicture(kWidth, kHeight)
                        .spot(x, 200, 1.6, peak)
                        .spot(x + 40, 235, 1.6, otherPeak)
                        .noise(2, random_));
    }

    SpotFinder finder_;
    Microseconds now_{1s};
    std::mt19937 random_{1};
};

MATCHER_P2(At, x, y, "") {
    return arg && std::hypot(arg->x - x, arg->y - y) < 0.15;
}

TEST_F(SpotFinderTest, FindsAPenAtOnceWithItsPlaceSizeAndBrightness) {
    const auto spot = showPen(301.3, 117.8);
    ASSERT_THAT(spot, At(301.3, 117.8));
    EXPECT_NEAR(spot->size, 1.6 * 2.355, 0.7);
    EXPECT_NEAR(spot->peak, 215, 12);
    EXPECT_TRUE(finder_.penDown());
}

TEST_F(SpotFinderTest, FollowsAStrokeAcrossThePicture) {
    for (int i = 0; i < 55; ++i)
        ASSERT_THAT(showPen(30.25 + 10.5 * i, 440.5 - 7.25 * i), At(30.25 + 10.5 * i, 440.5 - 7.25 * i)) << i;
}

TEST_F(SpotFinderTest, FollowsAHandThatIsFasterThanItsWindow) {
    double x = 20;
    for (int i = 0; i < 10; x += 6.0 * ++i)
        ASSERT_THAT(showPen(x, 200), At(x, 200)) << i;
}

TEST_F(SpotFinderTest, TheMiddleOfALineThatAMovingPenDrawsIsItsPlace) {
    showPen(200, 200);
    for (int i = 1; i < 6; ++i) {
        const double x = 200 + 30 * i;
        const double y = 200 + 12 * i;
        const auto spot =
            show(DrawnPicture(kWidth, kHeight).streak(x - 14, y - 5.6, x + 14, y + 5.6, 1.6, 180));
        ASSERT_TRUE(spot) << i;
        EXPECT_NEAR(spot->x, x, 0.1) << i;
        EXPECT_NEAR(spot->y, y, 0.1) << i;
    }
}

TEST_F(SpotFinderTest, OneDarkPictureIsNoLiftedPenTwoAre) {
    showPen(100, 100);
    EXPECT_THAT(show(quiet()), Eq(std::nullopt));
    EXPECT_TRUE(finder_.penDown());
    EXPECT_THAT(showPen(104, 101), At(104, 101));
    show(quiet());
    EXPECT_TRUE(finder_.penDown());
    show(quiet());
    EXPECT_FALSE(finder_.penDown());
}

TEST_F(SpotFinderTest, ThePenIsUpWhenNoPictureComes) {
    showPen(100, 100);
    EXPECT_TRUE(finder_.penDown(now_ + 40ms));
    EXPECT_FALSE(finder_.penDown(now_ + 40ms + 1us));
    EXPECT_THAT(show(quiet(), 41ms), Eq(std::nullopt));
    EXPECT_FALSE(finder_.penDown());
}

TEST_F(SpotFinderTest, ThirtyPicturesASecondAreEnough) {
    for (int i = 0; i < 10; ++i) {
        EXPECT_THAT(show(pen(100 + 20 * i, 300), 33'333us), At(100 + 20 * i, 300));
        EXPECT_TRUE(finder_.penDown());
    }
}

TEST_F(SpotFinderTest, FindsThePenAgainWithinTwoPictures) {
    showPen(100, 100);
    showQuiet(2);
    EXPECT_THAT(showPen(560, 400), At(560, 400));
    showQuiet(5);
    EXPECT_THAT(showPen(50, 430), At(50, 430));
}

TEST_F(SpotFinderTest, ASpotThatJumpsAcrossThePictureIsAnotherTouch) {
    showPen(100, 100);
    EXPECT_THAT(showPen(500, 300), Eq(std::nullopt));
    EXPECT_FALSE(finder_.penDown());
    EXPECT_THAT(showPen(500, 300), At(500, 300));
    EXPECT_TRUE(finder_.penDown());
}

TEST_F(SpotFinderTest, AFaintSpotHasToBeSeenTwice) {
    EXPECT_THAT(showPen(200, 100, 50), Eq(std::nullopt));
    EXPECT_FALSE(finder_.penDown());
    EXPECT_TRUE(showPen(201, 100, 50));
    EXPECT_TRUE(finder_.penDown());
}

TEST_F(SpotFinderTest, TheThresholdDecidesHowFaintASpotMayBe) {
    finder_.setThreshold(80);
    for (int i = 0; i < 5; ++i)
        EXPECT_THAT(showPen(200, 100, 60), Eq(std::nullopt));
    finder_.setThreshold(20);
    showQuiet(60);
    showPen(300, 100, 60);
    EXPECT_TRUE(showPen(301, 100, 60));
}

TEST_F(SpotFinderTest, AnyThresholdIsBroughtIntoItsRange) {
    for (const int level : {std::numeric_limits<int>::min(), -1, 0, 256, std::numeric_limits<int>::max()}) {
        finder_.setThreshold(level);
        show(pen(320, 240));
    }
    EXPECT_THAT(levelOfThreshold(512), Eq(SpotFinder::kUsualLevel));
    EXPECT_THAT(levelOfThreshold(0), Eq(8));
    EXPECT_THAT(levelOfThreshold(1024), Eq(64));
    EXPECT_THAT(levelOfThreshold(65535), Eq(128));
}

TEST_F(SpotFinderTest, OfAPenAndItsReflectionTheBrighterIsThePen) {
    for (int i = 0; i < 20; ++i)
        ASSERT_THAT(showTwo(200 + 3 * i, 220, 70), At(200 + 3 * i, 200)) << i;
}

TEST_F(SpotFinderTest, OfTwoEqualSpotsNoneIsThePenUnlessItWasThereBefore) {
    for (int i = 0; i < 20; ++i)
        ASSERT_THAT(showTwo(200, 200, 200), Eq(std::nullopt)) << i;
    showQuiet(150);
    showPen(300, 200);
    for (int i = 0; i < 20; ++i)
        ASSERT_THAT(showTwo(300 + i, 200, 200), At(300 + i, 200)) << i;
}

TEST_F(SpotFinderTest, ASlideThatChangesUnderThePenDoesNotLiftIt) {
    showPen(300, 200);
    for (int i = 0; i < 20; ++i)
        ASSERT_THAT(show(DrawnPicture(kWidth, kHeight, 20)
                             .rectangle(100, 100, 400, 300, i % 2 == 0 ? 120 : 60)
                             .rectangle(250, 180, 40, 6, 90)
                             .spot(300 + i, 220, 1.6, 220)
                             .noise(2, random_)),
                    At(300 + i, 220))
            << i;
}

TEST_F(SpotFinderTest, ThePenIsFoundOnASlideThatIsBright) {
    const auto slide = [&] {
        return DrawnPicture(kWidth, kHeight)
            .rectangle(100, 100, 400, 300, 150)
            .rectangle(150, 200, 80, 10, 40);
    };
    for (int i = 0; i < 60; ++i)
        EXPECT_THAT(show(slide().noise(2, random_)), Eq(std::nullopt));
    EXPECT_THAT(show(slide().spot(300.4, 300.2, 1.6, 200).noise(2, random_)), At(300.4, 300.2));
    const auto onLetter = slide().spot(229, 205, 1.6, 200).noise(2, random_);
    show(onLetter);
    EXPECT_THAT(show(onLetter), At(229, 205));
}

// The sensor has little room for it beside the letter, and none of that makes it the lesser light.
TEST_F(SpotFinderTest, APenBesideABrightLetterIsStillTheBrighterLight) {
    const auto slide = [&] { return DrawnPicture(kWidth, kHeight, 20).rectangle(150, 200, 8, 60, 200); };
    for (int i = 0; i < 60; ++i)
        EXPECT_THAT(show(slide().noise(2, random_)), Eq(std::nullopt));
    const auto pen = [&] {
        return slide().spot(164, 230, 1.6, 230).spot(204, 230, 1.6, 120).noise(2, random_);
    };
    EXPECT_THAT(show(pen()), At(164, 230));
    EXPECT_THAT(show(pen()), At(164, 230));
}

// A highlight of the new slide is where the pen was.
TEST_F(SpotFinderTest, APenThatIsLiftedWhileTheSlideChangesIsUpSoon) {
    for (int i = 0; i < 10; ++i)
        showPen(300 + i, 200);
    ASSERT_TRUE(finder_.penDown());
    for (int i = 0; i < 3; ++i)
        show(DrawnPicture(kWidth, kHeight, 60)
                 .rectangle(280, 170, 90, 12, 90)
                 .rectangle(308, 198, 5, 5, 140)
                 .noise(2, random_));
    EXPECT_FALSE(finder_.penDown());
}

TEST_F(SpotFinderTest, ALampThatStaysIsAPenForNoLongerThanTwentySeconds) {
    int pictures = 0;
    while (finder_.penDown() || pictures == 0) {
        show(pen(400, 300), 40ms);
        ASSERT_THAT(++pictures, testing::Lt(510));
    }
    EXPECT_THAT(pictures, testing::Gt(490));
    for (int i = 0; i < 100; ++i)
        ASSERT_THAT(showPen(400, 300), Eq(std::nullopt));
    // A pen elsewhere is found beside it.
    EXPECT_THAT(show(pen(400, 300).spot(100, 100, 1.6, 220)), At(100, 100));
}

TEST_F(SpotFinderTest, AHandThatHoldsThePenIsNoLamp) {
    for (int i = 0; i < 600; ++i)
        ASSERT_TRUE(show(pen(400 + 0.8 * std::sin(i * 0.01), 300), 40ms)) << i;
}

TEST_F(SpotFinderTest, WhatIsThereFromTheStartIsNoPenUntilItMoves) {
    finder_.forget();
    for (int i = 0; i < 30; ++i)
        EXPECT_THAT(showPen(400, 300), Eq(std::nullopt));
    EXPECT_THAT(showPen(430, 300), At(430, 300));
}

// Until it has left its place it is told from itself.
TEST_F(SpotFinderTest, WhatIsThereFromTheStartIsNearlyRightAsSoonAsItCreeps) {
    finder_.forget();
    for (int i = 0; i < 30; ++i)
        EXPECT_THAT(showPen(404, 300), Eq(std::nullopt));
    for (int i = 1; i <= 30; ++i) {
        const auto spot = showPen(404 - i, 300);
        if (!spot)
            continue;
        EXPECT_NEAR(spot->x, 404 - i, 2.5) << i;
        if (i > 12) {
            EXPECT_THAT(spot, At(404 - i, 300)) << i;
        }
    }
    EXPECT_TRUE(finder_.penDown());
}

TEST_F(SpotFinderTest, ASpotOfWhichTheMiddleIsCutOffIsNone) {
    EXPECT_THAT(showPen(0, 200), Eq(std::nullopt));
    EXPECT_THAT(showPen(kWidth - 1, 200), Eq(std::nullopt));
    EXPECT_THAT(showPen(300, -0.4), Eq(std::nullopt));
    EXPECT_THAT(showPen(300, kHeight - 1), Eq(std::nullopt));
    EXPECT_FALSE(finder_.penDown());
    showQuiet(150);
    const auto spot = showPen(3, 200);
    ASSERT_TRUE(spot);
    EXPECT_NEAR(spot->x, 3, 0.15);
}

TEST_F(SpotFinderTest, ALargeLightIsNoPen) {
    for (const double radius : {9.0, 14.0, 30.0, 100.0})
        for (int i = 0; i < 10; ++i)
            ASSERT_THAT(
                show(DrawnPicture(kWidth, kHeight).disc(200 + 5 * i, 200, radius, 255).noise(2, random_)),
                Eq(std::nullopt))
                << radius;
    EXPECT_FALSE(finder_.penDown());
}

TEST_F(SpotFinderTest, ASignalThatIsLostInAStrokeLiftsThePen) {
    showPen(300, 200);
    for (int i = 0; i < 100; ++i)
        EXPECT_THAT(show(DrawnPicture(kWidth, kHeight).snow(random_)), Eq(std::nullopt));
    EXPECT_FALSE(finder_.penDown());
}

TEST_F(SpotFinderTest, APictureOfAnotherSizeBeginsAnew) {
    showPen(300, 200);
    for (int i = 0; i < 12; ++i)
        EXPECT_THAT(show(DrawnPicture(320, 241, 20, 7)), Eq(std::nullopt));
    EXPECT_FALSE(finder_.penDown());
    EXPECT_THAT(show(DrawnPicture(320, 241, 20, 7).spot(200.5, 99.25, 1.5, 200)), At(200.5, 99.25));
}

TEST_F(SpotFinderTest, NoPictureIsADarkOne) {
    showPen(300, 200);
    EXPECT_THAT(finder_.find({}, now_ += kPicture), Eq(std::nullopt));
    EXPECT_TRUE(finder_.penDown());
    EXPECT_THAT(finder_.find({{}, 640, 480, 640}, now_ += kPicture), Eq(std::nullopt));
    EXPECT_FALSE(finder_.penDown());
}

TEST(SpotFinderSizesTest, AnySizeIsLookedAt) {
    for (const int width : {1, 2, 3, 15, 16, 17, 63, 64, 65, 100, 1921})
        for (const int height : {1, 2, 15, 16, 17, 33}) {
            SpotFinder finder;
            for (int i = 0; i < 20; ++i)
                finder.find(DrawnPicture(width, height, 20, i % 3)
                                .spot(width / 2.0, height / 2.0, 1.5, i > 12 ? 200 : 0)
                                .view(),
                            i * kPicture);
            SUCCEED();
        }
}

TEST(SpotFinderSizesTest, FindsThePenInPicturesOfAllCommonSizes) {
    for (const auto& [width, height] :
         {std::pair{160, 120}, {320, 240}, {643, 479}, {1280, 720}, {1920, 1080}}) {
        SpotFinder finder;
        const DrawnPicture quiet(width, height, 30, 5);
        int pictures = 0;
        for (; pictures < 12; ++pictures)
            finder.find(quiet.view(), pictures * kPicture);
        const double sigma = std::max(1.2, width / 400.0);
        for (const auto& [partX, partY] : {std::pair{0.1, 0.2}, {0.97, 0.96}, {0.503, 0.03}}) {
            const double x = width * partX;
            const double y = height * partY;
            DrawnPicture picture = quiet;
            picture.spot(x, y, sigma, 200);
            finder.find(picture.view(), ++pictures * kPicture);
            EXPECT_THAT(finder.find(picture.view(), ++pictures * kPicture), At(x, y)) << width;
        }
    }
}

std::optional<Spot> blindPlaceIn(const DrawnPicture& picture) {
    SpotFinder finder;
    EXPECT_FALSE(finder.blindPlace());
    for (int i = 0; i < 12; ++i)
        finder.find(picture.view(), i * kPicture);
    return finder.blindPlace();
}

TEST(BlindPlaceTest, TellsALargeLightThatStays) {
    const auto place = blindPlaceIn(DrawnPicture(kWidth, kHeight).disc(250, 150, 30, 255));
    ASSERT_TRUE(place);
    EXPECT_NEAR(place->x, 250, 8);
    EXPECT_NEAR(place->y, 150, 8);
    EXPECT_NEAR(place->size, 60, 25);
}

TEST(BlindPlaceTest, ThePensOwnLightIsNone) {
    EXPECT_FALSE(blindPlaceIn(DrawnPicture(kWidth, kHeight).spot(256, 160, 2, 235)));
}

} // namespace
} // namespace lightpen::webcam
