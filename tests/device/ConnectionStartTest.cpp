// SPDX-License-Identifier: MIT
// The driver's start, with and without a unit, and the wait for the point thread.
#include "kit/device/UnitFixture.h"
#include "matching/RBIOServiceMatchingServer.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ConnectionStartTest : public UnitFixture {
protected:
    ConnectionStartTest() {
        unitAnswers.records = calibratedRecords();
        desk.runLoop.limitRuns(2000);
        objectsBefore = desk.registry.liveObjects();
        happened.clear();
    }
    // A unit that is there when the driver starts.
    void startWithUnit() {
        plugIn();
        happened.clear();
        driver->init();
    }
    std::size_t objectsBefore = 0;
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
    EXPECT_EQ(driver->init(), driver.get());
    EXPECT_TRUE(matchesTranscript("start_without_unit"));
    EXPECT_TRUE(EventGeneratorNX7::isUnitOpen()) << "unit or not";
    EXPECT_FALSE(EventGeneratorNX7::hearsPen()) << "nobody has asked for the delegate yet";
    EXPECT_THAT(desk.threads.entries, IsEmpty());
    EXPECT_EQ(desk.registry.liveObjects(), objectsBefore + 4) << "one iterator for each notification";
}

TEST_F(ConnectionStartTest, TheConnectionForPointerEventsIsOpenedAtTheStart) {
    desk.pointer.connection = 41;
    driver->init();
    desk.pointer.connection = 0;
    EXPECT_EQ(EventGeneratorNX7::serviceConnection(), 41U);
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
    startWithUnit();
    EXPECT_TRUE(matchesTranscript("start_with_unit"));
    EXPECT_EQ(turnTaking.running(), 1);
    EXPECT_TRUE(EventGeneratorNX7::isUnitOpen());
    EXPECT_FALSE(EventGeneratorNX7::hearsPen()) << "nobody has asked for the delegate yet";
    EXPECT_EQ(desk.registry.liveObjects(), objectsBefore + 4 + 2) << "the unit's two services";
    unit.takeSent();
    driver->putIRFilter();
    EXPECT_EQ(unit.takeSent().at(0).bytes[1] & 0x80, 0) << "only an arrival makes it new";
}

TEST_F(ConnectionStartTest, AUnitThatIsThereIsNotReportedAsAnArrival) {
    driver->setDeviceDelegate(deviceDelegate);
    startWithUnit();
    run(seconds(5));
    EXPECT_THAT(deviceDelegate->takeHeard(), IsEmpty());
    EXPECT_THAT(desk.threads.entries, SizeIs(1));
}

TEST_F(ConnectionStartTest, LightAtTheStartIsToldWhenTheUnitStartsAgain) {
    unitAnswers.sightings = 1;
    driver->setDeviceDelegate(deviceDelegate);
    startWithUnit();
    EXPECT_THAT(deviceDelegate->takeHeard(), IsEmpty()) << "until somebody asks";
    driver->startPointQueue();
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("noise", "remove"));
}

TEST_F(ConnectionStartTest, OnlyAStartWithAUnitLooksForLightAgain) {
    unitAnswers.sightings = 3;
    startWithUnit();
    unplug();
    unitAnswers.sightings = 0;
    driver->startDevice();
    driver->setDeviceDelegate(deviceDelegate);
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("noise", "remove")) << "what it saw last";
    plugIn();
    deviceDelegate->takeHeard();
    driver->setDeviceDelegate(deviceDelegate);
    EXPECT_THAT(deviceDelegate->takeHeard(), IsEmpty());
}

TEST_F(ConnectionStartTest, ASecondProductIsOpenedToo) {
    unit.reshape({.product = 2, .interfaces = {0, 1, 2, 3}});
    startWithUnit();
    EXPECT_EQ(turnTaking.running(), 1);
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), SizeIs(6));
}

// The pairing key window

TEST_F(ConnectionStartTest, TheKeyWindowNeedsNoUnitOnlyTheKnowledgeOfAWiredOne) {
    EXPECT_EQ(timeOf([this] { driver->startDevice(); }), milliseconds(0));
    unitAnswers.records.clear();
    driver->init();
    for (const std::uint8_t pairing : ReportBytes{1, 2, 255, 0}) {
        unitAnswers.wireless = pairing;
        plugIn();
        unplug();
        desk.clock.takeSleeps();
        driver->startDevice();
        EXPECT_EQ(desk.clock.takeSleeps(), std::vector<Microseconds>(pairing == 0 ? 3 : 0, milliseconds(10)))
            << int{pairing};
    }
}

// Starts that fail, and the wait for the thread

TEST_F(ConnectionStartTest, WithoutItsHIDServiceAUnitIsNotWaitedFor) {
    unit.reshape({.interfaces = {0}});
    startWithUnit();
    EXPECT_TRUE(matchesTranscript("start_without_hid_service"));
    EXPECT_TRUE(EventGeneratorNX7::isUnitOpen());
}

struct TroubledStart {
    const char* name;
    int trouble; // as in UnitFixture; -1 for a thread that never starts
};

class TroubledStartTest : public ConnectionStartTest, public testing::WithParamInterface<TroubledStart> {
protected:
    TroubledStartTest() {
        if (GetParam().trouble < 0)
            startNoThreads();
        else
            prepare(static_cast<Trouble>(GetParam().trouble));
    }
};

TEST_P(TroubledStartTest, IsWaitedForUntilTheUnitIsPulled) {
    int ticks = 0;
    std::function<void()> tick = [&] {
        ++ticks;
        after(seconds(1), tick);
    };
    after(seconds(1), tick);
    // At the end of a turn of the wait: the removal is then reported after the start.
    after(seconds(60) + milliseconds(50), [this] { unit.unplug(); });
    const Microseconds time = timeOf([this] { startWithUnit(); });
    EXPECT_GE(time, seconds(60));
    EXPECT_LE(time, seconds(60) + milliseconds(600)) << "the removal's own pauses, within the wait";
    EXPECT_GE(ticks, 58) << "the loop runs meanwhile";
    run(seconds(1));
    EXPECT_FALSE(EventGeneratorNX7::isUnitOpen()) << "its removal has been heard of";
    EXPECT_EQ(desk.registry.liveObjects(), objectsBefore + 4);
}

TEST_P(TroubledStartTest, IsWaitedForUntilTheProgramEnds) {
    after(seconds(30), [this] { desk.runLoop.terminate(0); });
    const Microseconds time = timeOf([this] { startWithUnit(); });
    EXPECT_GE(time, seconds(30));
    EXPECT_LE(time, seconds(30) + milliseconds(200));
}

INSTANTIATE_TEST_SUITE_P(, TroubledStartTest,
                         testing::Values(TroubledStart{"noPlugIn", 1}, TroubledStart{"noInterface", 2},
                                         TroubledStart{"notOpened", 3}, TroubledStart{"noThread", -1}),
                         [](const auto& parameter) { return parameter.param.name; });

class VanishingUnitTest : public ConnectionStartTest, public testing::WithParamInterface<int> {};

TEST_P(VanishingUnitTest, IsNotWaitedFor) {
    atPauses([&](int number, Microseconds) {
        if (number == GetParam())
            unit.unplug();
    });
    plugIn();
    driver->startDevice();
    run(seconds(1));
    driver->deviceDidRemove(0); // nobody was registered to hear of it
    EXPECT_EQ(desk.registry.liveObjects(), objectsBefore);
    EXPECT_EQ(unit.heldDevices(), 0);
    EXPECT_EQ(unit.heldQueues(), 0);
}

INSTANTIATE_TEST_SUITE_P(, VanishingUnitTest, testing::Range(1, 58),
                         [](const auto& parameter) { return "pause" + std::to_string(parameter.param); });

TEST_P(VanishingUnitTest, ThatIsBackAtOnceIsAnArrivalOfItsOwn) {
    driver->setDeviceDelegate(deviceDelegate);
    atPauses([&](int number, Microseconds) {
        if (number != GetParam())
            return;
        unit.unplug();
        unit.plugIn();
    });
    EXPECT_LT(timeOf([this] { startWithUnit(); }), seconds(6))
        << "there is no waiting for a unit that was replaced";
    run(seconds(3));
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove", "statMenu", "add"));
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), SizeIs(6));
    EXPECT_EQ(turnTaking.running(), 1);
    EXPECT_EQ(desk.registry.liveObjects(), objectsBefore + 4 + 2);
}

TEST_F(ConnectionStartTest, AReplugDuringAFailedStartIsOpened) {
    prepare(Trouble::notOpened);
    driver->setDeviceDelegate(deviceDelegate);
    after(seconds(3), [this] { unit.unplug(); });
    after(seconds(3) + milliseconds(20), [this] {
        prepare(Trouble::none);
        unit.plugIn();
    });
    startWithUnit();
    run(seconds(3));
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove", "statMenu", "add"));
    EXPECT_EQ(turnTaking.running(), 1);
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), SizeIs(6));
}

} // namespace
} // namespace lightpen
