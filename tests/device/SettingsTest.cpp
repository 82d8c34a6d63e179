// SPDX-License-Identifier: MIT
// The camera settings as properties, and the command they make.
#include <limits>

#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

using Setter = void (EventGeneratorNX7::*)(bool);
using Getter = bool (EventGeneratorNX7::*)() const;

struct Switch {
    Setter set;
    Getter get;
    int bit;        // of the control byte; 0 where it is not sent
    bool byDefault; // after setToDefault
};

const Switch kSwitches[]{
    {&EventGeneratorNX7::setImageProcessMode, &EventGeneratorNX7::imageProcessMode, 0x01, false},
    {&EventGeneratorNX7::setImageShrinkTrigger, &EventGeneratorNX7::imageShrinkTrigger, 0x02, false},
    {&EventGeneratorNX7::setIRFilterGrounded, &EventGeneratorNX7::IRFilterGrounded, 0x04, true},
    {&EventGeneratorNX7::setMaskCalibration, &EventGeneratorNX7::maskCalibration, 0x08, false},
    {&EventGeneratorNX7::setMask, &EventGeneratorNX7::mask, 0x10, false},
    {&EventGeneratorNX7::setBrightness, &EventGeneratorNX7::brightness, 0x20, true},
    {&EventGeneratorNX7::setAE, &EventGeneratorNX7::AE, 0, false},
    {&EventGeneratorNX7::setVGAout, &EventGeneratorNX7::VGAout, 0, true}};

class SettingsTest : public UnitFixture {
protected:
    // The first seven bytes of the settings command.
    ReportBuffer command() const {
        ReportBuffer bytes = driver->commandFromCurrentSetting();
        EXPECT_THAT(ReportBuffer(bytes.begin() + 7, bytes.end()), Each(0));
        bytes.resize(7);
        return bytes;
    }
    int controlByte() const { return command()[1]; }
};

TEST_F(SettingsTest, ValuesOfANewDriver) {
    for (const Switch& one : kSwitches)
        EXPECT_FALSE((driver.get()->*one.get)()) << one.bit;
    EXPECT_EQ(driver->forcedExposure(), 25);
    EXPECT_EQ(driver->nx9Exposure(), 25);
    EXPECT_EQ(driver->threshold(), 512);
    EXPECT_EQ(driver->delegate(), nullptr);
    EXPECT_EQ(driver->calibrationCenter(), nullptr);
    EXPECT_EQ(driver->calibrationPointsFromFlash(), nullptr);
    EXPECT_THAT(command(), ElementsAre(0x00, 0x44, 0x00, 0x02, 0x02, 0x19, 0x00));
    EXPECT_THAT(driver->commandFromCurrentSetting(), testing::SizeIs(64));
}

TEST_F(SettingsTest, DefaultsAreSetAndNothingIsSentOrLogged) {
    for (const Switch& one : kSwitches)
        (driver.get()->*one.set)(!one.byDefault);
    driver->setForcedExposure(31);
    driver->setThreshold(700);
    happened.clear();
    driver->setToDefault();
    for (const Switch& one : kSwitches)
        EXPECT_EQ((driver.get()->*one.get)(), one.byDefault) << one.bit;
    EXPECT_EQ(driver->forcedExposure(), 31) << "no default of its own";
    EXPECT_EQ(driver->threshold(), 700) << "no default of its own";
    EXPECT_THAT(happened.takeAll(), IsEmpty());
    EXPECT_TRUE(driver->outputReportBuffer()->empty());
    EXPECT_THAT(command(), ElementsAre(0x00, 0x60, 0xBC, 0x02, 0x02, 0x1F, 0x00));
}

TEST_F(SettingsTest, EachSwitchReachesItsBitAloneAndIsNotLogged) {
    driver->setIRFilterGrounded(true); // its bit is inverted
    for (const Switch& one : kSwitches) {
        const bool inverted = one.bit == 0x04;
        (driver.get()->*one.set)(!inverted);
        EXPECT_EQ((driver.get()->*one.get)(), !inverted);
        EXPECT_EQ(controlByte(), 0x40 | one.bit);
        (driver.get()->*one.set)(inverted);
        EXPECT_EQ(controlByte(), 0x40);
    }
    EXPECT_THAT(happened.takeAll(), IsEmpty());
}

TEST_F(SettingsTest, OnlyAUnitThatWasJustAddedSetsTheHighestBit) {
    start();
    plugIn();
    EXPECT_EQ(controlByte() & 0x80, 0x80);
    driver->setToDefault();
    EXPECT_EQ(controlByte() & 0x80, 0) << "its defaults are set";
    unplug();
    plugIn();
    EXPECT_EQ(controlByte() & 0x80, 0x80);
    unplug();
    EXPECT_EQ(controlByte() & 0x80, 0) << "it has left";
}

TEST_F(SettingsTest, ThresholdAndExposureAreCutToTheirBytesAndTheirChangesLogged) {
    driver->setThreshold(512);
    driver->setForcedExposure(25);
    EXPECT_THAT(log.lines(), IsEmpty()) << "nothing has changed";
    for (int time = 0; time < 2; ++time) {
        driver->setThreshold(0x12ABCD);
        driver->setForcedExposure(-2);
    }
    EXPECT_THAT(command(), ElementsAre(0x00, 0x44, 0xCD, 0xAB, 0x02, 0xFE, 0x00));
    EXPECT_EQ(driver->threshold(), 0x12ABCD);
    EXPECT_EQ(driver->forcedExposure(), -2);
    driver->setThreshold(-70000);
    driver->setForcedExposure(std::numeric_limits<std::int32_t>::min());
    const std::uint8_t bytes[]{0x00, 0xE4, 0x0A, 0xFF, 0x02, 0x19, 0x07};
    driver->printCommand(bytes);
    EXPECT_TRUE(matchesTranscript("settings"));
}

// Report buffers

TEST_F(SettingsTest, ReportBuffersBeginEmptyWithRoomForAReport) {
    EXPECT_NE(driver->outputReportBuffer(), driver->inputReportBuffer());
    for (const ReportBufferRef& buffer : {driver->outputReportBuffer(), driver->inputReportBuffer()}) {
        EXPECT_THAT(*buffer, IsEmpty());
        EXPECT_GE(buffer->capacity(), 32U);
    }
}

TEST_F(SettingsTest, ReportBuffersAreRetainedAndReturned) {
    const auto output = std::make_shared<ReportBuffer>(3);
    const auto input = std::make_shared<ReportBuffer>(5);
    driver->setOutputReportBuffer(output);
    driver->setInputReportBuffer(input);
    EXPECT_EQ(driver->outputReportBuffer(), output);
    EXPECT_EQ(driver->inputReportBuffer(), input);
    driver->setInputReportBuffer(nullptr);
    EXPECT_EQ(driver->inputReportBuffer(), nullptr);
    EXPECT_EQ(input.use_count(), 1) << "the driver has let go of it";
}

} // namespace
} // namespace lightpen
