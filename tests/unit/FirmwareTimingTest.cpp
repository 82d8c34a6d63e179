// SPDX-License-Identifier: MIT
// When the firmware sends what: rates, gaps and silences, in virtual time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "unit/FirmwareBench.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using test::FirmwareBench;
using test::gaps;
using test::kinds;
using test::ofKind;
using testing::AllOf;
using testing::Each;
using testing::Ge;
using testing::IsEmpty;
using testing::Le;
using testing::SizeIs;

struct FirmwareTimingTest : testing::Test {
    FirmwareBench bench;
    Firmware& firmware = bench.firmware;
};

TEST_F(FirmwareTimingTest, AUnitThatNobodyTouchesIsSilent) {
    EXPECT_THAT(bench.run(10s), IsEmpty());
}

TEST_F(FirmwareTimingTest, ATouchIsReported125TimesASecond) {
    bench.scene.pen = FirmwareBench::kPen;
    const auto reports = bench.run(1s);
    EXPECT_THAT(ofKind(reports, ReportKind::spot), SizeIs(126)); // both ends of the second
    EXPECT_THAT(gaps(reports), Each(Microseconds(8ms)));
    EXPECT_LE(bench.at(reports.front()), 8ms);
}

TEST_F(FirmwareTimingTest, HowOftenTimeIsLookedAtMakesNoDifference) {
    FirmwareBench other;
    bench.scene.pen = other.scene.pen = FirmwareBench::kPen;
    const auto atOnce = bench.run(100ms);
    std::vector<UnitReport> inSteps;
    for (int step = 0; step < 100; ++step)
        for (UnitReport& report : other.run(1ms))
            inSteps.push_back(std::move(report));
    ASSERT_EQ(atOnce.size(), inSteps.size());
    for (std::size_t index = 0; index < atOnce.size(); ++index) {
        EXPECT_EQ(atOnce[index].time, inSteps[index].time);
        EXPECT_EQ(atOnce[index].bytes, inSteps[index].bytes);
    }
}

TEST_F(FirmwareTimingTest, ATouchEndsWithPenUpAndASecondOfIdling) {
    bench.touch();
    bench.scene.pen.reset();
    const auto reports = bench.run(5s);
    EXPECT_THAT(kinds(reports), Each(ReportKind::penUp));
    EXPECT_THAT(reports, SizeIs(28)); // pen-up, then 27 in the second behind it
    EXPECT_EQ(Microseconds(48ms), bench.at(reports.front()));
    EXPECT_THAT(gaps(reports), Each(Microseconds(36ms)));
    EXPECT_LT(bench.at(reports.back()), 1048ms);
}

TEST_F(FirmwareTimingTest, AfterACommandThereIsASecondOfIdlingBehind300Milliseconds) {
    for (const int letter : {'C', 'W', 'T', 'K', 'R', 'H'}) {
        FirmwareBench fresh;
        fresh.command({letter, letter == 'W' ? 'W' : 2});
        // An empty flash ends the read only with the second answer.
        if (letter == 'H')
            fresh.command({'H', 0});
        const auto reports = ofKind(fresh.run(5s), ReportKind::penUp);
        EXPECT_THAT(reports, SizeIs(28)) << letter;
        EXPECT_EQ(Microseconds(300ms), fresh.at(reports.front())) << letter;
        EXPECT_LT(fresh.at(reports.back()), 1300ms) << letter;
        EXPECT_THAT(gaps(reports), Each(Microseconds(36ms))) << letter;
    }
}

TEST_F(FirmwareTimingTest, ALaterCommandPutsIdlingOff) {
    bench.command({'T'});
    bench.run(500ms);
    bench.command({'T'});
    EXPECT_THAT(bench.run(299ms), IsEmpty());
    EXPECT_THAT(bench.run(5s), SizeIs(28));
}

TEST_F(FirmwareTimingTest, AnAnswerComesWithin50Milliseconds) {
    for (const int letter : {'H', 'R', 'S'}) {
        FirmwareBench fresh;
        fresh.command({letter, 1, 0x20});
        const auto answers = fresh.run(250ms);
        ASSERT_THAT(answers, SizeIs(1)) << letter;
        EXPECT_GT(fresh.at(answers[0]), 0us) << letter;
        EXPECT_LE(fresh.at(answers[0]), 50ms) << letter;
    }
}

TEST_F(FirmwareTimingTest, AnswersAreAloneAroundCommands) {
    for (const int letter : {'H', 'K', 'R', 'S'}) {
        FirmwareBench fresh;
        fresh.calibrate();
        fresh.touch();
        fresh.command({letter, 2, 0x20});
        EXPECT_THAT(kinds(fresh.run(299ms)), Each(ReportKind::answer)) << letter;
        const auto behind = fresh.run(20ms);
        EXPECT_THAT(kinds(behind), Each(ReportKind::spot)) << letter;
        EXPECT_FALSE(behind.empty()) << letter;
    }
}

TEST_F(FirmwareTimingTest, ACalibrationRecordDoesNotQuietThePen) {
    bench.touch();
    bench.command({'C', 0});
    EXPECT_THAT(bench.run(80ms), SizeIs(10));
}

TEST_F(FirmwareTimingTest, AFlashReadIsQuietToItsEnd) {
    bench.calibrate();
    bench.touch();
    // A host that stops for longer than 300 ms between its requests.
    for (const int index : {0, 0, 1}) {
        bench.command({'H', index});
        EXPECT_THAT(kinds(bench.run(900ms)), testing::ElementsAre(ReportKind::answer));
    }
    bench.command({'H', 2});
    EXPECT_THAT(kinds(bench.run(299ms)), testing::ElementsAre(ReportKind::answer));
    EXPECT_THAT(bench.run(20ms), SizeIs(3));
}

TEST_F(FirmwareTimingTest, AReadOfAnEmptyFlashEndsWithItsSecondAnswer) {
    bench.touch();
    bench.command({'H', 0});
    EXPECT_THAT(bench.run(900ms), SizeIs(1));
    bench.command({'H', 0});
    EXPECT_THAT(bench.run(299ms), SizeIs(1));
    EXPECT_THAT(bench.run(20ms), SizeIs(3));
}

TEST_F(FirmwareTimingTest, AReadThatTheHostGivesUpEndsByItself) {
    bench.calibrate();
    bench.touch();
    bench.command({'H', 0});
    EXPECT_THAT(bench.run(1999ms), SizeIs(1));
    EXPECT_FALSE(bench.run(20ms).empty());
}

TEST_F(FirmwareTimingTest, AnotherCommandEndsARead) {
    bench.calibrate();
    bench.touch();
    bench.command({'H', 0});
    bench.run(400ms);
    bench.command({'T'});
    EXPECT_FALSE(ofKind(bench.run(20ms), ReportKind::spot).empty());
}

TEST_F(FirmwareTimingTest, ATouchThatEndsInTheQuietIsFollowedByIdling) {
    bench.touch();
    bench.command({'R', 0});
    bench.run(100ms);
    bench.scene.pen.reset();
    EXPECT_THAT(bench.run(199ms), IsEmpty());
    const auto reports = bench.run(100ms);
    EXPECT_THAT(kinds(reports), Each(ReportKind::penUp));
    EXPECT_FALSE(reports.empty());
}

TEST_F(FirmwareTimingTest, WithoutTheMannerPenReportsComeBetweenAnswers) {
    firmware.behaviour.quietAroundCommands = false;
    bench.touch();
    bench.command({'H', 0});
    const auto reports = bench.run(100ms);
    EXPECT_THAT(ofKind(reports, ReportKind::answer), SizeIs(1));
    EXPECT_THAT(ofKind(reports, ReportKind::spot), SizeIs(12));
}

// The filter

TEST_F(FirmwareTimingTest, AFilterMoveIsOnePenUpAndHalfASecondOfDarkness) {
    bench.touch();
    bench.settings(0x24);
    const auto reports = bench.run(499ms);
    EXPECT_THAT(kinds(reports), testing::ElementsAre(ReportKind::penUp));
    EXPECT_EQ(Microseconds(40ms), bench.at(reports[0]));
    EXPECT_THAT(kinds(bench.run(20ms)), Each(ReportKind::spot));
    // And back.
    bench.settings(0x20);
    EXPECT_THAT(kinds(bench.run(490ms)), testing::ElementsAre(ReportKind::penUp));
}

TEST_F(FirmwareTimingTest, AFilterMoveWithoutATouchIsReportedToo) {
    bench.settings(0x24);
    EXPECT_THAT(kinds(bench.run(499ms)), testing::ElementsAre(ReportKind::penUp));
    EXPECT_THAT(bench.run(5s), SizeIs(28));
}

TEST_F(FirmwareTimingTest, SettingsThatLeaveTheFilterChangeNothing) {
    bench.touch();
    bench.settings(0x20);
    EXPECT_THAT(kinds(bench.run(80ms)), Each(ReportKind::spot));
    EXPECT_THAT(bench.run(80ms), SizeIs(10));
}

TEST_F(FirmwareTimingTest, AFilterMoveInTheQuietIsNotReported) {
    bench.command({'K'});
    bench.settings(0x24);
    EXPECT_THAT(bench.run(499ms), IsEmpty());
}

TEST_F(FirmwareTimingTest, WithoutTheMannerTheFilterMovesUnseen) {
    firmware.behaviour.darkWhileFilterMoves = false;
    bench.touch();
    bench.settings(0x24);
    const auto reports = bench.run(80ms);
    EXPECT_THAT(reports, SizeIs(10));
    EXPECT_THAT(kinds(reports), Each(ReportKind::spot));
}

TEST_F(FirmwareTimingTest, AJumpingBlobIsPenUpAndThenDark) {
    bench.settings(0x24);
    bench.run(2s);
    bench.scene = {.blobs = {{600, 500}}, .darkPicture = true};
    EXPECT_THAT(kinds(bench.run(80ms)), Each(ReportKind::spot));
    bench.scene.blobs[0] = {1900, 1500};
    const auto reports = bench.run(100ms);
    EXPECT_THAT(kinds(reports), Each(ReportKind::penUp));
    EXPECT_THAT(reports, SizeIs(3)); // at once, and the idling behind it
    const auto behind = bench.run(24ms);
    EXPECT_FALSE(behind.empty());
    EXPECT_THAT(kinds(behind), Each(ReportKind::spot));
}

TEST_F(FirmwareTimingTest, NextEventIsNeverLate) {
    bench.calibrate();
    bench.run(1us);
    bench.command({'H', 0});
    bench.command({'T'});
    for (int step = 0; step < 400; ++step) {
        const Microseconds next = firmware.nextEvent();
        ASSERT_GT(next, bench.now);
        EXPECT_THAT(bench.run(next - bench.now - 1us), IsEmpty());
        bench.run(1us);
    }
    EXPECT_GT(bench.now - bench.start, 2s);
}

} // namespace
} // namespace lightpen
