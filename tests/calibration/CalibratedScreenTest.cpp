// SPDX-License-Identifier: MIT
#include "calibration/CalibratedScreen.h"

#include <gtest/gtest.h>

#include "calibration/Calibrator.h"
#include "kit/TestPlatform.h"

namespace lightpen {
namespace {

constexpr CalibratedScreen kFullHd{{1920, 1080}};
constexpr CalibratedScreen kSmall{{1280, 800}};
const PointList kTouches{{312, 271}, {2201, 188.5}, {164, 1633}, {2390, 1702}};
const PointList kOthers{{312, 271}, {2201, 188}, {164, 1633}, {2390, 1702}};

class CalibratedScreenTest : public testing::Test {
protected:
    std::string stored() {
        const auto value = desk.defaults.objectForKey("Calibrated Screens");
        return value ? std::get<std::string>(*value) : "";
    }
    void store(const std::string& text) { desk.defaults.setObject("Calibrated Screens", text); }

    TestPlatform desk;
};

TEST_F(CalibratedScreenTest, IsKnownForTheseTouchesOfThisUnit) {
    EXPECT_EQ(calibratedScreen("A1", kTouches), std::nullopt);
    rememberCalibratedScreen("A1", kTouches, {{1366, 768}, 3});
    EXPECT_EQ(stored(), "A1,1366,768,3,312,271,2201,188.5,164,1633,2390,1702");
    EXPECT_EQ(calibratedScreen("A1", kTouches), (CalibratedScreen{{1366, 768}, 3}));
    EXPECT_EQ(calibratedScreen("A2", kTouches), std::nullopt);
    EXPECT_EQ(calibratedScreen("", kTouches), std::nullopt);
    EXPECT_EQ(calibratedScreen("A1", kOthers), std::nullopt);
}

// A flash read yields what the flash has behind the calibration, too.
TEST_F(CalibratedScreenTest, PointsBehindTheTouchesDoNotMatter) {
    rememberCalibratedScreen("", kTouches, kSmall);
    PointList more = kTouches;
    more.push_back({0, 0});
    more.push_back({65535, 12});
    EXPECT_EQ(calibratedScreen("", more), kSmall);
    PointList fewer(kTouches.begin(), kTouches.end() - 1);
    EXPECT_EQ(calibratedScreen("", fewer), std::nullopt);
    PointList longer = kTouches;
    longer.back().y = 17020; // begins with the same digits
    EXPECT_EQ(calibratedScreen("", longer), std::nullopt);
}

TEST_F(CalibratedScreenTest, OnlyTheProportionOfTheSidesIsItsShape) {
    EXPECT_TRUE(haveOneShape(kFullHd, {{1366, 768}}));
    EXPECT_TRUE(haveOneShape(kSmall, {{1920, 1200}}));
    EXPECT_FALSE(haveOneShape(kFullHd, kSmall));
    EXPECT_FALSE(haveOneShape(kSmall, kFullHd));
    EXPECT_FALSE(haveOneShape({{1024, 768}}, {{1280, 1024}}));
    EXPECT_TRUE(haveOneShape({{1000, 1000}}, {{1015, 1000}}));
    EXPECT_FALSE(haveOneShape({{1000, 1000}}, {{1025, 1000}}));
}

TEST_F(CalibratedScreenTest, APictureThatIsTurnedKeepsItsShape) {
    EXPECT_TRUE(haveOneShape(kFullHd, {{1080, 1920}, 1}));
    EXPECT_TRUE(haveOneShape({{1080, 1920}, 3}, kFullHd));
    EXPECT_TRUE(haveOneShape({{1080, 1920}, 3}, {{540, 960}, 1}));
    EXPECT_TRUE(haveOneShape(kFullHd, {{1920, 1080}, 2}));
    EXPECT_FALSE(haveOneShape(kFullHd, {{1080, 1920}})) << "nobody has said that it is turned";
    EXPECT_FALSE(haveOneShape(kFullHd, {{1920, 1080}, 1}));
}

TEST_F(CalibratedScreenTest, TheSameTouchesAreRememberedOnce) {
    rememberCalibratedScreen("A1", kTouches, kSmall);
    rememberCalibratedScreen("A2", kOthers, kFullHd);
    rememberCalibratedScreen("A1", kTouches, kFullHd);
    EXPECT_EQ(calibratedScreen("A1", kTouches), kFullHd);
    EXPECT_EQ(calibratedScreen("A2", kOthers), kFullHd);
    EXPECT_EQ(std::ranges::count(stored(), ' '), 1);
}

TEST_F(CalibratedScreenTest, TheOldestIsForgottenBehindEight) {
    for (int x = 0; x < 9; ++x)
        rememberCalibratedScreen("A1", {{double(x), 1}, {2, 3}}, kSmall);
    EXPECT_EQ(calibratedScreen("A1", {{0, 1}, {2, 3}}), std::nullopt);
    EXPECT_EQ(calibratedScreen("A1", {{1, 1}, {2, 3}}), kSmall);
    EXPECT_EQ(calibratedScreen("A1", {{8, 1}, {2, 3}}), kSmall);
}

TEST_F(CalibratedScreenTest, WhateverAUnitCallsItselfIsOneWord) {
    rememberCalibratedScreen("A 1,2\n\xC3\xA4", kTouches, kSmall);
    EXPECT_TRUE(stored().starts_with("A12,1280,")) << stored();
    EXPECT_EQ(calibratedScreen("A 1,2\n\xC3\xA4", kTouches), kSmall);
}

TEST_F(CalibratedScreenTest, NothingIsRememberedOfNoScreenAndOfNoTouches) {
    rememberCalibratedScreen("A1", kTouches, {});
    rememberCalibratedScreen("A1", {}, kSmall);
    EXPECT_EQ(stored(), "");
}

// The settings are a file that anybody may have written.
TEST_F(CalibratedScreenTest, WhatIsNoEntryIsPassedOver) {
    const std::string points = ",312,271,2201,188.5,164,1633,2390,1702";
    for (const std::string wrong : {"", " ", ",", ",,,", "A1,1280,800,0", "A1,1280,0,0", "A1,-1280,800,0",
                                    "A1,nan,800,0", "A1,inf,800,0", "A1,1e300,800,0", "A1,1280,800,4",
                                    "A1,1280,800,-1", "A1,1280,800x,0", "A1,,800,0"}) {
        const std::string entry = wrong == "A1,1280,800,0" ? wrong : wrong + points;
        store(entry + "  A1,1024,768,1" + points + " ");
        EXPECT_EQ(calibratedScreen("A1", kTouches), (CalibratedScreen{{1024, 768}, 1})) << entry;
        store(entry);
        EXPECT_EQ(calibratedScreen("A1", kTouches), std::nullopt) << entry;
    }
    desk.defaults.setObject("Calibrated Screens", std::int64_t{7});
    EXPECT_EQ(calibratedScreen("A1", kTouches), std::nullopt);
    rememberCalibratedScreen("A1", kTouches, kSmall);
    EXPECT_EQ(calibratedScreen("A1", kTouches), kSmall);
}

// Where cells lie later

const TargetCell kCell{{0, 1, 2, 3}, {{170, 75}, {1580, 930}}};

TEST(CellOnScreenTest, AScreenThatIsAsItWasLeavesItAlone) {
    const CalibratedScreen odd{{1366.5, 767}, 2};
    EXPECT_EQ(cellOnScreen(kCell, odd, odd), kCell);
}

TEST(CellOnScreenTest, IsScaledWithTheScreen) {
    EXPECT_EQ(cellOnScreen(kCell, kFullHd, {{960, 2160}}),
              (TargetCell{{0, 1, 2, 3}, {{85, 150}, {790, 1860}}}));
}

TEST(CellOnScreenTest, ATurnedPictureHasItsCornersElsewhere) {
    // The picture's upper edge is at the panel's left: what the lower left touch showed is the upper left
    // now.
    EXPECT_EQ(cellOnScreen(kCell, kFullHd, {{1080, 1920}, 1}),
              (TargetCell{{2, 0, 3, 1}, {{75, 170}, {930, 1580}}}));
    EXPECT_EQ(cellOnScreen(kCell, kFullHd, {{1920, 1080}, 2}), (TargetCell{{3, 2, 1, 0}, kCell.rectangle}));
    EXPECT_EQ(cellOnScreen(kCell, kFullHd, {{1080, 1920}, 3}),
              (TargetCell{{1, 3, 0, 2}, {{75, 170}, {930, 1580}}}));
}

// The rectangle of an unequal grid's first cell does not lie in the middle.
TEST(CellOnScreenTest, APlaceOfTheWallStaysAPlaceOfTheWall) {
    const TargetCell cell{{0, 1, 2, 3}, {{100, 50}, {400, 200}}};
    const CalibratedScreen normal{{1000, 500}}, left{{250, 500}, 1};
    // A touch of the wall at a tenth from the left and a tenth from the top.
    const TargetCell now = cellOnScreen(cell, normal, left);
    EXPECT_EQ(now.points, (std::array<std::size_t, 4>{2, 0, 3, 1}));
    EXPECT_DOUBLE_EQ(now.rectangle.origin.x, 125);
    EXPECT_DOUBLE_EQ(now.rectangle.origin.y, 50);
    EXPECT_DOUBLE_EQ(now.rectangle.size.width, 100);
    EXPECT_DOUBLE_EQ(now.rectangle.size.height, 200);
}

TEST(CellOnScreenTest, FourQuarterTurnsLeadBack) {
    TargetCell cell{{4, 5, 9, 10}, {{170, 75}, {300, 200}}};
    const TargetCell before = cell;
    for (int turns = 0; turns < 4; ++turns)
        cell = cellOnScreen(cell, {{800, 600}, turns}, {{800, 600}, (turns + 1) % 4});
    EXPECT_EQ(cell.points, before.points);
    EXPECT_NEAR(cell.rectangle.origin.x, before.rectangle.origin.x, 1e-9);
    EXPECT_NEAR(cell.rectangle.origin.y, before.rectangle.origin.y, 1e-9);
    EXPECT_NEAR(cell.rectangle.size.width, before.rectangle.size.width, 1e-9);
    EXPECT_NEAR(cell.rectangle.size.height, before.rectangle.size.height, 1e-9);
}

} // namespace
} // namespace lightpen
