// SPDX-License-Identifier: MIT
// From the service of a plugged-in unit to its running queues, and where that may end.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class StartHIDModeTest : public UnitFixture {
protected:
    StartHIDModeTest() {
        threadsStart = false;
        driver->_stopThread = true;
        driver->_isStaring = true;
    }
    // The timeline behind the search for the service.
    std::vector<std::string> afterTheSearch() {
        auto timeline = takeTimeline();
        const auto found = std::find_if(timeline.begin(), timeline.end(), [](const std::string& what) {
            return what.starts_with("Event n:2198 ");
        });
        if (found != timeline.end())
            timeline.erase(timeline.begin(), found + 1);
        return timeline;
    }
};

TEST_F(StartHIDModeTest, TheWholeWay) {
    plugIn();
    replies = emptyReplies();
    driver->startHIDMode();
    EXPECT_THAT(
        takeTimeline(),
        ElementsAre(
            "RBIOS n:289 char: 3", "sleep 500000", "RBIOS n:292 interface number :3",
            "Event n:2198 found defice: " + std::to_string(driver->_hidDevice.get()) + ", interface number = 3",
            "Event n:2314 Fetch input report elements",
            "Event n:1982 _inputReportElements:({ElementCookie = 17; ReportID = 0; })",
            "out: Event n:2254 Found device type IOHIDDevice\n", "Event n:2774 create hid interface done.",
            "device.open(0)", "out: Event n:2285 Open result = 0\n",
            // the flash
            "Event n:903", "device.allocQueue()", "queue1.create(0, 100)",
            "Event n:2323 Input report element for 0", "Event n:2349 ", "queue1.hasElement(17)",
            "queue1.addElement(17, 0)", "queue1.start()", "Event n:914",
            "Event n:1291 set forcedExposure: 23", "sleep 100000", "queue1.start()",
            "send 48 (32 bytes, no limit)", "sleep 200000", "queue1.start()", "send 48 (32 bytes, no limit)",
            "sleep 100000", "Event n:1187 NX9Ver:0x35,wireless:0x1,cmosVer:0x12,GainValue:0x7,OPmode:0x0",
            "send 54 (32 bytes, no limit)", "queue1.stop()", "queue1.dispose()",
            "Event n:2033 _calibrationPointsFromFlash: ()",
            // the queues
            "device.allocQueue()", "queue2.create(0, 100)", "Event n:2010",
            "Event n:2323 Input report element for 0", "Event n:2349 ", "queue2.hasElement(17)",
            "queue2.addElement(17, 0)", "queue2.createAsyncEventSource()",
            StartsWith("Event n:1895 ##attach source("), "queue2.setEventCallout()", "queue2.start()",
            "sleep 1000000", "thread"));
    EXPECT_FALSE(driver->_stopThread);
    EXPECT_TRUE(driver->_isStaring) << "it is the thread that clears it";
    EXPECT_NE(driver->_queue.load(), nullptr);
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), IsEmpty());
}

TEST_F(StartHIDModeTest, TheCalibrationIsKept) {
    plugIn();
    replies = calibratedReplies();
    driver->startHIDMode();
    ASSERT_NE(driver->calibrationPointsFromFlash(), nullptr);
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), SizeIs(6));
    EXPECT_EQ(
        log.lines().at(log.lines().size() - 5),
        "Event n:2033 _calibrationPointsFromFlash: ({210, 140}, {2330, 161}, {233, 1709}, {2291, 1688}, "
        "{1792, 0}, {256, 4661})");
}

TEST_F(StartHIDModeTest, WithoutAServiceTheStartIsOver) {
    driver->startHIDMode();
    EXPECT_THAT(takeTimeline(), ElementsAre("Event n:2074 hiddevice null."));
    EXPECT_FALSE(driver->_isStaring);
    EXPECT_FALSE(driver->_stopThread);
    EXPECT_EQ(driver->_hidDevice.get(), 0u);
}

TEST_F(StartHIDModeTest, WithoutAPlugInItStopsAndIsStillStarting) {
    unit.withoutPlugIn = true;
    plugIn();
    driver->startHIDMode();
    EXPECT_THAT(afterTheSearch(),
                ElementsAre("Event n:2314 Fetch input report elements",
                            "Event n:1982 _inputReportElements:({ElementCookie = 17; ReportID = 0; })",
                            "out: Event n:2254 Found device type IOHIDDevice\n",
                            "Event n:2071 hid interface null."));
    EXPECT_TRUE(driver->_isStaring);
}

TEST_F(StartHIDModeTest, WithoutADeviceInterfaceItStops) {
    unit.withoutInterface = true;
    plugIn();
    driver->startHIDMode();
    EXPECT_THAT(afterTheSearch(), ElementsAre("Event n:2314 Fetch input report elements",
                                              StartsWith("Event n:1982 "), StartsWith("out: Event n:2254 "),
                                              "Event n:2270 Couldn't create HID class device interface",
                                              "Event n:2071 hid interface null."));
    EXPECT_TRUE(driver->_isStaring);
}

TEST_F(StartHIDModeTest, WhatCannotBeOpenedIsNotRead) {
    unit.script().answer("device.open", kIOReturnNotPrivileged);
    plugIn();
    driver->startHIDMode();
    EXPECT_THAT(afterTheSearch(),
                ElementsAre("Event n:2314 Fetch input report elements", StartsWith("Event n:1982 "),
                            StartsWith("out: Event n:2254 "), "Event n:2774 create hid interface done.",
                            "device.open(0)", "out: Event n:2285 Open result = -536870207\n",
                            "Event n:2068 open device failed. -536870207"));
    EXPECT_TRUE(driver->_isStaring);
    EXPECT_EQ(driver->_queue.load(), nullptr);
    EXPECT_EQ(driver->forcedExposure(), 25);
}

TEST_F(StartHIDModeTest, AServiceWithoutElementsIsOpenedWithCookieZero) {
    ScriptedUnit::Shape shape;
    shape.cookie = 0;
    shape.elements = {{{{"ReportID", "0"}}}};
    unit.reshape(shape);
    plugIn();
    replies = emptyReplies();
    driver->startHIDMode();
    EXPECT_THAT(unit.takeOperations(), testing::Contains("queue1.addElement(0, 0)"));
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), IsEmpty());
}

TEST_F(StartHIDModeTest, MissingElementsAreLogged) {
    desk.registry.publish({"IOHIDDevice",
                           "IOService:/IOUSBInterface@3",
                           {{{"VendorID", std::int64_t{0x1209}}, {"ProductID", std::int64_t{1}}}},
                           {}});
    driver->startHIDMode();
    EXPECT_THAT(afterTheSearch(),
                ElementsAre("Event n:2314 Fetch input report elements",
                            "Event n:1982 _inputReportElements:(null)", StartsWith("out: Event n:2254 "),
                            "Event n:2071 hid interface null."));
    EXPECT_EQ(driver->_inputReportElements.load(), nullptr);
}

TEST_F(StartHIDModeTest, AReadThatFailsStillStartsTheQueues) {
    driver->_calibrationPoints = std::make_shared<PointList>(4);
    plugIn();
    onSend = [](const SentReport&, int) { return kIOReturnTimeout; };
    driver->startHIDMode();
    EXPECT_EQ(driver->calibrationPointsFromFlash(), nullptr) << "nothing is known of this unit's flash";
    const auto lines = log.lines();
    EXPECT_THAT(lines,
                testing::IsSupersetOf({"Event n:827 read flash with address:0x0 failed",
                                       "Event n:2033 _calibrationPointsFromFlash: (null)", "Event n:2010"}));
    EXPECT_THAT(desk.threads.entries, SizeIs(1));
}

// A second unit beside the open one

TEST_F(StartHIDModeTest, AQueueThatIsThereAlreadyEndsTheStartWithoutAThread) {
    plugIn();
    replies = emptyReplies();
    driver->startHIDMode();
    driver->_isStaring = true;
    replies = emptyReplies();
    clearTimeline();
    driver->startHIDMode();
    EXPECT_EQ(takeTimeline().back(), "Event n:1872 alloc queue failed");
    EXPECT_FALSE(driver->_isStaring) << "no thread will clear it";
    EXPECT_THAT(desk.threads.entries, SizeIs(1));
}

TEST_F(StartHIDModeTest, ASecondStartKeepsNoReferenceToTheFirstService) {
    const std::size_t before = desk.registry.liveObjects();
    plugIn();
    for (int i = 0; i < 3; ++i) {
        replies = emptyReplies();
        driver->startHIDMode();
    }
    driver->releaseHIDInterface();
    unplug();
    EXPECT_EQ(desk.registry.liveObjects(), before);
}

TEST_F(StartHIDModeTest, ASecondStartLeavesTheRunningQueuesTheirInterface) {
    plugIn();
    replies = emptyReplies();
    driver->startHIDMode();
    const std::weak_ptr<IOHIDDeviceInterface122> first = driver->_pphidDeviceInterface.load();
    replies = emptyReplies();
    driver->startHIDMode();
    EXPECT_NE(driver->_pphidDeviceInterface.load(), first.lock());
    EXPECT_FALSE(first.expired()) << "it feeds the queues";
    driver->releaseHIDInterface();
    EXPECT_TRUE(first.expired());
}

// Before and after

TEST_F(StartHIDModeTest, SettingsBeforeTheFirstCommandAreThoseOfTheRead) {
    plugIn();
    replies = emptyReplies();
    driver->_deviceMode = 0;
    driver->setThreshold(800);
    driver->startHIDMode();
    unit.takeSent();
    driver->removeIRFilter();
    EXPECT_EQ(sentText(unit.takeSent().at(0)), "send 00 C4 00 02 02 17 (32 bytes, 100 ms)");
}

} // namespace
} // namespace lightpen
