// SPDX-License-Identifier: MIT
#include "device/Arming.h"

#include <gtest/gtest.h>

namespace lightpen {
namespace {

TEST(ArmingStepTest, WithoutAUnitAndWhenArmedAPassGoesOn) {
    for (const Arming state : {Arming::noUnit, Arming::armed})
        for (const bool strayLight : {false, true})
            for (const bool taken : {false, true})
                EXPECT_EQ(armingStep(state, strayLight, taken), ArmingStep::goOn);
}

TEST(ArmingStepTest, AWaitThrowsReportsAwayAndNeverArms) {
    for (const bool strayLight : {false, true}) {
        EXPECT_EQ(armingStep(Arming::waiting, strayLight, true), ArmingStep::throwAway);
        EXPECT_EQ(armingStep(Arming::waiting, strayLight, false), ArmingStep::goOn);
    }
}

TEST(ArmingStepTest, AWaitThatIsDueEndsAtAnEmptyPollAndWithStrayLightAtOnce) {
    EXPECT_EQ(armingStep(Arming::due, false, true), ArmingStep::throwAway);
    EXPECT_EQ(armingStep(Arming::due, false, false), ArmingStep::arm);
    EXPECT_EQ(armingStep(Arming::due, true, true), ArmingStep::arm);
    EXPECT_EQ(armingStep(Arming::due, true, false), ArmingStep::arm);
}

TEST(ArmingStepTest, SixPassesMakeAWaitDue) {
    for (const int count : {0, 1, 5})
        EXPECT_EQ(armingOf(1, 0, count), Arming::waiting) << count;
    for (const int count : {6, 7, 600})
        EXPECT_EQ(armingOf(1, 0, count), Arming::due) << count;
}

TEST(ArmingStepTest, AnArmedPointerIsHeldBackByTheFirstPassOfAWaitOnly) {
    EXPECT_EQ(armingOf(1, 1, 0), Arming::armed);
    EXPECT_EQ(armingOf(1, 1, 1), Arming::waiting);
    EXPECT_EQ(armingOf(1, 1, 2), Arming::armed);
}

TEST(ArmingStepTest, OnlyAnOpenUnitWaits) {
    for (const int armed : {0, 1})
        for (const int count : {0, 1, 6})
            EXPECT_EQ(armingOf(0, armed, count), Arming::noUnit);
}

TEST(ArmingStepTest, AQuestionForTheDelegateArmsAnOpenUnitUnlessAWaitIsUnderWay) {
    ArmingWords words;
    words.delegateIsAskedFor();
    EXPECT_EQ(words.mouseArmed, 0);
    words.unitOpen = 1;
    words.delegateIsAskedFor();
    EXPECT_EQ(words.arming(), Arming::armed);
    words.waitAnew();
    words.countPass();
    words.delegateIsAskedFor();
    EXPECT_EQ(words.arming(), Arming::waiting);
    EXPECT_EQ(words.mouseArmed, 0);
}

TEST(ArmingStepTest, ReportsAreTakenFromAnOpenUnitThatWasAskedForAndSeesNoStrayLight) {
    ArmingWords words;
    words.unitOpen = 1;
    words.strayLightLevel = 0;
    EXPECT_FALSE(words.polls());
    words.delegateIsAskedFor();
    EXPECT_TRUE(words.polls());
    for (const int level : {-1, 1}) {
        words.strayLightLevel = level;
        EXPECT_FALSE(words.polls()) << level;
    }
    words.strayLightLevel = 0;
    words.close();
    EXPECT_FALSE(words.polls());
    words.unitOpen = 1;
    EXPECT_FALSE(words.polls()) << "the next unit waits for a question of its own";
}

} // namespace
} // namespace lightpen
