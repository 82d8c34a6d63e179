// SPDX-License-Identifier: MIT
#include "webcam/CameraState.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "kit/resources/TableAudit.h"

namespace lightpen::webcam {
namespace {

using Kind = CameraProblem::Kind;

TEST(CameraStateTest, EachProblemHasWordsInEveryLanguage) {
    std::set<std::string_view> said;
    for (const Kind kind : {Kind::none, Kind::absent, Kind::notPermitted, Kind::busy, Kind::failed}) {
        const std::string_view key = textKey(stateOf(kind));
        EXPECT_TRUE(said.insert(key).second) << key;
        EXPECT_TRUE(std::ranges::find(tableKeys(), key) != tableKeys().end()) << key;
    }
    for (const CameraState other : {CameraState::off, stateOf(Kind::none, false)}) {
        EXPECT_TRUE(said.insert(textKey(other)).second) << textKey(other);
        EXPECT_TRUE(std::ranges::find(tableKeys(), textKey(other)) != tableKeys().end()) << textKey(other);
    }
}

TEST(CameraStateTest, AnExposureMattersOnlyToACameraThatLooks) {
    EXPECT_EQ(stateOf(Kind::none, false), CameraState::lookingAsItLikes);
    EXPECT_EQ(stateOf(Kind::busy, false), CameraState::busy);
}

TEST(CameraStateTest, WhatNoUserCanMendIsOneState) {
    for (const Kind kind : {Kind::notACamera, Kind::noFormat, Kind::failed})
        EXPECT_EQ(stateOf(kind), CameraState::unusable);
}

} // namespace
} // namespace lightpen::webcam
