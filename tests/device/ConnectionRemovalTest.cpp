// SPDX-License-Identifier: MIT
// A unit that leaves, and the restart of one after the check view.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// What the driver holds of the unit at a pause, and when its delegate hears something.
struct Moment {
    std::string what;
    bool open;
    int devices, queues;
    friend bool operator==(const Moment&, const Moment&) = default;
    friend void PrintTo(const Moment& moment, std::ostream* stream) {
        *stream << moment.what << (moment.open ? " open " : " ") << moment.devices << " " << moment.queues;
    }
};

class ConnectionRemovalTest : public UnitFixture {
protected:
    explicit ConnectionRemovalTest(int light = 0) {
        unitAnswers.records = calibratedRecords();
        unitAnswers.sightings = light;
        start();
        driver->setCalibrationCenter(std::make_shared<ShiftingMapper>());
        plugIn();
        deviceDelegate->takeHeard();
        forget();
    }
    Moment now(const std::string& what) const {
        return {what, EventGeneratorNX7::isUnitOpen(), unit.heldDevices(), unit.heldQueues()};
    }
    void watch() {
        moments.push_back(now("before"));
        atPauses([this](int, Microseconds duration) {
            moments.push_back(now(std::to_string(duration.count() / 1000) + " ms"));
        });
        deviceDelegate->then = [this](const std::string& what) { moments.push_back(now(what)); };
    }
    std::vector<Moment> moments;
};

TEST_F(ConnectionRemovalTest, EachStep) {
    arm();
    unplug();
    run(milliseconds(20));
    EXPECT_TRUE(matchesTranscript("removal"));
    EXPECT_EQ(deviceDelegate->sender, driver.get());
}

TEST_F(ConnectionRemovalTest, HappensInThisOrder) {
    watch();
    unplug();
    EXPECT_THAT(moments, ElementsAre(Moment{"before", true, 1, 3}, Moment{"100 ms", false, 0, 2},
                                     Moment{"100 ms", false, 0, 1}, Moment{"100 ms", false, 0, 0},
                                     Moment{"remove", false, 0, 0}, Moment{"100 ms", false, 0, 0}));
    EXPECT_EQ(desk.registry.liveObjects(), 5U) << "the event service and four iterators";
}

// Everything of it, whoever it belongs to.
TEST_F(ConnectionRemovalTest, TheIteratorIsEmptiedFirst) {
    io_iterator_t iterator = 0;
    desk.registry.IOServiceGetMatchingServices(0, IOServiceMatching("IOHIDDevice"), iterator);
    const std::size_t held = desk.registry.liveObjects();
    unit.unplug();
    int pauses = 0;
    atPauses([&](int number, Microseconds) {
        pauses = number;
        EXPECT_EQ(desk.registry.IOIteratorNext(iterator), 0U);
    });
    driver->deviceDidRemove(iterator);
    desk.registry.IOObjectRelease(iterator);
    EXPECT_EQ(pauses, 4);
    EXPECT_LT(desk.registry.liveObjects(), held);
}

TEST_F(ConnectionRemovalTest, DelegatesThatDoNotRespondAreNotAsked) {
    deviceDelegate->deaf = {Operation::deviceDidRemoveCallback};
    unplug();
    EXPECT_THAT(deviceDelegate->takeHeard(), IsEmpty());
    EXPECT_FALSE(EventGeneratorNX7::isUnitOpen());
}

TEST_F(ConnectionRemovalTest, WithoutADelegateTheUnitLeavesAllTheSame) {
    driver->setDeviceDelegate(nullptr);
    unplug();
    EXPECT_FALSE(EventGeneratorNX7::isUnitOpen());
    EXPECT_EQ(unit.heldDevices(), 0);
}

// The unit leaves while the thread, which is just starting, makes its queue.
TEST_F(ConnectionRemovalTest, AThreadThatSetsItsQueueOnceMoreIsWaitedFor) {
    unplug();
    run(seconds(1));
    int queues = 0;
    unit.script().onNote = [&](const std::string& operation) {
        if (operation != "device.allocQueue()" || ++queues != 4)
            return;
        unit.unplug();
        desk.clock.waitUntil(desk.clock.now() + milliseconds(200));
    };
    plugIn();
    run(seconds(1));
    std::vector<Microseconds> sleeps = desk.clock.takeSleeps();
    sleeps.erase(sleeps.begin(), std::find(sleeps.rbegin(), sleeps.rend(), milliseconds(1)).base());
    EXPECT_EQ(sleeps, std::vector<Microseconds>(5, milliseconds(100))) << "one more than ever";
    EXPECT_EQ(unit.heldQueues(), 0);
}

TEST_F(ConnectionRemovalTest, AStrokeUnderWayIsReleasedByTheLastReport) {
    arm();
    EXPECT_THAT(passOn(penReport(401, 302)), Contains("press 401 302"));
    unit.unplug(); // the unit's last word is "no light spot"
    turnTaking.nextTurn();
    EXPECT_THAT(happened.takeDeeds(), Contains("release 401 302"));
    run(seconds(1));
    EXPECT_THAT(deedsWith("release "), ElementsAre("release buttons"));
}

TEST_F(ConnectionRemovalTest, AStrokeUnderWayIsReleasedByTheThreadsEndToo) {
    arm();
    EXPECT_THAT(passOn(penReport(401, 302)), Contains("press 401 302"));
    unit.unplug();
    driver->deviceDidRemove(0);
    EXPECT_THAT(deedsWith("release "), ElementsAre("release buttons", "release 401 302"));
    EXPECT_EQ(turnTaking.running(), 0);
}

TEST_F(ConnectionRemovalTest, SettingsInformationAndCalibrationOutliveTheUnit) {
    driver->setBrightness(true);
    driver->setThreshold(600);
    unplug();
    EXPECT_TRUE(driver->brightness());
    EXPECT_EQ(driver->threshold(), 600);
    EXPECT_EQ(driver->forcedExposure(), 23);
    EXPECT_EQ(EventGeneratorNX7::wirelessPointsFromFlash(), 1);
    EXPECT_EQ(driver->venerPointsFromFlash(), 0x35);
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), SizeIs(6));
}

TEST_F(ConnectionRemovalTest, CommandsToAUnitThatHasLeftDoNothing) {
    unplug();
    forget();
    driver->removeIRFilter();
    driver->updateTwoValueToDevice();
    EXPECT_FALSE(driver->writeCalibrationToFlash(std::make_shared<PointList>(4)));
    EXPECT_THAT(unit.takeSent(), IsEmpty());
}

TEST_F(ConnectionRemovalTest, ARemovalWithoutAnOpenUnitDoesNoHarm) {
    unplug();
    forget();
    EXPECT_EQ(timeOf([this] { driver->deviceDidRemove(0); }), milliseconds(400));
    EXPECT_THAT(happened.takeDeeds(), ElementsAre("release buttons", "delegate remove"));
    EXPECT_EQ(desk.registry.liveObjects(), 5U);
}

// A unit that has seen stray light, which is off now; the check view is shown.
class CheckViewShownTest : public ConnectionRemovalTest {
protected:
    CheckViewShownTest() : ConnectionRemovalTest(4) {
        unitAnswers.sightings = 0;
        driver->setThreshold(700);
        run(milliseconds(500));
        forget();
    }
};

TEST_F(CheckViewShownTest, ARestartReleasesAndOpensTheUnitAgain) {
    driver->startPointQueue();
    EXPECT_TRUE(matchesTranscript("restart"));
    EXPECT_EQ(unit.heldDevices(), 1);
    EXPECT_EQ(driver->threshold(), 512);
    EXPECT_TRUE(EventGeneratorNX7::isUnitOpen());
    EXPECT_EQ(turnTaking.running(), 1) << "the old thread has ended";
    EXPECT_EQ(desk.registry.liveObjects(), 7U) << "the event service, four iterators, two services";
    driver->putIRFilter();
    EXPECT_EQ(unit.takeSent().back().bytes[1] & 0x80, 0x80) << "as if it had just been added";
    EXPECT_FALSE(EventGeneratorNX7::hearsPen());
    arm();
}

TEST_F(CheckViewShownTest, ARestartHappensInThisOrder) {
    watch();
    driver->startPointQueue();
    moments.resize(7);
    EXPECT_THAT(moments, ElementsAre(Moment{"before", true, 1, 3}, Moment{"10 ms", true, 1, 3},
                                     Moment{"100 ms", false, 0, 2}, Moment{"100 ms", false, 0, 1},
                                     Moment{"100 ms", false, 0, 0}, Moment{"500 ms", false, 0, 0},
                                     Moment{"100 ms", false, 1, 1}));
}

TEST_F(CheckViewShownTest, ARestartWithLightStillThereShowsTheViewAgain) {
    unitAnswers.sightings = 2;
    driver->startPointQueue();
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("noise", "remove"));
    unitAnswers.sightings = 0;
    driver->startPointQueue();
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("statMenu", "add"));
}

TEST_F(CheckViewShownTest, WithoutAUnitNobodyIsToldOfOne) {
    unit.unplug();
    driver->startPointQueue();
    EXPECT_THAT(deviceDelegate->takeHeard(), IsEmpty());
    EXPECT_TRUE(EventGeneratorNX7::isUnitOpen()) << "as after a start without a unit";
    driver->setDeviceDelegate(deviceDelegate);
    EXPECT_THAT(deviceDelegate->takeHeard(), IsEmpty()) << "nor of its light";
    run(seconds(1));
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove"));
    EXPECT_FALSE(EventGeneratorNX7::isUnitOpen());
    EXPECT_EQ(desk.registry.liveObjects(), 5U);
}

TEST_F(CheckViewShownTest, TheViewGoesWithItsUnit) {
    unplug();
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove"));
    forget();
    EXPECT_EQ(timeOf([this] { driver->startPointQueue(); }), Microseconds(0))
        << "there is nothing to restart";
    EXPECT_THAT(unit.takeOperations(), IsEmpty());
}

} // namespace
} // namespace lightpen
