// SPDX-License-Identifier: MIT
// The camera settings as properties, and the command they make.
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/EventGeneratorNX7.h"
#include "device/SharedState.h"
#include "kit/RecordingLog.h"
#include "kit/TestPlatform.h"

namespace lightpen {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class SettingsTest : public testing::Test {
protected:
    SettingsTest() { sharedState = SharedState(); }

    // The first seven bytes of the settings command.
    ReportBuffer command() const {
        ReportBuffer bytes = driver.commandFromCurrentSetting();
        bytes.resize(7);
        return bytes;
    }
    int controlByte() const { return command()[1]; }

    TestPlatform desk;
    RecordingLog log;
    EventGeneratorNX7 driver;
};

TEST_F(SettingsTest, ValuesOfANewDriver) {
    EXPECT_FALSE(driver.imageProcessMode());
    EXPECT_FALSE(driver.imageShrinkTrigger());
    EXPECT_FALSE(driver.AE());
    EXPECT_FALSE(driver.IRFilterGrounded());
    EXPECT_FALSE(driver.maskCalibration());
    EXPECT_FALSE(driver.mask());
    EXPECT_FALSE(driver.brightness());
    EXPECT_FALSE(driver.VGAout());
    EXPECT_EQ(driver.forcedExposure(), 25);
    EXPECT_EQ(driver.nx9Exposure(), 25);
    EXPECT_EQ(driver.threshold(), 512);
    EXPECT_EQ(driver._deviceMode, -1);
    EXPECT_EQ(driver.delegate(), nullptr);
    EXPECT_EQ(driver.calibrationCenter(), nullptr);
    EXPECT_EQ(driver.calibrationPointsFromFlash(), nullptr);
    EXPECT_EQ(sharedState.reportSize, 32);
    EXPECT_EQ(sharedState.reportCopyLength, 32);
    EXPECT_THAT(command(), ElementsAre(0x00, 0x44, 0x00, 0x02, 0x02, 0x19, 0x00));
}

TEST_F(SettingsTest, DefaultsAreSetAndNothingIsSentOrLogged) {
    driver.setImageProcessMode(true);
    driver.setImageShrinkTrigger(true);
    driver.setMaskCalibration(true);
    driver.setMask(true);
    driver.setAE(true);
    driver.setForcedExposure(31);
    driver.setThreshold(700);
    log.clear();
    driver.setToDefault();
    EXPECT_FALSE(driver.imageProcessMode());
    EXPECT_FALSE(driver.imageShrinkTrigger());
    EXPECT_TRUE(driver.IRFilterGrounded());
    EXPECT_FALSE(driver.maskCalibration());
    EXPECT_FALSE(driver.mask());
    EXPECT_TRUE(driver.brightness());
    EXPECT_TRUE(driver.VGAout());
    EXPECT_FALSE(driver.AE());
    EXPECT_EQ(driver._deviceMode, 1);
    EXPECT_EQ(driver.forcedExposure(), 31) << "no default of its own";
    EXPECT_EQ(driver.threshold(), 700) << "no default of its own";
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_TRUE(driver.outputReportBuffer()->empty());
}

TEST_F(SettingsTest, DefaultCommandIsKnownToTheByte) {
    driver.setToDefault();
    const ReportBuffer bytes = driver.commandFromCurrentSetting();
    ASSERT_GE(bytes.size(), 32u);
    EXPECT_THAT(ReportBuffer(bytes.begin(), bytes.begin() + 7),
                ElementsAre(0x00, 0x60, 0x00, 0x02, 0x02, 0x19, 0x00));
    EXPECT_THAT(ReportBuffer(bytes.begin() + 7, bytes.end()), Each(0));
}

TEST_F(SettingsTest, EachSetterReachesItsBit) {
    driver.setToDefault();
    driver.setBrightness(false);
    EXPECT_EQ(controlByte(), 0x40);
    driver.setImageProcessMode(true);
    EXPECT_EQ(controlByte(), 0x41);
    driver.setImageShrinkTrigger(true);
    EXPECT_EQ(controlByte(), 0x43);
    driver.setIRFilterGrounded(false);
    EXPECT_EQ(controlByte(), 0x47);
    driver.setMaskCalibration(true);
    EXPECT_EQ(controlByte(), 0x4F);
    driver.setMask(true);
    EXPECT_EQ(controlByte(), 0x5F);
    driver.setBrightness(true);
    EXPECT_EQ(controlByte(), 0x7F);
    driver.setImageProcessMode(false);
    EXPECT_EQ(controlByte(), 0x7E);
}

TEST_F(SettingsTest, OnlyAUnitThatWasJustAddedSetsTheHighestBit) {
    driver.setToDefault();
    driver._deviceMode = 0;
    EXPECT_EQ(controlByte(), 0xE0);
    driver._deviceMode = -1;
    EXPECT_EQ(controlByte(), 0x60);
    driver._deviceMode = 2;
    EXPECT_EQ(controlByte(), 0x60);
}

TEST_F(SettingsTest, AutomaticExposureAndVideoOutputAreKeptButNeverSent) {
    const ReportBuffer before = driver.commandFromCurrentSetting();
    driver.setAE(true);
    driver.setVGAout(true);
    EXPECT_TRUE(driver.AE());
    EXPECT_TRUE(driver.VGAout());
    EXPECT_EQ(driver.commandFromCurrentSetting(), before);
}

TEST_F(SettingsTest, ThresholdAndExposureAreCutToTheirBytes) {
    driver.setThreshold(0x12ABCD);
    driver.setForcedExposure(-2);
    EXPECT_THAT(command(), ElementsAre(0x00, 0x44, 0xCD, 0xAB, 0x02, 0xFE, 0x00));
    EXPECT_EQ(driver.threshold(), 0x12ABCD);
    EXPECT_EQ(driver.forcedExposure(), -2);
}

TEST_F(SettingsTest, ChangesOfThresholdAndExposureAreLogged) {
    driver.setThreshold(512);
    driver.setForcedExposure(25);
    EXPECT_THAT(log.takeLines(), IsEmpty()) << "nothing has changed";
    driver.setThreshold(-70000);
    driver.setForcedExposure(std::numeric_limits<std::int32_t>::min());
    EXPECT_THAT(log.takeLines(), ElementsAre("Event n:758 set threshold: -70000",
                                             "Event n:1291 set forcedExposure: -2147483648"));
    driver.setThreshold(-70000);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(SettingsTest, OtherChangesAreNotLogged) {
    for (const bool value : {true, false}) {
        driver.setImageProcessMode(value);
        driver.setImageShrinkTrigger(value);
        driver.setAE(value);
        driver.setIRFilterGrounded(value);
        driver.setMaskCalibration(value);
        driver.setMask(value);
        driver.setBrightness(value);
        driver.setVGAout(value);
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(SettingsTest, CommandHasRoomForTheReportSizeWhateverItIs) {
    sharedState.reportSize = 8;
    sharedState.reportCopyLength = 8;
    EXPECT_THAT(driver.commandFromCurrentSetting(), SizeIs(64));
    sharedState.reportSize = 44;
    sharedState.reportCopyLength = 300;
    EXPECT_THAT(driver.commandFromCurrentSetting(), SizeIs(300));
    sharedState.reportSize = 0;
    sharedState.reportCopyLength = 256;
    EXPECT_THAT(driver.commandFromCurrentSetting(), SizeIs(256));
}

TEST_F(SettingsTest, PrintedCommandNamesItsFirstSevenBytes) {
    const std::uint8_t bytes[]{0x00, 0xE4, 0x0A, 0xFF, 0x02, 0x19, 0x07};
    driver.printCommand(bytes);
    EXPECT_THAT(log.lines(), ElementsAre("Event n:1325 Command \nbyte 0:0, \nbyte1:e4 \nbyte2:a, "
                                         "\nbyte3:ff, \nbyte4:2, \nbyte5: 19, \nbyte6:7"));
}

// Report buffers

TEST_F(SettingsTest, ReportBuffersBeginEmptyWithRoomForAReport) {
    ASSERT_NE(driver.outputReportBuffer(), nullptr);
    ASSERT_NE(driver.inputReportBuffer(), nullptr);
    EXPECT_NE(driver.outputReportBuffer(), driver.inputReportBuffer());
    EXPECT_THAT(*driver.outputReportBuffer(), IsEmpty());
    EXPECT_THAT(*driver.inputReportBuffer(), IsEmpty());
    EXPECT_GE(driver.outputReportBuffer()->capacity(), 32u);
    EXPECT_GE(driver.inputReportBuffer()->capacity(), 32u);
}

TEST_F(SettingsTest, ReportBuffersAreRetainedAndReturned) {
    const auto output = std::make_shared<ReportBuffer>(3);
    const auto input = std::make_shared<ReportBuffer>(5);
    driver.setOutputReportBuffer(output);
    driver.setInputReportBuffer(input);
    EXPECT_EQ(driver.outputReportBuffer(), output);
    EXPECT_EQ(driver.inputReportBuffer(), input);
    driver.setInputReportBuffer(nullptr);
    EXPECT_EQ(driver.inputReportBuffer(), nullptr);
    EXPECT_EQ(input.use_count(), 1) << "the driver has let go of it";
}

} // namespace
} // namespace lightpen
