// SPDX-License-Identifier: MIT
// Sending: the output buffer, the two ways to send it, and the operations that send settings.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class CommandsTest : public UnitFixture {
protected:
    CommandsTest() { openInterface(); }
    ReportBuffer& buffer() const { return *driver->outputReportBuffer(); }
    static PointListRef fourPoints() {
        return std::make_shared<const PointList>(
            PointList{{210, 140}, {2330, 161}, {233, 1709}, {2291, 1688}});
    }
};

// Sending

TEST_F(CommandsTest, AnEmptyBufferIsNotSent) {
    EXPECT_EQ(driver->doCommandFromOutputBuffer(), kIOReturnSuccess);
    EXPECT_EQ(driver->doFlashCommandFromOutputBuffer(), kIOReturnSuccess);
    driver->setOutputReportBuffer(nullptr); // no buffer is an empty one
    EXPECT_EQ(driver->doCommandFromOutputBuffer(), kIOReturnSuccess);
    EXPECT_EQ(driver->doFlashCommandFromOutputBuffer(), kIOReturnSuccess);
    driver->removeIRFilter();
    EXPECT_TRUE(matchesTranscript("empty_commands"));
}

TEST_F(CommandsTest, ACommandHas100MillisecondsToBeTakenAndAFlashCommandNoLimit) {
    buffer() = ReportBytes(32, 0xA5);
    EXPECT_EQ(driver->doCommandFromOutputBuffer(), kIOReturnSuccess);
    EXPECT_EQ(driver->doFlashCommandFromOutputBuffer(), kIOReturnSuccess);
    const auto output = static_cast<IOHIDReportType>(1);
    EXPECT_THAT(unit.takeSent(), ElementsAre(SentReport{output, 0, ReportBytes(32, 0xA5), 100},
                                             SentReport{output, 0, ReportBytes(32, 0xA5), 0xFFFFFFFF}));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CommandsTest, FailuresAreReturnedAsTheyAreAndNothingIsRetried) {
    buffer() = ReportBytes(32);
    for (const IOReturn failure : {kIOReturnTimeout, ioReturn(0x12345678)}) {
        failSends(1, failure);
        EXPECT_EQ(driver->doCommandFromOutputBuffer(), failure);
        EXPECT_EQ(driver->doFlashCommandFromOutputBuffer(), failure);
    }
    EXPECT_THAT(unit.takeSent(), SizeIs(4));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CommandsTest, AUnitThatHasLeftIsNoDevice) {
    buffer() = ReportBytes(32);
    unplug();
    EXPECT_EQ(driver->doCommandFromOutputBuffer(), kIOReturnNoDevice);
    EXPECT_EQ(driver->doFlashCommandFromOutputBuffer(), kIOReturnNoDevice);
    driver->releaseHIDInterface();
    EXPECT_EQ(driver->doCommandFromOutputBuffer(), kIOReturnNoDevice);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(driver->doFlashCommandFromOutputBuffer(), kIOReturnSuccess);
    EXPECT_THAT(log.lines(), SizeIs(1)) << "without an interface only the flash routine says so";
}

TEST_F(CommandsTest, ABufferShorterThanTheReportIsSentAsItIs) {
    buffer() = {1, 2, 3};
    driver->doCommandFromOutputBuffer();
    EXPECT_THAT(unit.takeSent().at(0).bytes, ElementsAre(1, 2, 3));
}

// The output buffer and the report sizes

// Lengths beyond 255 are cut in what is sent and copied whole; a report of no bytes is sent all the same.
TEST_F(CommandsTest, EachReportLengthIsSentInItsLowEightBits) {
    const ReportBufferRef first = driver->outputReportBuffer();
    ReportBytes command{0, 0x40, 0, 2, 2, 23, 0};
    command.resize(255);
    std::size_t longest = 32;
    for (const std::size_t length : {7U, 8U, 32U, 255U, 256U, 257U, 300U, 804U}) {
        unplug();
        reshape(length);
        openAndRead();
        driver->putIRFilter();
        const auto sent = unit.takeSent();
        ASSERT_THAT(sent, SizeIs(1)) << length;
        EXPECT_EQ(sent[0].bytes,
                  ReportBytes(command.begin(), command.begin() + static_cast<int>(length & 0xFF)));
        longest = std::max(longest, length);
        EXPECT_THAT(buffer(), SizeIs(longest)) << "it grows and never shrinks";
    }
    EXPECT_EQ(driver->outputReportBuffer(), first);
    EXPECT_THAT(*driver->inputReportBuffer(), IsEmpty()) << "nothing fills it";
}

TEST_F(CommandsTest, WhatLiesBehindTheCopiedBytesStays) {
    buffer() = ReportBytes(40, 0xEE);
    driver->putIRFilter();
    ASSERT_THAT(buffer(), SizeIs(40));
    EXPECT_EQ(buffer()[31], 0);
    EXPECT_THAT(ReportBytes(buffer().begin() + 32, buffer().end()), Each(0xEE));
}

// The infrared filter

TEST_F(CommandsTest, WithoutAUnitTheFilterStaysWhereItIs) {
    unit.unplug();
    driver->setIRFilterGrounded(true);
    driver->removeIRFilter();
    EXPECT_TRUE(driver->IRFilterGrounded());
    driver->setIRFilterGrounded(false);
    driver->putIRFilter();
    EXPECT_FALSE(driver->IRFilterGrounded());
    EXPECT_THAT(happened.takeAll(), IsEmpty());
}

TEST_F(CommandsTest, TheFilterIsRemovedAndPutBack) {
    driver->setToDefault();
    driver->removeIRFilter();
    EXPECT_FALSE(driver->IRFilterGrounded());
    driver->putIRFilter();
    EXPECT_TRUE(driver->IRFilterGrounded());
    failSends(1, kIOReturnTimeout);
    driver->removeIRFilter();
    EXPECT_FALSE(driver->IRFilterGrounded()) << "remembered although it failed";
    driver->putIRFilter();
    EXPECT_TRUE(driver->IRFilterGrounded());
    EXPECT_TRUE(matchesTranscript("filter"));
}

TEST_F(CommandsTest, OnlyTheTwoProductsAreUnits) {
    for (const auto& [product, isUnit] : {std::pair{1, true}, {2, true}, {3, false}}) {
        unit.unplug();
        unit.reshape({.product = product});
        unit.plugIn();
        EXPECT_EQ(driver->isDevicePlugIn(), isUnit) << product;
    }
}

TEST_F(CommandsTest, AUnitThatIsThereButNotOpenIsAFailure) {
    driver->releaseHIDInterface();
    driver->removeIRFilter();
    EXPECT_THAT(log.lines(), SizeIs(1));
    EXPECT_THAT(unit.takeSent(), IsEmpty());
}

// Threshold and exposure

TEST_F(CommandsTest, AnUpdateSendsTheSettingsAndThenWritesTheCalibration) {
    driver->writeCalibrationToFlash(fourPoints());
    driver->setToDefault();
    driver->setThreshold(0x0321);
    driver->setForcedExposure(30);
    happened.clear();
    driver->updateTwoValueToDevice();
    failSends(1, kIOReturnTimeout, 1);
    driver->updateTwoValueToDevice();
    unit.unplug();
    driver->updateTwoValueToDevice();
    EXPECT_TRUE(matchesTranscript("update"));
}

TEST_F(CommandsTest, AnUpdateWithoutACalibrationIsRefusedByTheWrite) {
    driver->updateTwoValueToDevice();
    startNoThreads();
    driver->startHIDMode(); // an empty flash
    unitAnswers.records = calibratedRecords();
    unit.takeSent();
    driver->updateTwoValueToDevice();
    driver->startHIDMode(); // six entries
    unit.takeSent();
    driver->updateTwoValueToDevice();
    EXPECT_THAT(unit.takeSent(), SizeIs(1)) << "the settings alone";
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), SizeIs(6));
}

} // namespace
} // namespace lightpen
