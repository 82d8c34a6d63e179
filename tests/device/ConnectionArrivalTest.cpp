// SPDX-License-Identifier: MIT
// A unit that arrives, replugs, and a second one beside it.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class ConnectionArrivalTest : public UnitFixture {
protected:
    // A driver that has started without a unit, as seen by its delegate.
    void startWithout() {
        driver->init();
        driver->setDeviceDelegate(deviceDelegate);
        log.clear();
        clearTimeline();
    }
    void arrive() {
        replies = calibratedReplies();
        plugIn();
    }
    // How often each line that begins like this was logged.
    long logged(const std::string& beginning) {
        const auto lines = log.lines();
        return std::count_if(lines.begin(), lines.end(),
                             [&](const std::string& line) { return line.starts_with(beginning); });
    }
};

// Arrival

TEST_F(ConnectionArrivalTest, AUnitThatArrivesIsOpenedAndAnnounced) {
    startWithout();
    arrive();
    const auto timeline = takeTimeline();
    EXPECT_EQ(timeline.front(), "Event n:647 device did add");
    EXPECT_THAT(timeline.at(1), StartsWith("Event n:2125 "));
    EXPECT_EQ(timeline.back(), "queue4.start()") << "the thread has started";
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("statMenu", "add"));
    EXPECT_EQ(deviceDelegate->sender, driver.get());
    EXPECT_EQ(driver->_deviceMode, 0);
    EXPECT_EQ(driver->threshold(), 512);
    EXPECT_EQ(sharedState.noiseNotifyArmed, 1);
    EXPECT_EQ(sharedState.unitOpen, 1);
    EXPECT_TRUE(thread);
}

TEST_F(ConnectionArrivalTest, TheThresholdIsSetBackWithoutALine) {
    startWithout();
    driver->setThreshold(700);
    log.clear();
    arrive();
    EXPECT_EQ(driver->threshold(), 512);
    EXPECT_EQ(logged("Event n:758"), 0);
}

TEST_F(ConnectionArrivalTest, EachNotificationIsArmedAgain) {
    startWithout();
    for (int i = 0; i < 3; ++i) {
        arrive();
        EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("statMenu", "add"));
        unplug();
        EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove"));
    }
}

TEST_F(ConnectionArrivalTest, DelegatesThatDoNotRespondAreNotAsked) {
    startWithout();
    deviceDelegate->deaf = {Operation::statMenu};
    arrive();
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("add"));
    unplug();
    deviceDelegate->takeHeard();
    deviceDelegate->deaf = {Operation::deviceDidAddCallback};
    arrive();
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("statMenu"));
}

TEST_F(ConnectionArrivalTest, WithoutADelegateTheUnitIsOpenedAllTheSame) {
    driver->init();
    arrive();
    EXPECT_TRUE(thread);
    EXPECT_EQ(sharedState.unitOpen, 1);
    EXPECT_EQ(sharedState.deviceDelegateQueried, 1) << "it was asked for";
}

TEST_F(ConnectionArrivalTest, WithStrayLightNobodyIsTold) {
    startWithout();
    // The unit's light is measured by the start; here it stands in for the result.
    deviceDelegate->then = nullptr;
    desk.threads.onDetach = [this] {
        desk.runLoop.performOnMainThread({this, "thread", {}, [this] {
                                              thread = driver->beginPointThread();
                                              sharedState.strayLightLevel = 3;
                                          }});
    };
    arrive();
    EXPECT_THAT(deviceDelegate->takeHeard(), IsEmpty());
    EXPECT_EQ(sharedState.unitOpen, 1);
}

// Arming

TEST_F(ConnectionArrivalTest, ThePointerIsHeldBackUntilTheCalibrationHasHadItsTurn) {
    startWithout();
    EXPECT_EQ(sharedState.mouseArmed, 1) << "a start without a unit counts as armed";
    std::vector<int> armed;
    std::vector<int> open;
    desk.clock.onSleep = [&](Microseconds) {
        armed.push_back(sharedState.mouseArmed);
        open.push_back(sharedState.unitOpen);
    };
    deviceDelegate->then = [&](const std::string&) {
        armed.push_back(sharedState.mouseArmed);
        open.push_back(sharedState.unitOpen);
    };
    arrive();
    EXPECT_EQ(armed, std::vector<int>(7 + 50 + 2, 0)) << "seven pauses, fifty looks for light, two messages";
    EXPECT_THAT(std::vector(open.begin(), open.end() - 2), testing::Each(0));
    EXPECT_THAT(std::vector(open.end() - 2, open.end()), ElementsAre(1, 1));
    EXPECT_EQ(sharedState.deviceDelegateQueried, 1) << "polling begins";
    EXPECT_EQ(sharedState.mouseArmed, 0);
    EXPECT_EQ(sharedState.disarmedPollCount, 0);
}

TEST_F(ConnectionArrivalTest, ReportsOfTheFirstSixPassesAreThrownAway) {
    startWithout();
    driver->setCalibrationCenter(std::make_shared<ShiftingMapper>(0.5));
    arrive();
    for (int pass = 0; pass < 6; ++pass) {
        unit.sendReport(penReport(401, 302));
        ASSERT_TRUE(driver->pointThreadPass(*thread));
    }
    EXPECT_THAT(desk.pointer.takePosted(), IsEmpty());
    driver->pointThreadPass(*thread); // an empty poll
    EXPECT_EQ(sharedState.mouseArmed, 1);
    unit.sendReport(penReport(601, 402));
    driver->pointThreadPass(*thread);
    EXPECT_THAT(desk.pointer.takePosted(), ElementsAre(down(300, 201)));
}

// Arrivals that fail or are overtaken

TEST_F(ConnectionArrivalTest, AUnitThatIsGoneBeforeTheLoopTurnsIsNoArrival) {
    startWithout();
    unit.plugIn();
    unit.unplug();
    desk.runLoop.runFor(seconds(1));
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove"));
    EXPECT_EQ(logged("Event n:647"), 0);
    EXPECT_EQ(logged("Event n:666"), 1);
}

class VanishingArrivalTest : public ConnectionArrivalTest, public testing::WithParamInterface<int> {};

TEST_P(VanishingArrivalTest, IsRemovedAfterwards) {
    startWithout();
    int pauses = 0;
    desk.clock.onSleep = [&](Microseconds) {
        if (++pauses == GetParam())
            unit.unplug();
    };
    arrive();
    desk.runLoop.runFor(seconds(1));
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("statMenu", "add", "remove"));
    EXPECT_EQ(sharedState.unitOpen, 0);
    EXPECT_FALSE(driver->_isStaring);
    EXPECT_EQ(driver->_pphidDeviceInterface.load(), nullptr);
    EXPECT_FALSE(thread && driver->pointThreadPass(*thread));
    EXPECT_EQ(desk.registry.liveObjects(), 5u) << "the event service and four iterators";
}

INSTANTIATE_TEST_SUITE_P(, VanishingArrivalTest, testing::Range(1, 8),
                         [](const auto& parameter) { return "pause" + std::to_string(parameter.param); });

TEST_F(ConnectionArrivalTest, AUnitThatDoesNotOpenKeepsTheWaitUntilItIsPulled) {
    startWithout();
    unit.script().answer("device.open", kIOReturnError);
    desk.runLoop.performAfterDelay({this, "pull", {}, [this] { unit.unplug(); }}, seconds(20));
    const Microseconds before = desk.clock.now();
    arrive();
    EXPECT_GE(desk.clock.now() - before, seconds(20));
    desk.runLoop.runFor(seconds(1));
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("statMenu", "add", "remove"));
    unit.script().carryOut("device.open");
    arrive();
    EXPECT_TRUE(thread);
}

// Replugs

class ReplugTest : public ConnectionArrivalTest, public testing::WithParamInterface<int> {};

TEST_P(ReplugTest, IsOneRemovalAndOneArrival) {
    startWithout();
    driver->setCalibrationCenter(std::make_shared<ShiftingMapper>());
    arrive();
    deviceDelegate->takeHeard();
    replies = calibratedReplies();
    unit.unplug();
    desk.runLoop.runFor(milliseconds(GetParam()));
    unit.plugIn();
    desk.runLoop.runFor(seconds(1));
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove", "statMenu", "add"));
    EXPECT_EQ(sharedState.unitOpen, 1);
    EXPECT_EQ(sharedState.mouseArmed, 0) << "the new unit arms anew";
    EXPECT_THAT(desk.threads.entries, SizeIs(2));
    EXPECT_EQ(desk.registry.liveObjects(), 7u) << "the event service, four iterators, two services";
}

INSTANTIATE_TEST_SUITE_P(, ReplugTest, testing::Values(0, 20, 49, 50, 51, 99), [](const auto& parameter) {
    return "after" + std::to_string(parameter.param) + "ms";
});

TEST_F(ConnectionArrivalTest, QuickReplugsCostOneOpening) {
    startWithout();
    arrive();
    log.clear();
    deviceDelegate->takeHeard();
    replies = calibratedReplies();
    for (int i = 0; i < 200; ++i) {
        unit.unplug();
        unit.plugIn();
    }
    desk.runLoop.runFor(seconds(1));
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove", "statMenu", "add"));
    EXPECT_EQ(logged("Event n:2125"), 1);
    EXPECT_EQ(sharedState.unitOpen, 1);
}

class ReplugDuringOpeningTest : public ConnectionArrivalTest, public testing::WithParamInterface<int> {};

TEST_P(ReplugDuringOpeningTest, CostsOneMore) {
    startWithout();
    int pauses = 0;
    desk.clock.onSleep = [&](Microseconds) {
        if (++pauses != GetParam())
            return;
        unit.unplug();
        replies = calibratedReplies();
        unit.plugIn();
    };
    arrive();
    desk.runLoop.runFor(seconds(1));
    EXPECT_EQ(logged("Event n:2125"), 2) << "there is no waiting for a unit that was replaced";
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("statMenu", "add", "remove", "statMenu", "add"));
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), SizeIs(6));
    EXPECT_EQ(desk.registry.liveObjects(), 7u);
}

TEST_P(ReplugDuringOpeningTest, OfTheStartIsAnArrivalOfItsOwn) {
    driver->setDeviceDelegate(deviceDelegate);
    int pauses = 0;
    desk.clock.onSleep = [&](Microseconds) {
        if (++pauses != GetParam())
            return;
        unit.unplug();
        replies = calibratedReplies();
        unit.plugIn();
    };
    replies = calibratedReplies();
    plugIn();
    driver->init();
    desk.runLoop.runFor(seconds(1));
    EXPECT_EQ(logged("Event n:2125"), 2);
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove", "statMenu", "add"));
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), SizeIs(6));
    EXPECT_EQ(sharedState.unitOpen, 1);
    EXPECT_EQ(desk.registry.liveObjects(), 7u);
}

INSTANTIATE_TEST_SUITE_P(, ReplugDuringOpeningTest, testing::Range(1, 8),
                         [](const auto& parameter) { return "pause" + std::to_string(parameter.param); });

TEST_F(ConnectionArrivalTest, CallbacksOfTheUnitNeverNest) {
    startWithout();
    int depth = 0;
    int deepest = 0;
    deviceDelegate->then = [&](const std::string& what) {
        deepest = std::max(deepest, ++depth);
        if (what == "add") {
            unit.unplug();
            desk.runLoop.runFor(seconds(2));
        }
        --depth;
    };
    arrive();
    desk.runLoop.runFor(seconds(1));
    EXPECT_EQ(deepest, 1);
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("statMenu", "add", "remove"));
}

// A second unit

class SecondUnitTest : public ConnectionArrivalTest {
protected:
    SecondUnitTest() {
        startWithout();
        driver->setCalibrationCenter(std::make_shared<ShiftingMapper>());
        arrive();
        deviceDelegate->takeHeard();
        log.clear();
        ScriptedUnit::Shape shape;
        shape.product = 2;
        second.emplace(desk, shape);
        replies = calibratedReplies();
        second->plugIn();
        desk.runLoop.runFor(seconds(1));
    }
    std::optional<ScriptedUnit> second;
};

TEST_F(SecondUnitTest, StartsNoSecondThreadAndIsNotWaitedFor) {
    EXPECT_EQ(logged("Event n:1872 alloc queue failed"), 1);
    EXPECT_FALSE(driver->_isStaring);
    EXPECT_THAT(desk.threads.entries, SizeIs(1));
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("statMenu", "add"));
}

TEST_F(SecondUnitTest, LeavesTheFirstOnesPenAlive) {
    for (int pass = 0; pass < 6; ++pass) {
        unit.sendReport(penUpReport());
        driver->pointThreadPass(*thread);
    }
    driver->pointThreadPass(*thread);
    unit.sendReport(penReport(401, 302));
    driver->pointThreadPass(*thread);
    EXPECT_THAT(desk.pointer.takePosted(), ElementsAre(down(401, 302)));
}

TEST_F(SecondUnitTest, LeavesNoReferenceBehind) {
    unplug();
    second->unplug();
    desk.runLoop.runFor(seconds(1));
    EXPECT_EQ(desk.registry.liveObjects(), 5u);
}

} // namespace
} // namespace lightpen
