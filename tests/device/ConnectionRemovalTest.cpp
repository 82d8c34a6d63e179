// SPDX-License-Identifier: MIT
// A unit that leaves.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ConnectionRemovalTest : public UnitFixture {
protected:
    ConnectionRemovalTest() {
        driver->init();
        driver->setDeviceDelegate(deviceDelegate);
        driver->setCalibrationCenter(std::make_shared<ShiftingMapper>());
        replies = calibratedReplies();
        plugIn();
        deviceDelegate->takeHeard();
        desk.clock.takeSleeps();
        unit.takeOperations();
        log.clear();
        clearTimeline();
    }
    // Passes until the pointer follows the pen.
    void arm() {
        for (int pass = 0; pass < 7; ++pass) {
            if (pass < 6)
                unit.sendReport(penUpReport());
            driver->pointThreadPass(*thread);
        }
        ASSERT_EQ(sharedState.mouseArmed, 1);
    }
};

TEST_F(ConnectionRemovalTest, TakesFourPausesBetweenItsLines) {
    unplug();
    EXPECT_THAT(takeTimeline(), ElementsAre("Event n:666 device did removed", "sleep 100000", "sleep 100000",
                                            "sleep 100000", "sleep 100000", "Event n:594 device did removed"))
        << "the queues are dropped, neither stopped nor disposed";
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove"));
    EXPECT_EQ(deviceDelegate->sender, driver.get());
}

// What is so at each pause of the removal, and when the delegate hears of it.
struct Moment {
    std::string what;
    bool stopped, open, interface, queue, pointsQueue, calibrationQueue;
    int mode, queried;
    friend bool operator==(const Moment&, const Moment&) = default;
};

TEST_F(ConnectionRemovalTest, HappensInThisOrder) {
    driver->_calibrationQueue = unit.makeQueue();
    sharedState.disarmedPollCount = 4;
    std::vector<Moment> moments;
    const auto note = [&](const std::string& what) {
        moments.push_back({what, driver->_stopThread, sharedState.unitOpen != 0,
                           driver->_pphidDeviceInterface.load() != nullptr, driver->_queue.load() != nullptr,
                           driver->_pointsQueue.load() != nullptr, driver->_calibrationQueue != nullptr,
                           driver->_deviceMode, sharedState.deviceDelegateQueried});
    };
    desk.clock.onSleep = [&](Microseconds) { note("pause"); };
    deviceDelegate->then = [&](const std::string& what) { note(what); };
    note("before");
    unplug();
    EXPECT_THAT(moments, ElementsAre(Moment{"before", false, true, true, true, true, true, 0, 1},
                                     Moment{"pause", true, false, false, false, true, true, -1, 1},
                                     Moment{"pause", true, false, false, false, false, true, -1, 1},
                                     Moment{"pause", true, false, false, false, false, false, -1, 1},
                                     Moment{"remove", true, false, false, false, false, false, -1, 1},
                                     Moment{"pause", true, false, false, false, false, false, -1, 1}));
    EXPECT_EQ(sharedState.mouseArmed, 0);
    EXPECT_EQ(sharedState.disarmedPollCount, 0);
    EXPECT_EQ(sharedState.unitOpen, 0);
    EXPECT_EQ(sharedState.deviceDelegateQueried, 0) << "polling waits for the next question";
    EXPECT_EQ(driver->_hidDevice.get(), 0u);
}

TEST_F(ConnectionRemovalTest, TheIteratorIsEmptiedFirst) {
    // Everything of it, whoever it belongs to.
    io_iterator_t iterator = 0;
    MatchingDictionary matching = IOServiceMatching("IOHIDDevice");
    desk.registry.IOServiceGetMatchingServices(0, matching, iterator);
    const std::size_t held = desk.registry.liveObjects();
    std::size_t atFirstLine = 0;
    log.onLine = [&](std::string_view line) {
        if (line == "Event n:666 device did removed")
            atFirstLine = static_cast<std::size_t>(desk.registry.IOIteratorNext(iterator));
    };
    driver->deviceDidRemove(iterator);
    EXPECT_EQ(atFirstLine, 0u);
    desk.registry.IOObjectRelease(iterator);
    EXPECT_EQ(desk.registry.liveObjects(), held - 1);
}

TEST_F(ConnectionRemovalTest, DelegatesThatDoNotRespondAreNotAsked) {
    deviceDelegate->deaf = {Operation::deviceDidRemoveCallback};
    unplug();
    EXPECT_THAT(deviceDelegate->takeHeard(), IsEmpty());
    EXPECT_THAT(desk.clock.takeSleeps(), SizeIs(4));
}

TEST_F(ConnectionRemovalTest, WithoutADelegateTheUnitLeavesAllTheSame) {
    driver->setDeviceDelegate(nullptr);
    log.clear();
    unplug();
    EXPECT_THAT(log.lines(), ElementsAre("Event n:666 device did removed", "Event n:594 device did removed"));
}

TEST_F(ConnectionRemovalTest, AThreadThatSetsItsQueueOnceMoreIsWaitedFor) {
    int pauses = 0;
    desk.clock.onSleep = [&](Microseconds) {
        // The second pause is the first one for the points queue.
        if (++pauses == 2 || pauses == 3)
            driver->_pointsQueue = unit.makeQueue();
    };
    unplug();
    EXPECT_THAT(desk.clock.takeSleeps(), AllOf(SizeIs(6), Each(milliseconds(100))));
    EXPECT_EQ(driver->_pointsQueue.load(), nullptr);
}

TEST_F(ConnectionRemovalTest, ThePointThreadEndsAtItsNextCheck) {
    arm();
    clearTimeline();
    unplug();
    clearTimeline();
    EXPECT_FALSE(driver->pointThreadPass(*thread));
    EXPECT_THAT(log.lines(), Contains("Event n:1829 456"));
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove")) << "once";
}

TEST_F(ConnectionRemovalTest, AStrokeUnderWayIsReleasedByTheLastReport) {
    arm();
    unit.sendReport(penReport(401, 302));
    driver->pointThreadPass(*thread);
    desk.pointer.takePosted();
    unit.unplug(); // the unit's last word is "no light spot"
    driver->pointThreadPass(*thread);
    EXPECT_THAT(desk.pointer.takePosted(), ElementsAre(up(401, 302)));
    desk.runLoop.runFor(seconds(1));
    EXPECT_FALSE(driver->pointThreadPass(*thread));
    EXPECT_THAT(desk.pointer.takePosted(), IsEmpty());
}

TEST_F(ConnectionRemovalTest, AStrokeUnderWayIsReleasedByTheThreadsEndToo) {
    arm();
    unit.sendReport(penReport(401, 302));
    driver->pointThreadPass(*thread);
    desk.pointer.takePosted();
    unplug();
    EXPECT_FALSE(driver->pointThreadPass(*thread));
    EXPECT_THAT(desk.pointer.takePosted(), ElementsAre(up(401, 302)));
}

TEST_F(ConnectionRemovalTest, HeldButtonsGoWithTheUnit) {
    unplug();
    EXPECT_EQ(desk.pointer.releases, 1);
}

TEST_F(ConnectionRemovalTest, TheCheckViewGoesWithItsUnit) {
    sharedState.checkViewState = 2;
    sharedState.strayLightViewShown = 1;
    unplug();
    EXPECT_EQ(sharedState.checkViewState, 0);
    EXPECT_EQ(sharedState.strayLightViewShown, 0);
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove"));
}

TEST_F(ConnectionRemovalTest, OtherCheckViewStatesStay) {
    sharedState.checkViewState = 1;
    sharedState.strayLightViewShown = 1;
    unplug();
    EXPECT_EQ(sharedState.checkViewState, 1);
    EXPECT_EQ(sharedState.strayLightViewShown, 1);
}

TEST_F(ConnectionRemovalTest, SettingsInformationAndCalibrationOutliveTheUnit) {
    driver->setBrightness(true);
    driver->setThreshold(600);
    unplug();
    EXPECT_TRUE(driver->brightness());
    EXPECT_EQ(driver->threshold(), 600);
    EXPECT_EQ(driver->forcedExposure(), 23);
    EXPECT_EQ(driver->wirelessPointsFromFlash(), 1);
    EXPECT_EQ(driver->venerPointsFromFlash(), 0x35);
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), SizeIs(6));
}

TEST_F(ConnectionRemovalTest, NothingOfTheUnitIsLeft) {
    const std::weak_ptr<IOHIDDeviceInterface122> device = driver->_pphidDeviceInterface.load();
    const std::weak_ptr<IOHIDQueueInterface> queue = driver->_queue.load();
    const std::weak_ptr<IOHIDQueueInterface> points = driver->_pointsQueue.load();
    unplug();
    EXPECT_TRUE(device.expired());
    EXPECT_TRUE(queue.expired());
    EXPECT_TRUE(points.expired());
    EXPECT_EQ(desk.registry.liveObjects(), 5u) << "the event service and four iterators";
}

TEST_F(ConnectionRemovalTest, CommandsToAUnitThatHasLeftDoNothing) {
    unplug();
    clearTimeline();
    unit.takeSent();
    driver->removeIRFilter();
    driver->updateTwoValueToDevice();
    EXPECT_FALSE(driver->writeCalibrationToFlash(std::make_shared<PointList>(4)));
    EXPECT_THAT(unit.takeSent(), IsEmpty());
    EXPECT_THAT(log.lines(), Contains("Event n:1958 device is not plugged."));
}

TEST_F(ConnectionRemovalTest, ARemovalWithoutAnOpenUnitDoesNoHarm) {
    unplug();
    clearTimeline();
    driver->deviceDidRemove(0);
    EXPECT_THAT(takeTimeline(), SizeIs(6));
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove", "remove"));
    EXPECT_EQ(desk.registry.liveObjects(), 5u);
}

} // namespace
} // namespace lightpen
