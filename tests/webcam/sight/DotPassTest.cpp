// SPDX-License-Identifier: MIT
#include "webcam/sight/DotPass.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>

#include <gmock/gmock.h>

namespace lightpen::webcam {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::Not;
using testing::SizeIs;
using State = DotPass::State;

constexpr Size kWindow{1920, 1080};
constexpr double kDot = 40;

// A camera that sees the window askew, thirty times a second.
class DotPassTest : public testing::Test {
protected:
    static PicturePoint seenAt(ScreenPoint place) {
        return {60 + 0.27 * place.x - 0.01 * place.y, 40 + 0.02 * place.x + 0.3 * place.y};
    }
    SeenLights lights() const {
        SeenLights seen{.width = 640, .height = 480, .blobs = lamps, .dark = true};
        if (const auto dot = pass.shown(); dot && (!hides || !hides(*dot)))
            seen.blobs.push_back(seenAt(*dot));
        return seen;
    }
    void picture() {
        now += 33ms;
        pass.see(lights(), now);
    }
    // Until it is over; how many pictures it took.
    int play() {
        int pictures = 0;
        for (; pass.state() == State::goesOn && pictures < 5000; ++pictures)
            picture();
        return pictures;
    }
    std::vector<ScreenPoint> places() const {
        std::vector<ScreenPoint> found;
        for (const SeenDot& dot : pass.dots())
            found.push_back(dot.shown);
        return found;
    }
    void expectEachWhereItIs() const {
        for (const SeenDot& dot : pass.dots()) {
            EXPECT_NEAR(dot.seen.x, seenAt(dot.shown).x, 1e-9);
            EXPECT_NEAR(dot.seen.y, seenAt(dot.shown).y, 1e-9);
        }
    }

    Microseconds now{7s};
    DotPass pass{kWindow, kDot, now};
    std::vector<PicturePoint> lamps;
    std::function<bool(ScreenPoint)> hides;
};

TEST_F(DotPassTest, ThirteenDotsAreSeenWhereTheyAre) {
    const int pictures = play();
    EXPECT_EQ(pass.state(), State::done);
    EXPECT_THAT(pass.dots(), SizeIs(DotPass::kDots));
    EXPECT_LT(pictures, 100) << "three seconds or so";
    expectEachWhereItIs();
    EXPECT_FALSE(pass.shown());
}

TEST_F(DotPassTest, TheyStandAllOverTheWindowAndWholeInIt) {
    play();
    const auto [left, right] = std::ranges::minmax(places(), {}, &ScreenPoint::x);
    const auto [top, bottom] = std::ranges::minmax(places(), {}, &ScreenPoint::y);
    EXPECT_LT(left.x, 0.04 * kWindow.width);
    EXPECT_GT(right.x, 0.96 * kWindow.width);
    EXPECT_LT(top.y, 0.06 * kWindow.height);
    EXPECT_GT(bottom.y, 0.94 * kWindow.height);
    EXPECT_GT(left.x, kDot / 2);
    EXPECT_LT(bottom.y, kWindow.height - kDot / 2);
    for (const ScreenPoint corner : {ScreenPoint{left.x, top.y}, {right.x, top.y}, {left.x, bottom.y}})
        EXPECT_THAT(places(), Contains(corner));
    auto sorted = places();
    std::ranges::sort(sorted, {}, [](ScreenPoint place) { return place.x * 10000 + place.y; });
    EXPECT_EQ(std::ranges::adjacent_find(sorted), sorted.end());
}

TEST_F(DotPassTest, NothingIsShownBeforeAllIsDark) {
    SeenLights desktop{.width = 640, .height = 480, .blobs = {{50, 60}, {300, 90}}};
    for (int i = 0; i < 20; ++i)
        pass.see(desktop, now += 33ms);
    EXPECT_FALSE(pass.shown());
    EXPECT_EQ(pass.state(), State::goesOn);
    play();
    EXPECT_EQ(pass.state(), State::done);
}

TEST_F(DotPassTest, LampsAreNoDots) {
    lamps = {{20, 470}, {610, 20}};
    play();
    EXPECT_EQ(pass.state(), State::done);
    EXPECT_THAT(pass.dots(), SizeIs(DotPass::kDots));
    expectEachWhereItIs();
}

TEST_F(DotPassTest, ALampThatComesLaterCostsADot) {
    for (int i = 0; i < 40; ++i)
        picture();
    lamps = {{20, 470}};
    play();
    EXPECT_EQ(pass.state(), State::done);
    EXPECT_THAT(pass.dots(), SizeIs(DotPass::kDots - 1));
    expectEachWhereItIs();
}

TEST_F(DotPassTest, ADotThatIsLateIsNotTakenForTheOneBefore) {
    // What the camera sends shows the screen of a fifth of a second before.
    std::vector<SeenLights> way(6, SeenLights{.width = 640, .height = 480, .dark = true});
    for (int i = 0; pass.state() == State::goesOn && i < 1000; ++i) {
        way.push_back(lights());
        pass.see(way.front(), now += 33ms);
        way.erase(way.begin());
    }
    EXPECT_EQ(pass.state(), State::done);
    EXPECT_THAT(pass.dots(), SizeIs(DotPass::kDots));
    expectEachWhereItIs();
}

TEST_F(DotPassTest, AFewMayBeOutOfSight) {
    hides = [](ScreenPoint place) { return place.x > 1800; };
    play();
    EXPECT_EQ(pass.state(), State::done);
    EXPECT_THAT(pass.dots(), SizeIs(DotPass::kDots - 3));
    EXPECT_THAT(places(), Not(Contains(testing::Field(&ScreenPoint::x, testing::Gt(1800)))));
}

TEST_F(DotPassTest, ManyMayNot) {
    hides = [](ScreenPoint place) { return place.x > 1300; };
    play();
    EXPECT_EQ(pass.state(), State::blind);
    EXPECT_FALSE(pass.shown());
}

TEST_F(DotPassTest, WithoutAnyItGivesUpSoon) {
    hides = [](ScreenPoint) { return true; };
    const Microseconds begin = now;
    play();
    EXPECT_EQ(pass.state(), State::blind);
    EXPECT_LT(now - begin, 6s);
}

TEST_F(DotPassTest, WithoutDarkOrPicturesItGivesUp) {
    pass.wait(now + DotPass::kDarkPatience - 1us);
    EXPECT_EQ(pass.state(), State::goesOn);
    pass.wait(now + DotPass::kDarkPatience);
    EXPECT_EQ(pass.state(), State::blind);
}

TEST_F(DotPassTest, ACameraThatStopsLeavesDotsOut) {
    while (pass.dots().size() < 4)
        picture();
    for (int i = 0; i < 10; ++i)
        pass.wait(now += DotPass::kPatience);
    EXPECT_EQ(pass.state(), State::blind);
}

TEST_F(DotPassTest, PicturesOfAnotherSizeEndIt) {
    while (pass.dots().size() < 4)
        picture();
    SeenLights other = lights();
    other.width = 1280;
    pass.see(other, now += 33ms);
    EXPECT_EQ(pass.state(), State::blind);
}

TEST_F(DotPassTest, ALightThatMovesIsNone) {
    for (int i = 0; i < 8; ++i)
        picture();
    const auto seen = pass.dots().size();
    for (int i = 0; i < 40; ++i)
        pass.see({640, 480, {{100.0 + 9 * i, 200}}, true}, now += 33ms);
    EXPECT_THAT(pass.dots(), SizeIs(seen));
}

} // namespace
} // namespace lightpen::webcam
