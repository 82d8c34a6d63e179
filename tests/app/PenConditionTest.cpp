// SPDX-License-Identifier: MIT
#include "app/PenCondition.h"

#include <set>
#include <vector>

#include <gmock/gmock.h>

#include "kit/TestPlatform.h"
#include "kit/resources/TableAudit.h"

namespace lightpen {
namespace {

using State = PenCondition::State;
using Facts = PenCondition::Facts;

constexpr State kStates[] = {
    State::ready,        State::noUnit,        State::noPermission,         State::strayLight,
    State::otherSession, State::notCalibrated, State::calibrationDoesNotFit};

class PenConditionTest : public testing::Test {
protected:
    PenConditionTest() {
        desk.notifications.addObserver(this, kPenConditionDidChange, &condition,
                                       [this](const Notification&) { ++changes; });
    }

    TestPlatform desk;
    PenCondition condition;
    int changes = 0;
};

TEST_F(PenConditionTest, WithoutNewsThereIsNoUnit) {
    EXPECT_EQ(condition.state(), State::noUnit);
    EXPECT_EQ(condition.detail(), "");
}

TEST_F(PenConditionTest, AUnitInUseIsReadyWhenItsCalibrationFits) {
    EXPECT_EQ(PenCondition::stateOf({.unitInUse = true, .calibrated = true}), State::ready);
    EXPECT_EQ(PenCondition::stateOf({.unitInUse = true}), State::notCalibrated);
    EXPECT_EQ(PenCondition::stateOf({.unitInUse = true, .calibrated = true, .calibrationFits = false}),
              State::calibrationDoesNotFit);
}

TEST_F(PenConditionTest, ACalibrationThatIsNotThereNeedNotFit) {
    EXPECT_EQ(PenCondition::stateOf({.unitInUse = true, .calibrationFits = false}), State::notCalibrated);
}

TEST_F(PenConditionTest, AUnitInUseNeedsNoPermissionOfAnother) {
    EXPECT_EQ(PenCondition::stateOf({.permissionCommand = "mend", .unitInUse = true, .calibrated = true}),
              State::ready);
    EXPECT_EQ(PenCondition::stateOf({.permissionCommand = "mend"}), State::noPermission);
}

TEST_F(PenConditionTest, StrayLightGoesBeforeWhatItPrevents) {
    EXPECT_EQ(PenCondition::stateOf({.unitInUse = true, .strayLight = true}), State::strayLight);
    EXPECT_EQ(PenCondition::stateOf({.strayLight = true}), State::strayLight);
}

TEST_F(PenConditionTest, WithoutTheSeatNothingElseCounts) {
    EXPECT_EQ(PenCondition::stateOf({.hasTheSeat = false,
                                     .permissionCommand = "mend",
                                     .unitInUse = true,
                                     .strayLight = true,
                                     .calibrated = true}),
              State::otherSession);
}

TEST_F(PenConditionTest, TheCommandIsToldWhereItMends) {
    condition.set({.permissionCommand = "mend"});
    EXPECT_EQ(condition.detail(), "mend");
    condition.set({.permissionCommand = "mend", .unitInUse = true});
    EXPECT_EQ(condition.detail(), "");
}

TEST_F(PenConditionTest, OnlyAnotherAnswerIsNews) {
    condition.set({});
    condition.set({.calibrated = true});
    EXPECT_EQ(changes, 0);
    condition.set({.permissionCommand = "mend"});
    EXPECT_EQ(changes, 1);
    condition.set({.permissionCommand = "mend otherwise"});
    EXPECT_EQ(changes, 2) << "the detail is another one";
    condition.set({.permissionCommand = "mend otherwise", .calibrated = true});
    EXPECT_EQ(changes, 2);
    condition.set({.unitInUse = true, .calibrated = true});
    EXPECT_EQ(changes, 3);
}

TEST_F(PenConditionTest, EachStateHasWordsOfItsOwnInTheTables) {
    std::set<std::string_view> words;
    for (const State state : kStates) {
        EXPECT_THAT(tableKeys(), testing::Contains(PenCondition::textKey(state)));
        words.insert(PenCondition::textKey(state));
    }
    EXPECT_EQ(words.size(), std::size(kStates));
}

TEST_F(PenConditionTest, WhateverIsNotAsItShouldBeHasAnAdviceInTheTables) {
    std::set<std::string_view> advice;
    for (const State state : kStates)
        advice.insert(PenCondition::adviceKey(state));
    EXPECT_EQ(PenCondition::adviceKey(State::ready), "");
    EXPECT_EQ(advice.erase(""), 1U);
    EXPECT_EQ(advice.size(), std::size(kStates) - 1);
    EXPECT_THAT(tableKeys(), testing::IsSupersetOf(advice));
}

} // namespace
} // namespace lightpen
