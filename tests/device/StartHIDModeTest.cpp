// SPDX-License-Identifier: MIT
// From the service of a plugged-in unit to its running queues, and where that may end.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::SizeIs;

class StartHIDModeTest : public UnitFixture {
protected:
    StartHIDModeTest() { startNoThreads(); }
    // Plugs the unit in and opens it.
    void open() {
        plugIn();
        forget();
        driver->startHIDMode();
    }
};

TEST_F(StartHIDModeTest, TheWholeWay) {
    open();
    EXPECT_TRUE(matchesTranscript("opening"));
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), IsEmpty());
    EXPECT_THAT(desk.threads.entries, SizeIs(1));
}

TEST_F(StartHIDModeTest, WhereItMayEnd) {
    driver->startHIDMode(); // without a unit
    desk.registry.publish({"IOHIDDevice",
                           "IOService:/IOUSBInterface@3",
                           {{{"VendorID", std::int64_t{0x1209}}, {"ProductID", std::int64_t{1}}}},
                           {}});
    driver->startHIDMode(); // without elements and without a plug-in
    for (const Trouble trouble : {Trouble::noPlugIn, Trouble::noInterface, Trouble::notOpened}) {
        unit.unplug();
        prepare(trouble);
        unit.plugIn();
        driver->startHIDMode();
    }
    EXPECT_TRUE(matchesTranscript("opening_failures"));
    EXPECT_THAT(desk.threads.entries, IsEmpty());
    EXPECT_EQ(driver->forcedExposure(), 25) << "nothing was read";
}

TEST_F(StartHIDModeTest, AServiceWithoutElementsIsOpenedWithCookieZero) {
    unit.reshape({.cookie = 0, .elements = {{{{"ReportID", "0"}}}}});
    open();
    EXPECT_THAT(unit.takeOperations(), Contains("queue1.addElement(0, 0)"));
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), IsEmpty());
}

TEST_F(StartHIDModeTest, AReadThatFailsStillStartsTheQueues) {
    unit.script().answer("device.setReport", kIOReturnTimeout);
    open();
    EXPECT_TRUE(matchesTranscript("opening_without_flash"));
    EXPECT_EQ(driver->calibrationPointsFromFlash(), nullptr) << "nothing is known of this unit's flash";
    EXPECT_THAT(desk.threads.entries, SizeIs(1));
}

// Before and after

TEST_F(StartHIDModeTest, SettingsBeforeTheFirstCommandAreThoseOfTheRead) {
    driver->setThreshold(800);
    driver->setForcedExposure(40);
    open();
    unit.takeSent();
    driver->removeIRFilter();
    EXPECT_EQ(sentText(unit.takeSent().at(0)), "send 00 44 00 02 02 17 (32 bytes, 100 ms)");
}

TEST_F(StartHIDModeTest, AnOpenedUnitHasItsFilterIn) {
    EXPECT_FALSE(driver->IRFilterGrounded());
    open();
    EXPECT_TRUE(driver->IRFilterGrounded());
    for (const SentReport& report : unit.takeSent())
        EXPECT_NE(report.bytes.at(0), 0) << "nothing is sent for it";
}

} // namespace
} // namespace lightpen
