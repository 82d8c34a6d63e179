// SPDX-License-Identifier: MIT
// The firmware's commands: exact bytes of every answer, and what each command leaves behind.
#include "unit/wire/Firmware.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "unit/FirmwareBench.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using test::FirmwareBench;
using test::front;
using test::ofKind;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct FirmwareTest : testing::Test {
    FirmwareBench bench;
    Firmware& firmware = bench.firmware;

    // The bytes of the single answer to a command.
    ReportBytes answerTo(std::initializer_list<int> command) {
        bench.command(command);
        const auto reports = bench.run(100ms);
        EXPECT_THAT(reports, SizeIs(1));
        return reports.empty() ? ReportBytes() : reports.front().bytes;
    }
    void expectNoAnswerTo(std::initializer_list<int> command) {
        bench.command(command);
        EXPECT_THAT(ofKind(bench.run(250ms), ReportKind::answer), IsEmpty());
    }
    void storeCalibration() {
        firmware.flash.store({0x0102, 0x0304}, {0x0506, 0x0708}, {0x090A, 0x070B}, {0x080C, 0x060D});
    }
};

// Flash

TEST_F(FirmwareTest, AnEmptyFlashAnswersNWithTheDeviceInformation) {
    firmware.information = {
        .NX9Ver = 0x31, .wireless = 1, .cmosVer = 0x42, .GainValue = 0x53, .OPmode = 0x64};
    const ReportBytes expected{'N', 0, 1, 0x31, 0x42, 0x53, 0x64, 0, 0, 0};
    for (const int index : {0, 1, 2, 7}) {
        const ReportBytes reply = answerTo({'H', index});
        EXPECT_EQ(expected, front(reply, 10)) << index;
        EXPECT_THAT(reply, SizeIs(32));
    }
}

TEST_F(FirmwareTest, ACalibratedFlashAnswersYThreeTimes) {
    storeCalibration();
    firmware.information = {
        .NX9Ver = 0x31, .wireless = 1, .cmosVer = 0x42, .GainValue = 0x53, .OPmode = 0x64};
    EXPECT_THAT(front(answerTo({'H', 0}), 11),
                ElementsAre('Y', 0, 0x02, 0x01, 0x04, 0x03, 0x06, 0x05, 0x08, 0x07, 0));
    EXPECT_THAT(front(answerTo({'H', 1}), 11),
                ElementsAre('Y', 1, 0x0A, 0x09, 0x0B, 0x07, 0x0C, 0x08, 0x0D, 0x06, 0));
    EXPECT_THAT(front(answerTo({'H', 2}), 11), ElementsAre('Y', 2, 0, 0x53, 0x64, 0, 0, 1, 0x31, 0x42, 0));
    EXPECT_EQ('N', answerTo({'H', 3})[0]);
}

TEST_F(FirmwareTest, TheCameraHearsWhatTheHostSets) {
    const EyeSettings atPowerUp{};
    EXPECT_THAT(bench.heard, ElementsAre(atPowerUp));
    bench.command({0, 0x44, 0x34, 0x02, 0x02, 0x19, 0});
    const EyeSettings set{.threshold = 0x234, .exposure = 0x19, .filterOut = true};
    EXPECT_EQ(set, bench.heard.back());
    firmware.powerUp(bench.now);
    EXPECT_EQ(atPowerUp, bench.heard.back());
    EXPECT_EQ(3U, bench.heard.size());
}

TEST_F(FirmwareTest, FlashFaultsCutTheAnswersShort) {
    storeCalibration();
    bench.faults.flashAnswers = FlashAnswers::yesYesNo;
    EXPECT_EQ('Y', answerTo({'H', 0})[0]);
    EXPECT_EQ('Y', answerTo({'H', 1})[0]);
    EXPECT_EQ('N', answerTo({'H', 2})[0]);
    bench.faults.flashAnswers = FlashAnswers::yesNo;
    EXPECT_EQ('Y', answerTo({'H', 0})[0]);
    EXPECT_EQ('N', answerTo({'H', 1})[0]);
}

TEST_F(FirmwareTest, CalibrationRecordsAreKeptWhenBothHaveCome) {
    expectNoAnswerTo({'C', 0, 0x10, 0x01, 0x20, 0x02, 0x30, 0x03, 0x40, 0x04});
    EXPECT_FALSE(firmware.flash.record(0));
    expectNoAnswerTo({'C', 1, 0x50, 0x05, 0x60, 0x06, 0x70, 0x07, 0x80, 0x08});
    expectNoAnswerTo({'C', 2});
    EXPECT_THAT(*firmware.flash.record(0), ElementsAre(0x0110, 0x0220, 0x0330, 0x0440));
    EXPECT_THAT(*firmware.flash.record(1), ElementsAre(0x0550, 0x0660, 0x0770, 0x0880));
}

TEST_F(FirmwareTest, WithoutTheMannerTheFirstRecordIsValidAlone) {
    firmware.behaviour.recordsValidTogether = false;
    bench.command({'C', 0, 9, 0, 9, 0, 9, 0, 9, 0});
    EXPECT_EQ('Y', answerTo({'H', 0})[0]);
    EXPECT_EQ('N', answerTo({'H', 1})[0]);
    EXPECT_EQ('N', answerTo({'H', 2})[0]);
}

TEST_F(FirmwareTest, OnlyAnAllZeroReportErasesAndNothingOfItIsAnswered) {
    storeCalibration();
    bench.command({0, 0x01, 0, 0, 0, 0, 0});
    bench.command({0, 0, 0, 0, 0, 0, 1});
    ReportBytes almostZero(200);
    almostZero.back() = 1;
    firmware.handleOutput(almostZero, bench.now);
    expectNoAnswerTo({0, 0x40});
    EXPECT_EQ(0, firmware.settings().exposure);
    EXPECT_TRUE(firmware.flash.calibrated());
    expectNoAnswerTo({0, 0, 0, 0, 0, 0, 0});
    EXPECT_FALSE(firmware.flash.calibrated());
}

// Settings

TEST_F(FirmwareTest, SettingsAreTakenBitByBit) {
    bench.command({0, 0xE8, 0x34, 0x12, 0x02, 0x19, 0});
    ReceivedSettings settings = firmware.settings();
    EXPECT_FALSE(settings.imageProcessMode || settings.imageShrinkTrigger || settings.filterOut ||
                 settings.mask);
    EXPECT_TRUE(settings.maskCalibration && settings.brightness && settings.freshUnit);
    EXPECT_EQ(0x1234, settings.threshold);
    EXPECT_EQ(0x19, settings.exposure);
    bench.command({0, 0x57, 0, 0, 2, 0, 0});
    settings = firmware.settings();
    EXPECT_TRUE(settings.imageProcessMode && settings.imageShrinkTrigger && settings.filterOut &&
                settings.mask);
    EXPECT_FALSE(settings.maskCalibration || settings.brightness || settings.freshUnit);
}

// Acknowledges

TEST_F(FirmwareTest, AcknowledgesAreCountedAndNotAnswered) {
    expectNoAnswerTo({'W', 'W'});
    expectNoAnswerTo({'W', 'X'});
    expectNoAnswerTo({'T'});
    expectNoAnswerTo({'T'});
    EXPECT_EQ(1, firmware.operatingModeAcknowledges());
    EXPECT_EQ(2, firmware.wirelessAcknowledges());
}

// Pairing

TEST_F(FirmwareTest, APairingRecordIsSentWithItsIndex) {
    ASSERT_TRUE(firmware.pairingTable.store(13, {0x7E, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0xFF}, true));
    EXPECT_THAT(front(answerTo({'R', 13}), 11),
                ElementsAre('R', 13, 0x7E, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0xFF, 0));
    expectNoAnswerTo({'R', 14});
}

TEST_F(FirmwareTest, APairingRecordIsStoredAndAnswered) {
    const ReportBytes reply = answerTo({'S', 5, 0x21, 0x32, 0x43, 0x54, 0x65, 0x76, 0x87, 0x98});
    EXPECT_THAT(front(reply, 4), ElementsAre('S', 5, 0x7F, 0));
    EXPECT_THAT(*firmware.pairingTable.record(5),
                ElementsAre(0x21, 0x32, 0x43, 0x54, 0x65, 0x76, 0x87, 0x98));
    expectNoAnswerTo({'S', 14, 0x21});
}

TEST_F(FirmwareTest, AForeignPairingRecordIsAnsweredButNotKept) {
    const auto before = firmware.pairingTable.record(5);
    EXPECT_EQ('S', answerTo({'S', 5})[0]);
    EXPECT_EQ(before, firmware.pairingTable.record(5));
    firmware.behaviour.pairingRecordsFarOff = false;
    EXPECT_EQ('S', answerTo({'S', 5})[0]);
    EXPECT_EQ(PairingTable::Record{}, firmware.pairingTable.record(5));
}

// As a point queue would read them: X is bytes 1 and 2, Y bytes 3 and 4.
TEST_F(FirmwareTest, NoPairingAnswerReadsAsASpotInRange) {
    const auto farOffOrNone = [](const ReportBytes& reply) {
        return reply[1] == 0 || (reply[1] | reply[2] << 8) > 2560;
    };
    for (int index = 0; index < 14; ++index) {
        EXPECT_TRUE(farOffOrNone(answerTo({'R', index}))) << index;
        EXPECT_TRUE(farOffOrNone(answerTo({'S', index}))) << index;
    }
}

// Light test

TEST_F(FirmwareTest, StrayLightIsSightedTwelveTimes) {
    bench.scene.strayLight = CameraPoint{400, 500};
    bench.command({'K'});
    const auto reports = bench.run(250ms);
    ASSERT_THAT(reports, SizeIs(12));
    ReportBytes expected(32);
    expected[0] = 's';
    for (const UnitReport& report : reports)
        EXPECT_EQ(expected, report.bytes);
    EXPECT_GT(bench.at(reports.front()), 0us);
    EXPECT_LE(bench.at(reports.back()), 40ms);
}

TEST_F(FirmwareTest, WithoutStrayLightThereIsNoSighting) {
    expectNoAnswerTo({'K'});
    bench.scene.pen = CameraPoint{400, 500};
    expectNoAnswerTo({'K'});
}

// Lengths

TEST_F(FirmwareTest, OutputOfSevenTo255BytesIsTakenAndNoOther) {
    for (const std::size_t length : {7, 8, 32, 44, 255, 0, 2, 6, 256, 804}) {
        bench.command({'H', 0}, length);
        EXPECT_THAT(bench.run(100ms), SizeIs(length >= 7 && length <= 255 ? 1 : 0)) << length;
    }
}

TEST_F(FirmwareTest, MissingBytesAreZero) {
    bench.command({'C', 0, 1, 2, 3, 4, 5, 6}, 8);
    bench.command({'C', 1, 7, 8, 9, 10, 11, 12}, 8);
    EXPECT_THAT(*firmware.flash.record(0), ElementsAre(0x0201, 0x0403, 0x0605, 0));
    EXPECT_THAT(*firmware.flash.record(1), ElementsAre(0x0807, 0x0A09, 0x0C0B, 0));
}

TEST_F(FirmwareTest, UnknownCommandsAreIgnored) {
    for (const int letter : {int{'Y'}, int{'N'}, int{'s'}, int{'h'}, 0xFF, 1})
        expectNoAnswerTo({letter, 0x40});
}

class FirmwareLengthTest : public testing::TestWithParam<std::size_t> {};

TEST_P(FirmwareLengthTest, EveryReportIsCutOrFilledToTheUnitsLength) {
    FirmwareBench bench(GetParam());
    bench.firmware.flash.store({0x0102, 0x0304}, {0x0506, 0x0708}, {1, 2}, {3, 4});
    bench.scene.strayLight = CameraPoint{300, 400};
    bench.command({'H', 0});
    auto reports = bench.run(100ms);
    EXPECT_THAT(front(reports.at(0).bytes, 8), ElementsAre('Y', 0, 0x02, 0x01, 0x04, 0x03, 0x06, 0x05));
    bench.command({'R', 1});
    bench.command({'S', 2, 0x20});
    bench.command({'K'});
    const auto others = bench.run(2s);
    bench.settings(0x03);
    bench.run(200ms);
    bench.settings(0x03);
    const auto picture = bench.run(400ms);
    for (const auto& more : {others, picture})
        reports.insert(reports.end(), more.begin(), more.end());
    EXPECT_THAT(ofKind(reports, ReportKind::answer), SizeIs(15));
    EXPECT_THAT(ofKind(reports, ReportKind::picture), SizeIs(6));
    EXPECT_FALSE(ofKind(reports, ReportKind::spot).empty());
    EXPECT_FALSE(ofKind(reports, ReportKind::penUp).empty());
    for (const UnitReport& report : reports)
        EXPECT_EQ(GetParam(), report.bytes.size());
}

INSTANTIATE_TEST_SUITE_P(Lengths, FirmwareLengthTest, testing::Values(8, 32, 256, 300, 804));

// Power

TEST_F(FirmwareTest, PowerUpForgetsAllButFlashAndPairing) {
    storeCalibration();
    bench.command({'S', 5, 0x21});
    bench.settings(0x37);
    bench.command({'C', 0, 1, 1, 1, 1, 1, 1, 1, 1});
    bench.command({'H', 0});
    firmware.powerUp(bench.now);
    EXPECT_THAT(bench.run(2s), IsEmpty());
    EXPECT_FALSE(firmware.settings().filterOut);
    EXPECT_FALSE(firmware.imageMode());
    EXPECT_TRUE(firmware.flash.calibrated());
    EXPECT_EQ(0x21, (*firmware.pairingTable.record(5))[0]);
    // The record that waited for its neighbour is gone with the power.
    bench.command({'C', 1, 2, 2, 2, 2, 2, 2, 2, 2});
    EXPECT_THAT(*firmware.flash.record(1), ElementsAre(0x090A, 0x070B, 0x080C, 0x060D));
}

TEST_F(FirmwareTest, WithoutTheMannerModesAndAnswersSurvive) {
    firmware.behaviour.resetsAtPowerOff = false;
    bench.settings(0x24);
    bench.command({'H', 0});
    firmware.powerUp(bench.now);
    EXPECT_TRUE(firmware.settings().filterOut);
    EXPECT_THAT(ofKind(bench.run(100ms), ReportKind::answer), SizeIs(1));
}

TEST_F(FirmwareTest, TheFilterIsInAtPowerUp) {
    bench.scene = {.blobs = {{700, 700}}, .darkPicture = true};
    EXPECT_THAT(bench.run(100ms), IsEmpty());
    firmware.behaviour.filterInAtPowerUp = false;
    firmware.powerUp(bench.now);
    EXPECT_TRUE(firmware.settings().filterOut);
    EXPECT_THAT(bench.run(100ms), Each(testing::Field(&UnitReport::kind, ReportKind::spot)));
}

} // namespace
} // namespace lightpen
