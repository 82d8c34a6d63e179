// SPDX-License-Identifier: MIT
// Image mode, and the faults that change what is sent.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "unit/FirmwareBench.h"
#include "unit/wire/Picture.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using test::FirmwareBench;
using test::gaps;
using test::kinds;
using test::ofKind;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Le;
using testing::SizeIs;

constexpr int kImage = 0x03;

struct FirmwareTasksTest : testing::Test {
    FirmwareBench bench{804};
    Firmware& firmware = bench.firmware;

    // What a host does to get a picture, up to the moment behind the second command.
    void triggerPicture() {
        bench.settings(kImage);
        bench.run(200ms);
        bench.settings(kImage);
    }
};

TEST_F(FirmwareTasksTest, PenReportsStopAtTheFirstImageCommand) {
    bench.scene.pen = CameraPoint{900, 800};
    bench.run(40ms);
    bench.settings(kImage);
    EXPECT_TRUE(firmware.imageMode());
    EXPECT_THAT(bench.run(5s), IsEmpty());
}

TEST_F(FirmwareTasksTest, SixPictureReportsFollowTheSecondCommandAndThenIdleReports) {
    bench.scene.pen = CameraPoint{900, 800};
    triggerPicture();
    const auto reports = bench.run(3s);
    ASSERT_GT(reports.size(), 7U);
    for (std::size_t index = 0; index < 6; ++index)
        EXPECT_EQ(ReportKind::picture, reports[index].kind);
    EXPECT_THAT(gaps({reports.begin(), reports.begin() + 7}), Each(Le(Microseconds(10ms))));
    const std::vector<UnitReport> idle(reports.begin() + 6, reports.end());
    EXPECT_THAT(kinds(idle), Each(ReportKind::penUp));
    EXPECT_THAT(gaps(idle), Each(Microseconds(36ms)));
    EXPECT_GT(bench.at(idle.back()), 3150ms);
}

TEST_F(FirmwareTasksTest, ThePictureShowsThePenAndReadsAsPenUp) {
    bench.scene.pen = CameraPoint{1616, 976}; // column 50, row 30: in the fourth report
    triggerPicture();
    const auto reports = ofKind(bench.run(100ms), ReportKind::picture);
    ASSERT_THAT(reports, SizeIs(6));
    for (const UnitReport& report : reports)
        EXPECT_EQ(0, report.bytes[1]);
    EXPECT_EQ(255, reports[3].bytes[1 + 0 * 80 + 50]);
    EXPECT_NE(255, reports[3].bytes[1 + 0 * 80 + 55]);
    firmware.behaviour.blackLeftColumn = false;
    bench.settings(kImage);
    EXPECT_EQ(255, ofKind(bench.run(100ms), ReportKind::picture)[0].bytes[1]);
}

TEST_F(FirmwareTasksTest, EachFurtherCommandIsAnotherPicture) {
    triggerPicture();
    bench.run(500ms);
    bench.settings(kImage);
    const auto reports = bench.run(40ms);
    EXPECT_THAT(ofKind(reports, ReportKind::picture), SizeIs(6));
    EXPECT_EQ(ReportKind::picture, reports.front().kind);
}

TEST_F(FirmwareTasksTest, ImageModeEndsWithItsBits) {
    triggerPicture();
    bench.run(100ms);
    bench.scene.pen = CameraPoint{900, 800};
    bench.settings(0);
    EXPECT_FALSE(firmware.imageMode());
    EXPECT_THAT(kinds(bench.run(16ms)), ElementsAre(ReportKind::spot, ReportKind::spot));
}

TEST_F(FirmwareTasksTest, ImageModeEndsWithAReadAndALightTest) {
    for (const int letter : {'H', 'K'}) {
        triggerPicture();
        bench.command({letter});
        EXPECT_FALSE(firmware.imageMode());
        EXPECT_THAT(ofKind(bench.run(3s), ReportKind::picture), IsEmpty()) << letter;
    }
}

TEST_F(FirmwareTasksTest, OneBitAloneIsNoImageCommand) {
    for (const int bit : {0x01, 0x02}) {
        bench.settings(bit);
        EXPECT_FALSE(firmware.imageMode());
    }
}

TEST_F(FirmwareTasksTest, ThePictureWaitsForTheFilter) {
    bench.settings(kImage | 0x04);
    EXPECT_THAT(bench.run(200ms), IsEmpty());
    bench.settings(kImage | 0x04);
    EXPECT_THAT(bench.run(299ms), IsEmpty());
    EXPECT_THAT(ofKind(bench.run(41ms), ReportKind::picture), SizeIs(6));
}

TEST_F(FirmwareTasksTest, MissingImageManners) {
    bench.scene.pen = CameraPoint{900, 800};
    firmware.behaviour.penStopsInImageMode = false;
    firmware.behaviour.idleAfterPicture = false;
    triggerPicture();
    EXPECT_FALSE(ofKind(bench.run(100ms), ReportKind::spot).empty());
    firmware.behaviour.penStopsInImageMode = true;
    EXPECT_THAT(bench.run(5s), IsEmpty());
}

// Faults

TEST_F(FirmwareTasksTest, ASilentUnitAnswersNothing) {
    bench.faults.silent = true;
    bench.scene.strayLight = CameraPoint{300, 300};
    for (const int letter : {'H', 'R', 'S', 'K'}) {
        bench.command({letter, 1, 0x20});
        EXPECT_THAT(ofKind(bench.run(3s), ReportKind::answer), IsEmpty()) << letter;
    }
    triggerPicture();
    EXPECT_THAT(ofKind(bench.run(3s), ReportKind::picture), IsEmpty());
}

TEST_F(FirmwareTasksTest, SlowAnswersComeLaterAndStayAlone) {
    bench.faults.extraAnswerDelay = 700ms;
    bench.scene.pen = CameraPoint{900, 800};
    bench.scene.strayLight = CameraPoint{300, 300};
    for (const int letter : {'H', 'R', 'S', 'K'}) {
        const Microseconds sent = bench.now;
        bench.command({letter, 1, 0x20});
        EXPECT_THAT(bench.run(700ms), IsEmpty()) << letter;
        const auto reports = bench.run(250ms);
        EXPECT_FALSE(reports.empty()) << letter;
        EXPECT_THAT(kinds(reports), Each(ReportKind::answer)) << letter;
        EXPECT_GT(reports[0].time - sent, 700ms) << letter;
        bench.run(5s);
    }
}

TEST_F(FirmwareTasksTest, ReportsMayBeShortOrLong) {
    for (const std::size_t length : {0, 1, 3, 31, 900}) {
        bench.faults.sentLength = length;
        bench.command({'H', 0});
        EXPECT_THAT(bench.run(100ms).at(0).bytes, SizeIs(length));
    }
    bench.faults.sentLength.reset();
    bench.command({'H', 0});
    EXPECT_THAT(bench.run(100ms).at(0).bytes, SizeIs(804));
}

TEST_F(FirmwareTasksTest, GarbageComesBetweenReports) {
    bench.faults.garbageEvery = 3;
    bench.scene.pen = CameraPoint{900, 800};
    const auto reports = bench.run(400ms);
    const auto garbage = ofKind(reports, ReportKind::garbage);
    EXPECT_THAT(ofKind(reports, ReportKind::spot), SizeIs(51));
    ASSERT_THAT(garbage, SizeIs(17));
    EXPECT_EQ(ReportKind::garbage, reports[2].kind);
    EXPECT_NE(garbage[0].bytes, garbage[1].bytes);
    for (const UnitReport& report : garbage)
        EXPECT_LE(report.bytes.size(), 2 * 804U);

    FirmwareBench same(804);
    same.faults.garbageEvery = 3;
    same.scene = bench.scene;
    EXPECT_EQ(garbage[0].bytes, ofKind(same.run(400ms), ReportKind::garbage).at(0).bytes);
    FirmwareBench other(804);
    other.faults.garbageEvery = 3;
    other.faults.garbageSeed = 2;
    other.scene = bench.scene;
    EXPECT_NE(garbage[0].bytes, ofKind(other.run(400ms), ReportKind::garbage).at(0).bytes);
}

} // namespace
} // namespace lightpen
