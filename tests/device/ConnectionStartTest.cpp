// SPDX-License-Identifier: MIT
// The driver's start, with and without a unit, and the wait for the point thread.
#include <array>

#include "kit/device/UnitFixture.h"
#include "matching/RBIOServiceMatchingServer.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* kStartUp =
    "Event n:2125 Device plugged in on start up, read calibration data from FLASH memory.";
constexpr const char* kStarted = "Event n:2350 Notificationnx9:0";

class ConnectionStartTest : public UnitFixture {
protected:
    // Asks the loop for this after a while.
    void after(Microseconds delay, std::function<void()> what) {
        desk.runLoop.performAfterDelay({this, "after", {}, std::move(what)}, delay);
    }
    // How long the operation takes in virtual time.
    Microseconds timeOf(const std::function<void()>& operation) {
        const Microseconds before = desk.clock.now();
        operation();
        return desk.clock.now() - before;
    }
};

// The instance

TEST_F(ConnectionStartTest, RetainingAndCopyingAreTheInstanceItself) {
    EXPECT_EQ(driver->copyWithZone(), driver.get());
    EXPECT_EQ(driver->retain(), driver.get());
    EXPECT_EQ(driver->autorelease(), driver.get());
    driver->release();
    EXPECT_EQ(EventGeneratorNX7::retainCount(), 4294967295U);
}

// Presence

TEST_F(ConnectionStartTest, PresenceIsAnsweredWithoutAnEnumeration) {
    EXPECT_FALSE(driver->isDevicePlugIn());
    unit.plugIn();
    const std::size_t objects = desk.registry.liveObjects();
    for (int question = 0; question < 300; ++question)
        ASSERT_TRUE(driver->isDevicePlugIn());
    EXPECT_EQ(desk.registry.liveObjects(), objects) << "nor does a question leave anything behind";
    unit.unplug();
    EXPECT_FALSE(driver->isDevicePlugIn()) << "at once, before the removal is reported";
    EXPECT_EQ(desk.registry.enumerations, 0);
}

// Without a unit

TEST_F(ConnectionStartTest, WithoutAUnitTheDriverOnlyWatches) {
    const std::size_t objectsBefore = desk.registry.liveObjects();
    EXPECT_EQ(driver->init(), driver.get());
    const auto timeline = takeTimeline();
    EXPECT_THAT(timeline, ElementsAre(StartsWith("RBIOS n:208 "), StartsWith("RBIOS n:210 "),
                                      StartsWith("RBIOS n:208 "), StartsWith("RBIOS n:210 ")));
    EXPECT_EQ(sharedState.unitOpen, 1) << "unit or not";
    EXPECT_EQ(sharedState.strayLightLevel, -1);
    EXPECT_EQ(sharedState.noiseNotifyArmed, 0);
    EXPECT_EQ(sharedState.deviceDelegateQueried, 0);
    EXPECT_EQ(sharedState.pairingKeyWindow.load(), nullptr);
    EXPECT_FALSE(driver->_isStaring);
    EXPECT_THAT(desk.threads.entries, IsEmpty());
    EXPECT_EQ(desk.registry.liveObjects(), objectsBefore + 4) << "one iterator for each notification";
}

TEST_F(ConnectionStartTest, TheConnectionForPointerEventsIsOpenedAtTheStart) {
    desk.pointer.connection = 41;
    driver->init();
    EXPECT_EQ(sharedState.serviceConnection, 41u);
}

// Notes which notifications are asked for.
class NotingRegistry final : public ServiceRegistry {
public:
    using ServiceRegistry::ServiceRegistry;
    IOReturn IOServiceAddMatchingNotification(const std::shared_ptr<IONotificationPort>& port,
                                              std::string_view notificationType,
                                              const MatchingDictionary& matching,
                                              IOServiceMatchingCallback callback, void* refcon,
                                              io_iterator_t& iterator) override {
        asked.push_back(std::string(notificationType) + " " + matching.className + " " +
                        std::to_string(matching.numbers.at("idVendor")) + " " +
                        std::to_string(matching.numbers.at("idProduct")));
        return ServiceRegistry::IOServiceAddMatchingNotification(port, notificationType, matching, callback,
                                                                 refcon, iterator);
    }
    std::vector<std::string> asked;
};

TEST_F(ConnectionStartTest, RemovalAndArrivalOfEachProductAreWatchedInThisOrder) {
    driver->isDevicePlugIn(); // the master port belongs to the process
    NotingRegistry noting{desk.runLoop, desk.clock};
    Platform platform{noting,        desk.pointer,       desk.runLoop,   desk.clock,
                      desk.threads,  desk.notifications, desk.broadcast, desk.desktop,
                      desk.defaults, desk.systemUI,      desk.sounds,    desk.dataFiles,
                      desk.shell};
    Platform::setCurrent(&platform);
    driver->init();
    EXPECT_THAT(noting.asked,
                ElementsAre("IOServiceTerminate IOUSBDevice 4617 1", "IOServiceFirstMatch IOUSBDevice 4617 1",
                            "IOServiceTerminate IOUSBDevice 4617 2",
                            "IOServiceFirstMatch IOUSBDevice 4617 2"));
    RBIOServiceMatchingServer::defaultServer().removeObserver(driver.get()); // while its registry lives
    driver.reset();
    Platform::setCurrent(&desk.platform);
}

// With a unit

TEST_F(ConnectionStartTest, AUnitThatIsThereIsOpened) {
    const std::size_t objectsBefore = desk.registry.liveObjects();
    plugIn();
    replies = calibratedReplies();
    driver->init();
    auto timeline = takeTimeline();
    EXPECT_EQ(timeline.at(4), kStartUp);
    const auto startedAt = std::find(timeline.begin(), timeline.end(), kStarted);
    ASSERT_NE(startedAt, timeline.end());
    // The thread is asked for before the light test, and starts in the wait behind its result.
    const auto threadAt = std::find(timeline.begin(), startedAt, "thread");
    ASSERT_NE(threadAt, startedAt);
    EXPECT_THAT(std::vector(threadAt + 1, threadAt + 10),
                ElementsAre("device.allocQueue()", "queue3.create(0, 100)",
                            "Event n:2323 Input report element for 0", "Event n:2349 ",
                            "queue3.hasElement(17)", "queue3.addElement(17, 0)", "queue3.start()",
                            "send 4B (32 bytes, no limit)", "sleep 1000"));
    EXPECT_EQ(*(startedAt + 1), "device.allocQueue()");
    EXPECT_EQ(timeline.back(), "queue4.start()");
    std::vector<Microseconds> sleeps{milliseconds(500), milliseconds(100), milliseconds(200),
                                     milliseconds(100), milliseconds(100), milliseconds(100),
                                     seconds(1)};
    sleeps.resize(sleeps.size() + 50, milliseconds(1));
    EXPECT_EQ(desk.clock.takeSleeps(), sleeps);
    ASSERT_TRUE(thread);
    EXPECT_FALSE(driver->_isStaring);
    EXPECT_EQ(sharedState.unitOpen, 1);
    EXPECT_EQ(sharedState.strayLightLevel, 0);
    EXPECT_EQ(sharedState.deviceDelegateQueried, 0) << "nobody has asked for the delegate yet";
    EXPECT_EQ(driver->_deviceMode, -1) << "only an arrival makes it new";
    EXPECT_EQ(desk.registry.liveObjects(), objectsBefore + 4 + 2) << "the unit's two services";
}

TEST_F(ConnectionStartTest, AUnitThatIsThereIsNotReportedAsAnArrival) {
    driver->setDeviceDelegate(deviceDelegate);
    plugIn();
    replies = calibratedReplies();
    driver->init();
    desk.runLoop.runFor(seconds(5));
    EXPECT_THAT(deviceDelegate->takeHeard(), IsEmpty());
    EXPECT_THAT(desk.threads.entries, SizeIs(1));
}

TEST_F(ConnectionStartTest, StartClearsTheNoiseAndLooksForLight) {
    plugIn();
    driver->_hasNoise = true;
    sharedState.strayLightLevel = 3;
    replies = calibratedReplies();
    driver->startDevice();
    EXPECT_FALSE(driver->_hasNoise);
    EXPECT_EQ(sharedState.strayLightLevel, 0);
}

TEST_F(ConnectionStartTest, WithoutAUnitTheLightLevelAndTheNoiseStay) {
    driver->_hasNoise = true;
    sharedState.strayLightLevel = 3;
    driver->startDevice();
    EXPECT_TRUE(driver->_hasNoise);
    EXPECT_EQ(sharedState.strayLightLevel, 3);
    EXPECT_THAT(takeTimeline(), IsEmpty());
}

TEST_F(ConnectionStartTest, ASecondProductIsOpenedToo) {
    ScriptedUnit::Shape shape;
    shape.product = 2;
    shape.interfaces = {0, 1, 2, 3};
    unit.reshape(shape);
    plugIn();
    replies = calibratedReplies();
    driver->init();
    EXPECT_TRUE(thread);
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), SizeIs(6));
}

// The pairing key window

TEST_F(ConnectionStartTest, AWiredUnitsKeyWindowTakesThreePauses) {
    plugIn();
    replies = {{0x01}, {'N', 0, 0, 0x35}};
    driver->init();
    const auto sleeps = desk.clock.takeSleeps();
    ASSERT_GE(sleeps.size(), 4u);
    EXPECT_THAT(std::vector(sleeps.end() - 4, sleeps.end()),
                ElementsAre(milliseconds(1), milliseconds(10), milliseconds(10), milliseconds(10)));
}

TEST_F(ConnectionStartTest, TheKeyWindowNeedsNoUnitOnlyTheKnowledgeOfOne) {
    for (const int wireless : {-1, 1, 2, 255}) {
        sharedState.wireless = wireless;
        driver->startDevice();
        EXPECT_THAT(takeTimeline(), IsEmpty());
    }
    sharedState.wireless = 0;
    driver->startDevice();
    EXPECT_THAT(takeTimeline(), ElementsAre("sleep 10000", "sleep 10000", "sleep 10000"));
}

// Starts that fail, and the wait for the thread

TEST_F(ConnectionStartTest, WithoutItsHIDServiceAUnitIsNotWaitedFor) {
    ScriptedUnit::Shape shape;
    shape.interfaces = {0};
    unit.reshape(shape);
    plugIn();
    EXPECT_EQ(timeOf([&] { driver->init(); }), milliseconds(500 + 50));
    auto timeline = takeTimeline();
    std::erase(timeline, "sleep 1000"); // of the light test
    EXPECT_THAT(timeline,
                ElementsAre(testing::_, testing::_, testing::_, testing::_, kStartUp, "RBIOS n:289 char: 0",
                            "sleep 500000", "RBIOS n:292 interface number :0", "Event n:2074 hiddevice null.",
                            "Event n:1367 doCommandFromOutputBuffer error. command size is ZERO.", kStarted));
    EXPECT_EQ(sharedState.unitOpen, 1);
}

enum class Trouble { noPlugIn, noInterface, notOpened, noThread };

std::string nameOfTrouble(const testing::TestParamInfo<Trouble>& trouble) {
    constexpr std::array kNames{"noPlugIn", "noInterface", "notOpened", "noThread"};
    return kNames.at(static_cast<std::size_t>(trouble.param));
}

class TroubledStartTest : public ConnectionStartTest, public testing::WithParamInterface<Trouble> {
protected:
    TroubledStartTest() {
        unit.withoutPlugIn = GetParam() == Trouble::noPlugIn;
        unit.withoutInterface = GetParam() == Trouble::noInterface;
        if (GetParam() == Trouble::notOpened)
            unit.script().answer("device.open", kIOReturnNotPrivileged);
        threadsStart = GetParam() != Trouble::noThread;
        objectsBefore = desk.registry.liveObjects();
        plugIn();
        replies = calibratedReplies();
    }
    std::size_t objectsBefore = 0;
};

TEST_P(TroubledStartTest, IsWaitedForUntilTheUnitIsPulled) {
    // At the end of a turn of the wait: the removal is then reported after the start.
    after(seconds(60) + milliseconds(50), [this] { unit.unplug(); });
    const Microseconds time = timeOf([&] { driver->init(); });
    EXPECT_GE(time, seconds(60));
    EXPECT_LE(time, seconds(60) + milliseconds(600)) << "the removal's own pauses, within the wait";
    EXPECT_FALSE(driver->_isStaring);
    desk.runLoop.runFor(seconds(1));
    EXPECT_EQ(sharedState.unitOpen, 0) << "its removal has been heard of";
    EXPECT_EQ(desk.registry.liveObjects(), objectsBefore + 4);
}

TEST_P(TroubledStartTest, IsWaitedForUntilTheProgramEnds) {
    after(seconds(30), [this] { desk.runLoop.terminate(0); });
    const Microseconds time = timeOf([&] { driver->init(); });
    EXPECT_GE(time, seconds(30));
    EXPECT_LE(time, seconds(30) + milliseconds(200));
}

TEST_P(TroubledStartTest, TheLoopRunsMeanwhile) {
    int ticks = 0;
    std::function<void()> tick = [&] {
        if (++ticks < 20)
            after(milliseconds(250), tick);
        else
            unit.unplug();
    };
    after(milliseconds(250), tick);
    driver->init();
    EXPECT_EQ(ticks, 20);
}

INSTANTIATE_TEST_SUITE_P(, TroubledStartTest,
                         testing::Values(Trouble::noPlugIn, Trouble::noInterface, Trouble::notOpened,
                                         Trouble::noThread),
                         nameOfTrouble);

class VanishingUnitTest : public ConnectionStartTest, public testing::WithParamInterface<int> {};

TEST_P(VanishingUnitTest, IsNotWaitedFor) {
    const std::size_t objectsBefore = desk.registry.liveObjects();
    plugIn();
    replies = calibratedReplies();
    int pauses = 0;
    desk.clock.onSleep = [&](Microseconds) {
        if (++pauses == GetParam())
            unit.unplug();
    };
    driver->startDevice();
    EXPECT_FALSE(driver->_isStaring);
    desk.runLoop.runFor(seconds(1));
    driver->deviceDidRemove(0); // nobody was registered to hear of it
    EXPECT_EQ(desk.registry.liveObjects(), objectsBefore);
    EXPECT_EQ(driver->_queue.load(), nullptr);
    EXPECT_EQ(driver->_pointsQueue.load(), nullptr);
    EXPECT_EQ(driver->_calibrationQueue, nullptr);
}

INSTANTIATE_TEST_SUITE_P(, VanishingUnitTest, testing::Range(1, 58),
                         [](const auto& parameter) { return "pause" + std::to_string(parameter.param); });

TEST_F(ConnectionStartTest, AReplugDuringAFailedStartIsOpened) {
    unit.script().answer("device.open", kIOReturnNotPrivileged);
    plugIn();
    driver->setDeviceDelegate(deviceDelegate);
    replies = calibratedReplies();
    after(seconds(3), [this] { unit.unplug(); });
    after(seconds(3) + milliseconds(20), [this] {
        unit.script().carryOut("device.open");
        unit.plugIn();
    });
    driver->init();
    desk.runLoop.runFor(seconds(1));
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove", "statMenu", "add"));
    ASSERT_TRUE(thread);
    EXPECT_TRUE(driver->pointThreadPass(*thread));
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), SizeIs(6));
}

} // namespace
} // namespace lightpen
