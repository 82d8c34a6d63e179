// SPDX-License-Identifier: MIT
#include "unit/CameraUnit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "unit/FirmwareBench.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using test::front;
using test::kinds;
using test::ofKind;
using test::reportOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using When = UnplugPoint::When;

// Keeps what comes through the plug.
class RecordingSocket final : public UnitSocket {
public:
    Microseconds now() override { return time; }
    void unitPlugged(SoftwareUnit&) override { events.emplace_back("plugged"); }
    void unitUnplugged(SoftwareUnit&) override { events.emplace_back("unplugged"); }
    void unitReport(SoftwareUnit&, const UnitReport& report) override { reports.push_back(report); }

    Microseconds time{3s};
    std::vector<std::string> events;
    std::vector<UnitReport> reports;
};

struct CameraUnitTest : testing::Test {
    RecordingSocket socket;
    CameraUnit unit{{.reportLength = 32}, &socket};

    // Lets time go by, and returns what came through the plug meanwhile.
    std::vector<UnitReport> run(Microseconds duration) {
        socket.time += duration;
        unit.advance(socket.time);
        return std::exchange(socket.reports, {});
    }
    CameraUnit::Output send(std::initializer_list<int> bytes) {
        return unit.output(reportOf(bytes), socket.time);
    }
    // Where the first spot of these reports is.
    static CameraPoint spot(const std::vector<UnitReport>& reports) {
        const auto spots = ofKind(reports, ReportKind::spot);
        if (spots.empty())
            return {-1, -1};
        const ReportBytes& bytes = spots.front().bytes;
        return {double(bytes[1] | bytes[2] << 8), double(bytes[3] | bytes[4] << 8)};
    }
};

// The plug

TEST_F(CameraUnitTest, PluggingAndUnpluggingTwiceIsOnce) {
    unit.unplug();
    EXPECT_THAT(socket.events, IsEmpty());
    unit.plug();
    unit.plug();
    EXPECT_TRUE(unit.plugged());
    unit.unplug();
    unit.unplug();
    EXPECT_FALSE(unit.plugged());
    EXPECT_THAT(socket.events, ElementsAre("plugged", "unplugged"));
}

TEST_F(CameraUnitTest, AnUnpluggedUnitDoesNothing) {
    unit.touch({640, 400});
    EXPECT_THAT(run(1s), IsEmpty());
    EXPECT_EQ(CameraUnit::Output::gone, send({'H', 0}));
    EXPECT_FALSE(unit.nextEvent());
}

TEST_F(CameraUnitTest, PowerOffForgetsAllButTheFlash) {
    unit.flash()->store({1, 2}, {3, 4}, {5, 6}, {7, 8});
    unit.plug();
    send({0, 0x44, 0, 2, 2, 25});
    send({'H', 0});
    unit.unplug();
    socket.reports.clear();
    unit.plug();
    EXPECT_THAT(run(2s), IsEmpty());
    EXPECT_FALSE(unit.firmware()->settings().filterOut);
    EXPECT_TRUE(unit.flash()->calibrated());
}

TEST_F(CameraUnitTest, WithoutASocketReportsGoToTheHookAlone) {
    CameraUnit alone({.reportLength = 8});
    std::vector<UnitReport> reports;
    alone.onReport([&](const UnitReport& report) { reports.push_back(report); });
    alone.plug();
    alone.spotAt({700, 800});
    alone.advance(16ms);
    EXPECT_THAT(reports, SizeIs(3));
    EXPECT_THAT(reports.at(0).bytes, ElementsAre(1, 0xBC, 0x02, 0x20, 0x03, 0, 0, 0));
}

TEST_F(CameraUnitTest, AUnitThatHasLeftItsSocketIsUnplugged) {
    RecordingSocket other;
    unit.plug();
    unit.leaveSocket(other);
    EXPECT_TRUE(unit.plugged());
    unit.leaveSocket(socket);
    EXPECT_FALSE(unit.plugged());
    unit.plug();
    EXPECT_THAT(socket.events, ElementsAre("plugged"));
}

// The pen

TEST_F(CameraUnitTest, ATouchIsSeenThroughTheOptics) {
    unit.plug();
    unit.touch({320, 100}); // 380 + 320 * 1800 / 1280, 330 + 100 * 1260 / 800
    EXPECT_EQ((CameraPoint{830, 488}), spot(run(8ms)));
    EXPECT_THAT(kinds(run(80ms)), Each(ReportKind::spot));
    unit.lift();
    EXPECT_THAT(kinds(run(8ms)), ElementsAre(ReportKind::penUp));
}

TEST_F(CameraUnitTest, ATouchBeginsWhenItIsAskedFor) {
    unit.plug();
    // Time has gone by since the last look; the touch must not begin in the past.
    socket.time += 1s;
    const Microseconds touched = socket.time;
    unit.touch({320, 100});
    const auto reports = run(40ms);
    EXPECT_GE(reports.at(0).time, touched);
    EXPECT_THAT(reports, SizeIs(5));
}

TEST_F(CameraUnitTest, ASpotCanBePutAnywhereInTheCamerasView) {
    unit.plug();
    unit.spotAt({2700, 5});
    EXPECT_EQ((CameraPoint{2700, 5}), spot(run(8ms)));
    EXPECT_FALSE(unit.penOnScreen(socket.time));
}

TEST_F(CameraUnitTest, ATouchBeyondTheLensIsNotSeen) {
    unit.plug();
    unit.touch({9000, 400});
    EXPECT_THAT(run(1s), IsEmpty());
}

TEST_F(CameraUnitTest, AScriptIsPlayedFromNowOn) {
    unit.plug();
    run(500ms);
    const Microseconds start = socket.time;
    unit.play(Hand().wait(100ms).tap({320, 100}, 80ms).drag({{0, 0}, {640, 0}}, 6400));
    EXPECT_EQ(Microseconds(100ms + 80ms + 200ms + 100ms + 200ms), unit.toPlay());
    EXPECT_EQ((ScreenPoint{320, 100}), unit.penOnScreen(start + 100ms));
    EXPECT_EQ((ScreenPoint{320, 0}), unit.penOnScreen(start + 430ms));
    EXPECT_FALSE(unit.penOnScreen(start + 300ms));

    EXPECT_THAT(run(99ms), IsEmpty());
    const auto tap = run(80ms);
    EXPECT_THAT(tap, SizeIs(10));
    EXPECT_EQ((CameraPoint{830, 488}), spot(tap));
    EXPECT_THAT(ofKind(run(190ms), ReportKind::spot), IsEmpty());
    const auto drag = ofKind(run(111ms), ReportKind::spot);
    EXPECT_THAT(drag, SizeIs(13));
    EXPECT_NE(drag.front().bytes, drag.back().bytes);
    run(1s);
    EXPECT_EQ(Microseconds::zero(), unit.toPlay());
}

// The room and the screen

TEST_F(CameraUnitTest, StrayLightIsASpotUntilItGoes) {
    unit.plug();
    unit.strayLight(CameraPoint{1500, 900});
    EXPECT_EQ((CameraPoint{1500, 900}), spot(run(40ms)));
    send({'K'});
    EXPECT_THAT(ofKind(run(250ms), ReportKind::answer), SizeIs(12));
    run(200ms);
    unit.strayLight(std::nullopt);
    EXPECT_EQ(ReportKind::penUp, run(40ms).at(0).kind);
}

TEST_F(CameraUnitTest, ACameraThatIsMovedSeesTheTouchElsewhere) {
    const auto turned =
        Optics::fromCorners({1280, 800}, {{2000, 300}, {2000, 1500}, {400, 1500}, {400, 300}});
    ASSERT_TRUE(turned);
    unit.plug();
    unit.touch({320, 100});
    EXPECT_EQ((CameraPoint{830, 488}), spot(run(40ms)));
    unit.moveCamera(*turned); // a quarter turn: to the right is down, and down is to the left
    const CameraPoint moved = spot(run(40ms));
    EXPECT_NEAR(2000 - 100 * 1600 / 800.0, moved.x, 1);
    EXPECT_NEAR(300 + 320 * 1200 / 1280.0, moved.y, 1);
    EXPECT_NEAR(turned->project({1100, 30}).x, unit.seen({1100, 30}).x, 1e-9);
    EXPECT_EQ((CameraPoint{400, 300}), unit.optics().corners().bottomLeft);
}

TEST_F(CameraUnitTest, TheSceneIsWhatLiesBeforeTheCameraNow) {
    unit.strayLight(CameraPoint{2400, 90});
    unit.display({.blobs = {{320, 100}}, .dark = true});
    unit.play(Hand().wait(1s).tap({320, 100}, 80ms));
    EXPECT_FALSE(unit.scene().pen);
    socket.time += 1040ms; // nobody lets the unit catch up, but time has gone by
    const Scene scene = unit.scene();
    EXPECT_EQ((CameraPoint{830, 487.5}), scene.pen);
    EXPECT_EQ((CameraPoint{2400, 90}), scene.strayLight);
    EXPECT_THAT(scene.blobs, ElementsAre(CameraPoint{830, 487.5}));
    EXPECT_TRUE(scene.darkPicture);
    ASSERT_TRUE(scene.screen);
    EXPECT_THAT(*scene.screen, ElementsAre(CameraPoint{380, 330}, CameraPoint{2180, 330},
                                           CameraPoint{2180, 1590}, CameraPoint{380, 1590}));
    socket.time += 80ms;
    EXPECT_FALSE(unit.scene().pen);
}

TEST_F(CameraUnitTest, WithoutTheFilterTheDisplayedTargetIsTheSpot) {
    unit.plug();
    unit.display({.blobs = {{320, 100}}, .dark = true});
    EXPECT_THAT(run(1s), IsEmpty());
    send({0, 0x64, 0, 2, 2, 23});
    run(500ms);
    EXPECT_EQ((CameraPoint{830, 488}), spot(run(40ms)));
    unit.display({});
    EXPECT_THAT(kinds(run(8ms)), ElementsAre(ReportKind::penUp));
}

// Scripts

TEST_F(CameraUnitTest, ActionsRunAtTheirTimeAmongTheReports) {
    unit.plug();
    const Microseconds start = socket.time;
    unit.schedule(start + 60ms, [](CameraUnit& self) { self.lift(); });
    unit.schedule(start + 20ms, [](CameraUnit& self) { self.touch({320, 100}); });
    const auto reports = run(1s);
    const auto spots = ofKind(reports, ReportKind::spot);
    ASSERT_THAT(spots, SizeIs(5)); // at 24, 32, 40, 48 and 56 ms
    EXPECT_EQ(start + 24ms, spots.front().time);
    EXPECT_EQ(start + 64ms, ofKind(reports, ReportKind::penUp).at(0).time);
}

TEST_F(CameraUnitTest, AnActionMayScheduleAndPlug) {
    unit.schedule(socket.time + 10ms, [](CameraUnit& self) {
        self.plug();
        self.schedule(Microseconds(0), [](CameraUnit& again) { again.unplug(); });
    });
    EXPECT_EQ(socket.time + 10ms, unit.nextEvent());
    run(9ms);
    EXPECT_THAT(socket.events, IsEmpty());
    run(1ms);
    EXPECT_THAT(socket.events, ElementsAre("plugged", "unplugged"));
}

TEST_F(CameraUnitTest, TimeThatLiesBehindDoesNothing) {
    unit.plug();
    unit.touch({320, 100});
    run(40ms);
    unit.advance(socket.time - 20ms);
    EXPECT_THAT(std::exchange(socket.reports, {}), IsEmpty());
    EXPECT_THAT(run(8ms), SizeIs(1));
}

TEST_F(CameraUnitTest, HooksSeeBothDirections) {
    std::vector<ReportBytes> taken;
    int sent = 0;
    unit.onOutput([&](Microseconds time, std::span<const std::uint8_t> report) {
        EXPECT_EQ(socket.time, time);
        taken.emplace_back(report.begin(), report.end());
    });
    unit.onReport([&](const UnitReport&) { ++sent; });
    unit.plug();
    send({'H', 1});
    const auto heard = run(100ms);
    EXPECT_EQ(unsigned(sent), heard.size());
    ASSERT_THAT(taken, ElementsAre(reportOf({'H', 1})));
    EXPECT_EQ(1, sent);
}

// What it keeps

TEST_F(CameraUnitTest, ItTellsWhenWhatItKeepsHasChanged) {
    int changes = 0;
    unit.onKept([&] { ++changes; });
    unit.plug();
    send({'C', 0, 1, 0, 2, 0, 3, 0, 4, 0});
    EXPECT_EQ(0, changes) << "one record alone is not kept";
    send({'C', 1, 5, 0, 6, 0, 7, 0, 8, 0});
    EXPECT_EQ(1, changes);
    send({'H', 0});
    send({0, 0x40, 0, 2, 2, 0x19});
    EXPECT_EQ(1, changes);
    send({'S', 3, 0x20, 1, 2, 3, 4, 5, 6, 7});
    EXPECT_EQ(2, changes);
    send({'S', 3, 0x20, 1, 2, 3, 4, 5, 6, 7});
    EXPECT_EQ(2, changes) << "it has held the same before";
    send({0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(3, changes);
}

// Faults

struct Pull {
    const char* name;
    UnplugPoint point;
    std::vector<std::vector<int>> commands; // the last of them is the one
    std::size_t replies;                    // reports that answer, or are a picture, before the plug is out
};

class UnpluggedAtTest : public CameraUnitTest, public testing::WithParamInterface<Pull> {
protected:
    std::size_t repliesWithin(Microseconds duration) {
        const auto reports = run(duration);
        return ofKind(reports, ReportKind::answer).size() + ofKind(reports, ReportKind::picture).size();
    }
};

TEST_P(UnpluggedAtTest, ThePlugIsPulledThere) {
    const Pull& pull = GetParam();
    unit.plug();
    unit.strayLight(CameraPoint{300, 400}); // twelve answers to K
    unit.faults()->unplug = pull.point;
    std::size_t replies = 0;
    for (const auto& bytes : pull.commands) {
        EXPECT_TRUE(unit.plugged());
        replies += repliesWithin(200ms);
        const bool last = &bytes == &pull.commands.back();
        EXPECT_EQ(last && pull.point.when == When::beforeCommand ? CameraUnit::Output::gone
                                                                 : CameraUnit::Output::taken,
                  unit.output(reportOf(bytes), socket.time));
    }
    EXPECT_EQ(pull.point.when >= When::beforeReply, unit.plugged());
    EXPECT_EQ(pull.replies, replies + repliesWithin(200ms));
    EXPECT_FALSE(unit.plugged());
    EXPECT_THAT(run(1s), IsEmpty());
    EXPECT_THAT(socket.events, ElementsAre("plugged", "unplugged"));
}

INSTANTIATE_TEST_SUITE_P(
    CameraUnitTest, UnpluggedAtTest,
    testing::Values(
        Pull{"BeforeTheSecondRead", {'H', 2, When::beforeCommand}, {{'T'}, {'H', 0}, {'H', 1}}, 1},
        Pull{"AfterARecord", {'C', 1, When::afterCommand}, {{'C', 0, 1, 1}}, 0},
        Pull{"BeforeAReply", {'R', 1, When::beforeReply}, {{'R', 3}}, 0},
        Pull{"AfterTheFirstOfTwelveReplies", {'K', 1, When::afterReply}, {{'K'}}, 1},
        Pull{"BeforeTheReplyToReadThoughAnotherCameFirst",
             {'H', 1, When::beforeReply},
             {{'R', 1}, {'H', 0}},
             1},
        Pull{"AfterTheThirdOfAnyCommands", {std::nullopt, 3}, {{'T'}, {0, 0x40}, {'W', 'W'}}, 0},
        Pull{"AfterTheFirstReportOfAPicture", {0, 2, When::afterReply}, {{0, 0x43}, {0, 0x43}}, 1}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(CameraUnitTest, ThePlugCanBePulledWithinAReply) {
    unit.plug();
    unit.faults()->unplug = UnplugPoint{.command = 'R', .when = When::midReply, .replyBytes = 3};
    send({'R', 3});
    const auto reports = run(100ms);
    ASSERT_THAT(reports, SizeIs(1));
    EXPECT_THAT(reports[0].bytes, ElementsAre('R', 3, 0x13));
    EXPECT_FALSE(unit.plugged());
}

TEST_F(CameraUnitTest, AUnitMayComeBackByItself) {
    unit.plug();
    unit.faults()->unplug = UnplugPoint{.command = 'H', .replugAfter = 70ms};
    send({'H', 0});
    EXPECT_FALSE(unit.plugged());
    run(69ms);
    EXPECT_FALSE(unit.plugged());
    run(1ms);
    EXPECT_TRUE(unit.plugged());
    // The fault is over.
    send({'H', 0});
    EXPECT_THAT(run(100ms), SizeIs(1));
    EXPECT_THAT(socket.events, ElementsAre("plugged", "unplugged", "plugged"));
}

TEST_F(CameraUnitTest, AUnitThatDoesNotReadTakesWhatWaitsFirst) {
    std::vector<ReportBytes> taken;
    unit.onOutput([&](Microseconds, std::span<const std::uint8_t> report) {
        taken.emplace_back(report.begin(), report.end());
    });
    unit.plug();
    unit.faults()->doesNotReadOutput = true;
    EXPECT_EQ(CameraUnit::Output::notRead, send({'T'}));
    unit.outputLater(reportOf({'C', 0}));
    unit.outputLater(reportOf({'C', 1}));
    run(100ms);
    EXPECT_THAT(taken, IsEmpty());
    unit.faults()->doesNotReadOutput = false;
    EXPECT_EQ(CameraUnit::Output::taken, send({'C', 2}));
    EXPECT_THAT(taken, ElementsAre(reportOf({'C', 0}), reportOf({'C', 1}), reportOf({'C', 2})));
}

TEST_F(CameraUnitTest, WhatWaitsIsTakenWhenTheUnitReadsAgainOrLostWithThePower) {
    unit.plug();
    unit.faults()->doesNotReadOutput = true;
    unit.outputLater(reportOf({'H', 0}));
    unit.faults()->doesNotReadOutput = false;
    run(1ms);
    EXPECT_THAT(run(100ms), SizeIs(1));

    unit.faults()->doesNotReadOutput = true;
    unit.outputLater(reportOf({'H', 0}));
    unit.unplug();
    unit.faults()->doesNotReadOutput = false;
    unit.plug();
    EXPECT_THAT(run(100ms), IsEmpty());
}

} // namespace
} // namespace lightpen
