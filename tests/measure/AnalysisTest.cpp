// SPDX-License-Identifier: MIT
#include "measure/Analysis.h"

#include <array>

#include <gmock/gmock.h>

#include "measure/Table.h"

namespace lightpen {
namespace {

using testing::DoubleEq;
using testing::ElementsAre;
using testing::IsEmpty;
using Injected = InjectedEvent::Kind;
using Seen = CanvasEvent::Kind;

constexpr Size kScreen{1280, 720};
constexpr std::array<std::string_view, 2> kNames = {"Left", "Top"};

Microseconds ms(int count) {
    return std::chrono::milliseconds(count);
}

// A tap at (100, 200), a held touch at (300, 50), a touch left of the screen; nothing is lost.
DemoRecord goodRecord() {
    DemoRecord record;
    record.screen = kScreen;
    record.touches = {{ms(1000), ms(1080), {100, 200}, ScreenPoint{100, 200}, false},
                      {ms(2000), ms(4500), {300, 50}, ScreenPoint{300, 50}, true},
                      {ms(6000), ms(6080), {-60, 360}, ScreenPoint{-60, 360}, false}};
    record.injected = {{Injected::press, ms(1010), {103, 204}}, {Injected::release, ms(1090), {103, 204}},
                       {Injected::press, ms(2005), {300, 50}},  {Injected::move, ms(2022), {300, 51}},
                       {Injected::release, {}, {300, 50}},      {Injected::rightPress, {}, {300, 50}},
                       {Injected::rightRelease, {}, {300, 50}}};
    record.posted = {"Left", "Left", "Top"};
    record.seen = {
        {Seen::ready, ms(10), {1280, 720}, ""},        {Seen::press, ms(1011), {103, 204}, ""},
        {Seen::release, ms(1093), {103, 204}, ""},     {Seen::press, ms(2007), {300, 50}, ""},
        {Seen::move, ms(2023), {300, 51}, ""},         {Seen::release, ms(4006), {300, 50}, ""},
        {Seen::rightPress, ms(4006), {300, 50}, ""},   {Seen::contextMenu, ms(4006), {300, 50}, ""},
        {Seen::rightRelease, ms(4007), {300, 50}, ""}, {Seen::notification, ms(6010), {}, "Left"},
        {Seen::notification, ms(6030), {}, "Left"},    {Seen::notification, ms(6040), {}, "Top"}};
    return record;
}

void eraseSeen(DemoRecord& record, std::size_t index) {
    record.seen.erase(record.seen.begin() + static_cast<std::ptrdiff_t>(index));
}

TEST(SpreadTest, NothingIsAllZero) {
    const Spread spread = spreadOf({});
    EXPECT_EQ(spread.count, 0U);
    EXPECT_EQ(spread.median, 0);
    EXPECT_EQ(spread.worst, 0);
}

TEST(SpreadTest, OneValueIsEveryFigure) {
    const Spread spread = spreadOf({4.5});
    EXPECT_EQ(spread.count, 1U);
    EXPECT_EQ(spread.median, 4.5);
    EXPECT_EQ(spread.percentile99, 4.5);
    EXPECT_EQ(spread.worst, 4.5);
}

TEST(SpreadTest, FiguresAreValuesByNearestRank) {
    std::vector<double> values;
    for (int i = 200; i >= 1; --i)
        values.push_back(i);
    const Spread spread = spreadOf(values);
    EXPECT_EQ(spread.mean, 100.5);
    EXPECT_EQ(spread.median, 100);
    EXPECT_EQ(spread.percentile95, 190);
    EXPECT_EQ(spread.percentile99, 198);
    EXPECT_EQ(spread.worst, 200);
    EXPECT_EQ(spreadOf({9, 1, 5}).median, 5);
    EXPECT_EQ(spreadOf({2, 1}).median, 1);
}

TEST(OnScreenTest, EdgesBelongToTheScreen) {
    const auto at = [](double x, double y) { return HandTouch{{}, {}, {x, y}, {}, false}; };
    EXPECT_TRUE(onScreen(at(0, 0), kScreen));
    EXPECT_TRUE(onScreen(at(1280, 720), kScreen));
    EXPECT_FALSE(onScreen(at(-0.5, 300), kScreen));
    EXPECT_FALSE(onScreen(at(1280.5, 300), kScreen));
    EXPECT_FALSE(onScreen(at(640, -1), kScreen));
    EXPECT_FALSE(onScreen(at(640, 721), kScreen));
    EXPECT_EQ(touchesOnScreen(goodRecord()), 2U);
}

TEST(TableTest, TheTouchesThatPressNothingAreToldApart) {
    EXPECT_THAT(tableOf(goodRecord()), testing::HasSubstr(" 3, of these 1 beside the screen\n"));
}

TEST(LandingDistancesTest, PressesAndReleasesAreMeasuredOnTheScreenOnly) {
    EXPECT_THAT(landingDistances(goodRecord()), ElementsAre(5, 5, 0, 0));
}

TEST(LandingDistancesTest, WhatWasNotSeenAddsNothing) {
    DemoRecord record = goodRecord();
    eraseSeen(record, 1);
    EXPECT_THAT(landingDistances(record), ElementsAre(5, 0, 0));
    record.seen.clear();
    EXPECT_THAT(landingDistances(record), IsEmpty());
}

TEST(LandingDistancesTest, TheFirstPressAndTheLastReleaseOfATouchCount) {
    DemoRecord record = goodRecord();
    const CanvasEvent again[] = {{Seen::press, ms(1040), {900, 700}, ""},
                                 {Seen::release, ms(1099), {100, 201}, ""}};
    record.seen.insert(record.seen.begin() + 3, std::begin(again), std::end(again));
    EXPECT_THAT(landingDistances(record), ElementsAre(5, 1, 0, 0));
}

TEST(LandingDistancesTest, LeaveOutTouchesThatMovedOrWereCut) {
    DemoRecord record = goodRecord();
    record.touches[0].last = ScreenPoint{100, 201};
    EXPECT_THAT(landingDistances(record), ElementsAre(0, 0));
    record.touches[1].last.reset();
    EXPECT_THAT(landingDistances(record), IsEmpty());
}

TEST(PointerDelaysTest, CountFromTheReportAndLeaveOutTimers) {
    const DemoRecord record = goodRecord();
    EXPECT_THAT(pointerDelays(record.injected, record.seen),
                ElementsAre(DoubleEq(1), DoubleEq(3), DoubleEq(2), DoubleEq(1)));
}

TEST(PointerDelaysTest, AMergedMoveIsSkipped) {
    const std::vector<InjectedEvent> injected = {{Injected::press, ms(0), {1, 1}},
                                                 {Injected::move, ms(10), {2, 2}},
                                                 {Injected::move, ms(20), {3, 3}},
                                                 {Injected::release, ms(30), {3, 3}}};
    const std::vector<CanvasEvent> seen = {{Seen::press, ms(1), {1, 1}, ""},
                                           {Seen::move, ms(25), {3, 3}, ""},
                                           {Seen::release, ms(32), {3, 3}, ""}};
    EXPECT_THAT(pointerDelays(injected, seen), ElementsAre(DoubleEq(1), DoubleEq(5), DoubleEq(2)));
}

TEST(PointerDelaysTest, AnEventThatNobodyInjectedAddsNothing) {
    const std::vector<InjectedEvent> injected = {{Injected::press, ms(0), {1, 1}},
                                                 {Injected::release, ms(30), {1, 1}}};
    const std::vector<CanvasEvent> seen = {{Seen::press, ms(1), {1, 1}, ""},
                                           {Seen::move, ms(7), {9, 9}, ""},
                                           {Seen::release, ms(32), {1, 1}, ""}};
    EXPECT_THAT(pointerDelays(injected, seen), ElementsAre(DoubleEq(1), DoubleEq(2)));
}

TEST(LossesTest, NothingIsLostOfAGoodRecord) {
    EXPECT_THAT(losses(goodRecord(), kNames), IsEmpty());
}

TEST(LossesTest, AMergedMoveIsNoLoss) {
    DemoRecord record = goodRecord();
    eraseSeen(record, 4);
    EXPECT_THAT(losses(record, kNames), IsEmpty());
}

TEST(LossesTest, ATouchThatPressedNothing) {
    DemoRecord record = goodRecord();
    eraseSeen(record, 2);
    eraseSeen(record, 1);
    record.injected.erase(record.injected.begin(), record.injected.begin() + 2);
    EXPECT_THAT(losses(record, kNames), ElementsAre("The touch at (100, 200) was not seen as a press."));
}

TEST(LossesTest, AReleaseThatDidNotArrive) {
    DemoRecord record = goodRecord();
    eraseSeen(record, 2);
    EXPECT_THAT(losses(record, kNames), ElementsAre("The touch at (100, 200) was never released.",
                                                    "Of 2 releases injected, 1 were seen."));
}

TEST(LossesTest, AHeldTouchWithoutARightClick) {
    DemoRecord record = goodRecord();
    record.seen.erase(record.seen.begin() + 6, record.seen.begin() + 9);
    EXPECT_THAT(losses(record, kNames),
                ElementsAre("The touch at (300, 50) was held, and no context menu was asked for.",
                            "Of 1 right presses injected, 0 were seen.",
                            "Of 1 right releases injected, 0 were seen."));
}

TEST(LossesTest, NotificationsThatWereNotHeard) {
    DemoRecord record = goodRecord();
    record.seen.pop_back();
    eraseSeen(record, record.seen.size() - 1);
    EXPECT_THAT(losses(record, kNames), ElementsAre("Of 2 notifications Left sent, 1 were heard.",
                                                    "The notification Top was never heard."));
}

TEST(LossesTest, ANotificationThatWasNeitherSentNorHeardIsMissed) {
    DemoRecord record = goodRecord();
    record.seen.pop_back();
    record.posted.pop_back();
    EXPECT_THAT(losses(record, kNames), ElementsAre("The notification Top was never heard."));
}

} // namespace
} // namespace lightpen
