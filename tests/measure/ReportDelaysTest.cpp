// SPDX-License-Identifier: MIT
#include "measure/ReportDelays.h"

#include <gmock/gmock.h>

namespace lightpen {
namespace {

using testing::DoubleEq;
using testing::ElementsAre;
using testing::IsEmpty;
using Kind = CanvasEvent::Kind;

Microseconds ms(int count) {
    return std::chrono::milliseconds(count);
}

CanvasEvent seenAt(Kind kind, int time, ScreenPoint place) {
    return {kind, ms(time), place, ""};
}

// A stroke to the right in steps of 9 points, a report each 8 ms.
const std::vector<SentReport> kStroke = {
    {ms(1000), {100.4, 50}, true}, {ms(1008), {109.4, 50}, false}, {ms(1016), {118.4, 50}, false}};

TEST(MoveDelaysTest, CountFromTheReportOfThatPlace) {
    EXPECT_THAT(
        moveDelays(kStroke, {seenAt(Kind::move, 1005, {100, 50}), seenAt(Kind::move, 1019, {118, 50})}),
        ElementsAre(DoubleEq(5), DoubleEq(3)));
}

TEST(MoveDelaysTest, ALateMoveBelongsToItsOwnReportAndNotToTheNewest) {
    EXPECT_THAT(moveDelays(kStroke, {seenAt(Kind::move, 1030, {110, 49})}), ElementsAre(DoubleEq(22)));
}

TEST(MoveDelaysTest, TheNearestOfTwoPlacesInReachIsTaken) {
    const std::vector<SentReport> close = {{ms(10), {100, 50}, true}, {ms(18), {104, 50}, false}};
    EXPECT_THAT(moveDelays(close, {seenAt(Kind::move, 20, {102.5, 50})}), ElementsAre(DoubleEq(2)));
    EXPECT_THAT(moveDelays(close, {seenAt(Kind::move, 20, {101.5, 50})}), ElementsAre(DoubleEq(10)));
}

TEST(MoveDelaysTest, WhatNoReportExplainsAddsNothing) {
    EXPECT_THAT(moveDelays(kStroke, {seenAt(Kind::move, 1020, {114, 50}),    // between two places
                                     seenAt(Kind::move, 1020, {109, 54}),    // beside the stroke
                                     seenAt(Kind::move, 1007, {109, 50}),    // before the report
                                     seenAt(Kind::move, 1509, {109, 50}),    // long after it
                                     seenAt(Kind::press, 1005, {100, 50})}), // no move
                IsEmpty());
    EXPECT_THAT(moveDelays({}, {seenAt(Kind::move, 1020, {109, 50})}), IsEmpty());
}

TEST(MoveDelaysTest, APlaceThatTheStrokeBeforeCameByIsForgotten) {
    std::vector<SentReport> twice = kStroke;
    twice.push_back({ms(1700), {100.4, 50}, true});
    EXPECT_THAT(moveDelays(twice, {seenAt(Kind::move, 1704, {100, 50})}), ElementsAre(DoubleEq(4)));
}

TEST(PressDelaysTest, CountFromTheFirstReportOfTheTouchWhereverThePressLands) {
    EXPECT_THAT(pressDelays(kStroke, {seenAt(Kind::press, 1021, {118, 50})}), ElementsAre(DoubleEq(21)));
}

TEST(PressDelaysTest, ATouchThatWasNotPressedDoesNotTakeTheNextOnesPress) {
    std::vector<SentReport> two = kStroke;
    two.push_back({ms(2000), {300, 60}, true});
    EXPECT_THAT(pressDelays(two, {seenAt(Kind::press, 2006, {300, 60})}), ElementsAre(DoubleEq(6)));
    EXPECT_THAT(pressDelays(two, {seenAt(Kind::press, 1004, {100, 50})}), ElementsAre(DoubleEq(4)));
}

TEST(PressDelaysTest, NothingComesOfNothing) {
    EXPECT_THAT(pressDelays({}, {seenAt(Kind::press, 5, {1, 1})}), IsEmpty());
    EXPECT_THAT(pressDelays(kStroke, {seenAt(Kind::release, 1020, {118, 50})}), IsEmpty());
}

} // namespace
} // namespace lightpen
