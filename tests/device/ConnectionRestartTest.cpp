// SPDX-License-Identifier: MIT
// The restart of the unit after the check view.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class ConnectionRestartTest : public UnitFixture {
protected:
    ConnectionRestartTest() {
        replies = calibratedReplies();
        plugIn();
        driver->init();
        driver->setDeviceDelegate(deviceDelegate);
        sharedState.checkViewState = 2;
        sharedState.strayLightLevel = 4;
        sharedState.strayLightFrameCount = 9;
        sharedState.mouseArmed = 1;
        sharedState.disarmedPollCount = 3;
        driver->setThreshold(700);
        desk.clock.takeSleeps();
        unit.takeOperations();
        log.clear();
        clearTimeline();
        replies = calibratedReplies();
    }
};

TEST_F(ConnectionRestartTest, ReleasesAndOpensTheUnitAgain) {
    const std::weak_ptr<IOHIDDeviceInterface122> before = driver->_pphidDeviceInterface.load();
    driver->startPointQueue();
    auto timeline = takeTimeline();
    timeline.resize(7);
    EXPECT_THAT(timeline,
                ElementsAre("sleep 10000", "Event n:2474 ", "sleep 100000", "sleep 100000", "sleep 100000",
                            "Event n:758 set threshold: 512", StartsWith("Event n:2125 ")));
    EXPECT_TRUE(before.expired());
    EXPECT_NE(driver->_pphidDeviceInterface.load(), nullptr);
    EXPECT_THAT(desk.threads.entries, SizeIs(2));
    EXPECT_EQ(sharedState.checkViewState, 0);
    EXPECT_EQ(sharedState.strayLightLevel, 0);
    EXPECT_EQ(sharedState.strayLightFrameCount, 0);
    EXPECT_EQ(sharedState.noiseNotifyArmed, 1);
    EXPECT_EQ(driver->_deviceMode, 0);
    EXPECT_EQ(driver->threshold(), 512);
    EXPECT_EQ(sharedState.unitOpen, 1);
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("statMenu", "add"));
    EXPECT_EQ(desk.registry.liveObjects(), 7u) << "the event service, four iterators, two services";
}

TEST_F(ConnectionRestartTest, HappensInThisOrder) {
    std::vector<std::string> states;
    desk.clock.onSleep = [&](Microseconds) {
        states.push_back(
            std::string(driver->_stopThread ? "stop " : "") + (sharedState.unitOpen != 0 ? "open " : "") +
            (driver->_queue.load() ? "queue " : "") + (driver->_pointsQueue.load() ? "points " : "") +
            std::to_string(driver->_deviceMode));
    };
    driver->startPointQueue();
    states.resize(5);
    EXPECT_THAT(states,
                ElementsAre("stop open queue points -1", "stop points -1", "stop -1", "stop -1", "0"));
}

TEST_F(ConnectionRestartTest, TheOldThreadEndsAlthoughTheNewOneRuns) {
    PointThreadState old = *thread;
    driver->startPointQueue();
    EXPECT_FALSE(driver->_stopThread);
    EXPECT_FALSE(driver->pointThreadPass(old));
    EXPECT_TRUE(driver->pointThreadPass(*thread));
}

TEST_F(ConnectionRestartTest, ThePointerArmsAnew) {
    std::vector<int> armed;
    deviceDelegate->then = [&](const std::string&) { armed.push_back(sharedState.mouseArmed); };
    driver->startPointQueue();
    EXPECT_THAT(armed, ElementsAre(0, 0));
    EXPECT_EQ(sharedState.mouseArmed, 0);
    EXPECT_EQ(sharedState.disarmedPollCount, 0);
    EXPECT_EQ(sharedState.deviceDelegateQueried, 1);
}

TEST_F(ConnectionRestartTest, WithoutAUnitNobodyIsToldOfOne) {
    unit.unplug();
    driver->startPointQueue();
    EXPECT_THAT(deviceDelegate->takeHeard(), IsEmpty());
    EXPECT_EQ(sharedState.unitOpen, 1) << "as after a start without a unit";
    desk.runLoop.runFor(seconds(1));
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove"));
    EXPECT_EQ(sharedState.unitOpen, 0);
    EXPECT_EQ(desk.registry.liveObjects(), 5u);
}

TEST_F(ConnectionRestartTest, AThreadThatSetsItsQueueOnceMoreIsWaitedFor) {
    int pauses = 0;
    desk.clock.onSleep = [&](Microseconds) {
        if (++pauses == 3)
            driver->_pointsQueue = unit.makeQueue();
    };
    driver->startPointQueue();
    auto sleeps = desk.clock.takeSleeps();
    sleeps.resize(6);
    EXPECT_THAT(sleeps, ElementsAre(milliseconds(10), milliseconds(100), milliseconds(100), milliseconds(100),
                                    milliseconds(100), milliseconds(500)));
}

TEST_F(ConnectionRestartTest, WithoutTheCheckViewNothingIsRestarted) {
    sharedState.checkViewState = 1;
    driver->_hasNoise = true;
    driver->startPointQueue();
    EXPECT_THAT(takeTimeline(), ElementsAre("queue4.start()")) << "but a stopped points queue runs again";
    EXPECT_FALSE(driver->_hasNoise);
    EXPECT_EQ(sharedState.checkViewState, 1);
}

} // namespace
} // namespace lightpen
