// SPDX-License-Identifier: MIT
// Sending: the output buffer, the two ways to send it, and the operations that send settings.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kEmptyBuffer = "Event n:1385 doCommandFromOutputBuffer error. command size is ZERO.";
constexpr const char* kEmptyFlashBuffer =
    "Event n:1367 doCommandFromOutputBuffer error. command size is ZERO.";

class CommandsTest : public UnitFixture {
protected:
    // A unit that is plugged in and opened; nothing of it is on the timeline.
    void plugInAndOpen() {
        plugIn();
        openUnit();
        clearTimeline();
    }
    // What is sent of the settings when reports have this length.
    SentReport settingsSentWith(int reportLength) {
        sharedState.reportSize = static_cast<std::uint8_t>(reportLength & 0xFF);
        sharedState.reportCopyLength = reportLength;
        driver->putIRFilter();
        const auto sent = unit.takeSent();
        return sent.size() == 1 ? sent.front() : SentReport();
    }
};

// Sending

TEST_F(CommandsTest, AnEmptyBufferIsNotSent) {
    openUnit();
    EXPECT_EQ(driver->doCommandFromOutputBuffer(), kIOReturnSuccess);
    EXPECT_EQ(driver->doFlashCommandFromOutputBuffer(), kIOReturnSuccess);
    EXPECT_THAT(takeTimeline(), ElementsAre(kEmptyBuffer, kEmptyFlashBuffer));
}

TEST_F(CommandsTest, NoBufferIsAnEmptyBuffer) {
    plugInAndOpen();
    driver->setOutputReportBuffer(nullptr);
    EXPECT_EQ(driver->doCommandFromOutputBuffer(), kIOReturnSuccess);
    EXPECT_EQ(driver->doFlashCommandFromOutputBuffer(), kIOReturnSuccess);
    driver->removeIRFilter();
    EXPECT_THAT(takeTimeline(), ElementsAre(kEmptyBuffer, kEmptyFlashBuffer, kEmptyBuffer));
}

TEST_F(CommandsTest, ACommandIsAnOutputReportWith100MillisecondsToBeTaken) {
    openUnit();
    *driver->outputReportBuffer() = ReportBytes(32, 0xA5);
    EXPECT_EQ(driver->doCommandFromOutputBuffer(), kIOReturnSuccess);
    EXPECT_THAT(unit.takeSent(),
                ElementsAre(SentReport{static_cast<IOHIDReportType>(1), 0, ReportBytes(32, 0xA5), 100}));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CommandsTest, AFlashCommandHasNoTimeLimit) {
    openUnit();
    *driver->outputReportBuffer() = ReportBytes(32, 0x5A);
    EXPECT_EQ(driver->doFlashCommandFromOutputBuffer(), kIOReturnSuccess);
    EXPECT_THAT(unit.takeSent(), ElementsAre(SentReport{static_cast<IOHIDReportType>(1), 0,
                                                        ReportBytes(32, 0x5A), 0xFFFFFFFF}));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CommandsTest, FailuresAreReturnedAsTheyAreAndNothingIsRetried) {
    openUnit();
    *driver->outputReportBuffer() = ReportBytes(32);
    unit.script().answer("device.setReport", kIOReturnTimeout);
    EXPECT_EQ(driver->doCommandFromOutputBuffer(), kIOReturnTimeout);
    EXPECT_EQ(driver->doFlashCommandFromOutputBuffer(), kIOReturnTimeout);
    unit.script().carryOut("device.setReport");
    onSend = [](const SentReport&, int) { return ioReturn(0x12345678); };
    EXPECT_EQ(driver->doCommandFromOutputBuffer(), 0x12345678);
    EXPECT_EQ(driver->doFlashCommandFromOutputBuffer(), 0x12345678);
    EXPECT_THAT(unit.takeSent(), SizeIs(2));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CommandsTest, WithoutAnInterfaceOnlyTheFlashRoutineSaysSo) {
    *driver->outputReportBuffer() = ReportBytes(32);
    EXPECT_EQ(driver->doCommandFromOutputBuffer(), kIOReturnNoDevice);
    EXPECT_THAT(takeTimeline(), IsEmpty());
    EXPECT_EQ(driver->doFlashCommandFromOutputBuffer(), kIOReturnSuccess);
    EXPECT_THAT(takeTimeline(), ElementsAre(kEmptyFlashBuffer));
}

TEST_F(CommandsTest, AUnitThatHasLeftIsNoDevice) {
    plugInAndOpen();
    *driver->outputReportBuffer() = ReportBytes(32);
    unplug();
    EXPECT_EQ(driver->doCommandFromOutputBuffer(), kIOReturnNoDevice);
    EXPECT_EQ(driver->doFlashCommandFromOutputBuffer(), kIOReturnNoDevice);
}

TEST_F(CommandsTest, ABufferShorterThanTheReportIsSentAsItIs) {
    openUnit();
    *driver->outputReportBuffer() = {1, 2, 3};
    driver->doCommandFromOutputBuffer();
    EXPECT_THAT(unit.takeSent().at(0).bytes, ElementsAre(1, 2, 3));
}

// The output buffer and the report sizes

TEST_F(CommandsTest, TheFirstCommandGivesTheBufferItsLength) {
    plugInAndOpen();
    driver->putIRFilter();
    EXPECT_THAT(*driver->outputReportBuffer(), SizeIs(32));
    EXPECT_THAT(unit.takeSent().at(0).bytes, SizeIs(32));
}

TEST_F(CommandsTest, EachReportLengthIsSentWhole) {
    plugInAndOpen();
    for (const int length : {7, 8, 32, 255}) {
        const SentReport sent = settingsSentWith(length);
        ASSERT_THAT(sent.bytes, SizeIs(length));
        EXPECT_THAT(ReportBytes(sent.bytes.begin(), sent.bytes.begin() + 7),
                    ElementsAre(0, 0x40, 0, 2, 2, 25, 0));
        EXPECT_THAT(ReportBytes(sent.bytes.begin() + 7, sent.bytes.end()), Each(0));
    }
}

TEST_F(CommandsTest, LengthsBeyond255AreCutInWhatIsSentButCopiedWhole) {
    plugInAndOpen();
    EXPECT_THAT(settingsSentWith(300).bytes, SizeIs(44));
    EXPECT_THAT(*driver->outputReportBuffer(), SizeIs(300));
    EXPECT_THAT(settingsSentWith(804).bytes, SizeIs(36));
    EXPECT_THAT(*driver->outputReportBuffer(), SizeIs(804));
    EXPECT_THAT(settingsSentWith(256).bytes, IsEmpty()) << "a report of no bytes is sent all the same";
    EXPECT_THAT(settingsSentWith(257).bytes, ElementsAre(0));
}

TEST_F(CommandsTest, WhatLiesBehindTheCopiedBytesStays) {
    plugInAndOpen();
    *driver->outputReportBuffer() = ReportBytes(40, 0xEE);
    settingsSentWith(32);
    const ReportBuffer& buffer = *driver->outputReportBuffer();
    ASSERT_THAT(buffer, SizeIs(40));
    EXPECT_EQ(buffer[31], 0);
    EXPECT_THAT(ReportBytes(buffer.begin() + 32, buffer.end()), Each(0xEE));
    settingsSentWith(8);
    EXPECT_THAT(buffer, SizeIs(40)) << "a shorter report does not shorten it";
    EXPECT_EQ(buffer[39], 0xEE);
}

TEST_F(CommandsTest, TheBufferGrowsAndKeepsItsIdentity) {
    plugInAndOpen();
    const ReportBufferRef buffer = driver->outputReportBuffer();
    settingsSentWith(8);
    EXPECT_THAT(*buffer, SizeIs(8));
    settingsSentWith(300);
    EXPECT_THAT(*buffer, SizeIs(300));
    EXPECT_EQ(driver->outputReportBuffer(), buffer);
    EXPECT_THAT(*driver->inputReportBuffer(), IsEmpty()) << "nothing fills it";
}

// The infrared filter

TEST_F(CommandsTest, WithoutAUnitTheFilterStaysWhereItIs) {
    openUnit();
    driver->setIRFilterGrounded(true);
    driver->removeIRFilter();
    EXPECT_TRUE(driver->IRFilterGrounded());
    driver->setIRFilterGrounded(false);
    driver->putIRFilter();
    EXPECT_FALSE(driver->IRFilterGrounded());
    EXPECT_THAT(takeTimeline(), IsEmpty());
}

TEST_F(CommandsTest, TheFilterIsRemovedAndPutBack) {
    plugInAndOpen();
    driver->setToDefault();
    driver->removeIRFilter();
    EXPECT_FALSE(driver->IRFilterGrounded());
    driver->putIRFilter();
    EXPECT_TRUE(driver->IRFilterGrounded());
    EXPECT_THAT(takeTimeline(), ElementsAre("send 00 64 00 02 02 19 (32 bytes, 100 ms)",
                                            "send 00 60 00 02 02 19 (32 bytes, 100 ms)"));
}

TEST_F(CommandsTest, TheSecondProductIsAUnitToo) {
    openUnit();
    ScriptedUnit::Shape shape;
    shape.product = 2;
    ScriptedUnit second(desk, shape);
    second.plugIn();
    EXPECT_TRUE(driver->isDevicePlugIn());
    driver->removeIRFilter();
    EXPECT_THAT(unit.takeSent(), SizeIs(1));
    shape.product = 3;
    second.unplug();
    ScriptedUnit third(desk, shape);
    third.plugIn();
    EXPECT_FALSE(driver->isDevicePlugIn());
}

TEST_F(CommandsTest, AFilterThatDoesNotMoveIsLoggedAndRemembered) {
    plugInAndOpen();
    unit.script().answer("device.setReport", kIOReturnTimeout);
    driver->setIRFilterGrounded(true);
    driver->removeIRFilter();
    EXPECT_FALSE(driver->IRFilterGrounded());
    driver->putIRFilter();
    EXPECT_TRUE(driver->IRFilterGrounded());
    EXPECT_THAT(takeTimeline(), ElementsAre("Event n:1303 removeIRFilter not success",
                                            "Event n:1315 putIRFilter not success"));
}

TEST_F(CommandsTest, AUnitThatIsThereButNotOpenIsAFailure) {
    plugIn();
    driver->removeIRFilter();
    EXPECT_THAT(log.lines(), ElementsAre("Event n:1303 removeIRFilter not success"));
}

// Threshold and exposure

TEST_F(CommandsTest, WithoutAUnitNoValuesAreUpdated) {
    openUnit();
    driver->_calibrationPoints = std::make_shared<PointList>(4);
    driver->updateTwoValueToDevice();
    EXPECT_THAT(takeTimeline(), ElementsAre("Event n:1958 device is not plugged."));
}

TEST_F(CommandsTest, AnUpdateSendsTheSettingsAndThenWritesTheCalibration) {
    plugInAndOpen();
    driver->_calibrationPoints =
        std::make_shared<PointList>(PointList{{210, 140}, {2330, 161}, {233, 1709}, {2291, 1688}});
    driver->setToDefault();
    driver->setThreshold(0x0321);
    driver->setForcedExposure(30);
    clearTimeline();
    driver->updateTwoValueToDevice();
    const std::string points = "({210, 140}, {2330, 161}, {233, 1709}, {2291, 1688})";
    EXPECT_THAT(takeTimeline(),
                ElementsAre("send 00 60 21 03 02 1E (32 bytes, 100 ms)",
                            "Event n:874 " + points + ", 0(210,140)(2330,161), point left: 4",
                            "send 43 00 D2 00 8C 00 1A 09 A1 (32 bytes, 100 ms)", "sleep 10000",
                            "Event n:874 " + points + ", 1(233,1709)(2291,1688), point left: 4",
                            "send 43 01 E9 00 AD 06 F3 08 98 06 (32 bytes, 100 ms)", "sleep 10000",
                            "Event n:874 " + points + ", 2(0,0)(0,0), point left: 4",
                            "send 43 02 (32 bytes, 100 ms)", "sleep 10000"));
}

TEST_F(CommandsTest, AFailedUpdateStillWritesTheCalibration) {
    plugInAndOpen();
    driver->_calibrationPoints = std::make_shared<PointList>(4);
    onSend = [](const SentReport&, int number) { return number == 1 ? kIOReturnTimeout : kIOReturnSuccess; };
    driver->updateTwoValueToDevice();
    EXPECT_THAT(unit.takeSent(), SizeIs(4));
    EXPECT_EQ(log.lines().at(0), "Event n:1965 update values faied");
    EXPECT_THAT(log.lines(), SizeIs(4));
}

TEST_F(CommandsTest, AnUpdateWithoutACalibrationIsRefusedByTheWrite) {
    plugInAndOpen();
    const auto refused = "Event n:809 error when writeCalibrationToFlash: points count is not 4,9,25";
    for (const PointListRef& points :
         {PointListRef(), std::make_shared<const PointList>(), std::make_shared<const PointList>(6)}) {
        driver->_calibrationPoints = points;
        driver->updateTwoValueToDevice();
        EXPECT_THAT(takeTimeline(), ElementsAre("send 00 44 00 02 02 19 (32 bytes, 100 ms)", refused));
        EXPECT_EQ(driver->calibrationPointsFromFlash(), points);
    }
}

} // namespace
} // namespace lightpen
