// SPDX-License-Identifier: MIT
#include "webcam/WebcamUnit.h"

#include <gtest/gtest.h>

namespace lightpen::webcam {
namespace {

class WebcamUnitTest : public testing::Test {
protected:
    WebcamUnitTest() {
        unit.onKept([this] { unit.calibrationMayHaveChanged(); });
        unit.plug();
    }
    // The host stores points, of which this is the first.
    void store(std::uint16_t first) {
        const auto low = static_cast<std::uint8_t>(first & 0xFF);
        const auto high = static_cast<std::uint8_t>(first >> 8);
        for (const std::uint8_t record : {std::uint8_t{0}, std::uint8_t{1}})
            EXPECT_EQ(unit.output(std::array<std::uint8_t, 32>{'C', record, low, high, 20, 1, 30, 2, 40, 1},
                                  Microseconds(0)),
                      SoftwareUnit::Output::taken);
    }
    SightCorrection stored() { return unit.memory().correction; }
    SightCorrection used() { return unit.eye().correction(); }

    static constexpr SightCorrection kFirst{.lens = 0.02, .lamp = {5, -3}};
    static constexpr SightCorrection kSecond{.lens = -0.01, .lamp = {}};
    UnitMemory memory{.flash = {}, .pairingTable = {}, .correction = kFirst};
    WebcamUnit unit{webcamUnitDescription("Webcam", "serial"), nullptr, memory};
};

TEST_F(WebcamUnitTest, WhatWasKeptIsUndoneFromTheBeginning) {
    EXPECT_EQ(used(), kFirst);
    EXPECT_EQ(stored(), kFirst);
}

TEST_F(WebcamUnitTest, ATrialStaysWithTheCalibrationThatIsStored) {
    unit.tryCorrection(kSecond);
    EXPECT_EQ(used(), kSecond);
    EXPECT_EQ(stored(), kFirst);
    store(300);
    EXPECT_EQ(stored(), kSecond);
    unit.giveUpTrial();
    EXPECT_EQ(used(), kSecond);
}

TEST_F(WebcamUnitTest, ATrialWithoutACalibrationIsGivenUp) {
    store(300);
    unit.tryCorrection(kSecond);
    unit.giveUpTrial();
    EXPECT_EQ(used(), kFirst);
    EXPECT_EQ(stored(), kFirst);
    store(300); // what is there already, as the driver writes it with its settings
    EXPECT_EQ(stored(), kFirst);
}

TEST_F(WebcamUnitTest, ACalibrationThatComesBackHasItsOwnAgain) {
    store(300);
    unit.tryCorrection(kSecond);
    store(400);
    unit.correctLamp({7, 8});
    EXPECT_EQ(stored(), (SightCorrection{kSecond.lens, {7, 8}}));
    EXPECT_EQ(used(), stored());
    store(300);
    EXPECT_EQ(stored(), kFirst);
    EXPECT_EQ(used(), kFirst);
    store(400);
    EXPECT_EQ(stored(), (SightCorrection{kSecond.lens, {7, 8}}));
}

TEST_F(WebcamUnitTest, ACalibrationWithTheSamePointsIsANewOne) {
    store(300);
    unit.tryCorrection(kSecond);
    store(300);
    EXPECT_EQ(stored(), kFirst);
    EXPECT_TRUE(unit.keepTrial());
    EXPECT_EQ(stored(), kSecond);
    EXPECT_FALSE(unit.keepTrial());
}

// A hand touches with the same pen and the same lens, so what was undone is undone further on.
TEST_F(WebcamUnitTest, ACalibrationByTouchKeepsWhatIsUndone) {
    store(300);
    store(500);
    EXPECT_EQ(stored(), kFirst);
    EXPECT_EQ(used(), kFirst);
}

} // namespace
} // namespace lightpen::webcam
