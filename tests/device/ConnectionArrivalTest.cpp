// SPDX-License-Identifier: MIT
// A unit that arrives, replugs, and a second one beside it.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::SizeIs;

// A driver that has started without a unit; the one that arrives is calibrated.
class ConnectionArrivalTest : public UnitFixture {
protected:
    ConnectionArrivalTest() {
        unitAnswers.records = calibratedRecords();
        desk.runLoop.limitRuns(2000);
        start();
        forget();
    }
    Deeds heard() { return deviceDelegate->takeHeard(); }

    // Of the registry: the event service and four iterators, and the two services of a unit that is open.
    static constexpr std::size_t kWithoutUnit = 5, kWithUnit = 7;
};

// Arrival

TEST_F(ConnectionArrivalTest, AUnitThatArrivesIsOpenedAndAnnounced) {
    driver->setThreshold(700);
    happened.clear();
    plugIn();
    EXPECT_TRUE(matchesTranscript("unit_arrival"));
    EXPECT_EQ(deviceDelegate->sender, driver.get());
    EXPECT_EQ(driver->threshold(), 512);
    EXPECT_TRUE(EventGeneratorNX7::isUnitOpen());
    EXPECT_EQ(turnTaking.running(), 1);
    driver->putIRFilter();
    EXPECT_EQ(unit.takeSent().back().bytes[1] & 0x80, 0x80) << "it has just been added";
}

TEST_F(ConnectionArrivalTest, EachNotificationIsArmedAgain) {
    for (int i = 0; i < 3; ++i) {
        plugIn();
        EXPECT_THAT(heard(), ElementsAre("statMenu", "add"));
        unplug();
        EXPECT_THAT(heard(), ElementsAre("remove"));
    }
}

TEST_F(ConnectionArrivalTest, DelegatesThatDoNotRespondAreNotAsked) {
    deviceDelegate->deaf = {Operation::statMenu};
    plugIn();
    EXPECT_THAT(heard(), ElementsAre("add"));
    unplug();
    heard();
    deviceDelegate->deaf = {Operation::deviceDidAddCallback};
    plugIn();
    EXPECT_THAT(heard(), ElementsAre("statMenu"));
}

TEST_F(ConnectionArrivalTest, WithoutADelegateTheUnitIsOpenedAllTheSame) {
    driver->setDeviceDelegate(nullptr);
    plugIn();
    EXPECT_TRUE(EventGeneratorNX7::isUnitOpen());
    arm(); // the delegate was asked for, or nothing would be polled
}

TEST_F(ConnectionArrivalTest, WithStrayLightOnlyTheNoiseIsTold) {
    unitAnswers.sightings = 1;
    plugIn();
    EXPECT_THAT(heard(), ElementsAre("noise", "remove"));
    EXPECT_TRUE(EventGeneratorNX7::isUnitOpen());
}

// Arming

TEST_F(ConnectionArrivalTest, ThePointerIsHeldBackUntilTheCalibrationHasHadItsTurn) {
    EXPECT_TRUE(EventGeneratorNX7::hearsPen()) << "a start without a unit counts as armed";
    std::vector<bool> open;
    const auto look = [&] {
        EXPECT_FALSE(EventGeneratorNX7::hearsPen());
        open.push_back(EventGeneratorNX7::isUnitOpen());
    };
    atPauses([&](int, Microseconds) { look(); });
    deviceDelegate->then = [&](const std::string&) { look(); };
    plugIn();
    std::vector<bool> expected(7 + 50, false);
    expected.resize(7 + 50 + 2, true);
    EXPECT_EQ(open, expected) << "seven pauses, fifty looks for light, two messages";
    EXPECT_FALSE(EventGeneratorNX7::hearsPen());
    arm();
}

// Arrivals that fail or are overtaken

TEST_F(ConnectionArrivalTest, AUnitThatIsGoneBeforeTheLoopTurnsIsNoArrival) {
    unit.plugIn();
    unit.unplug();
    run(seconds(1));
    EXPECT_THAT(happened.takeDeeds(), ElementsAre("release buttons", "delegate remove"));
}

class VanishingArrivalTest : public ConnectionArrivalTest, public testing::WithParamInterface<int> {};

TEST_P(VanishingArrivalTest, IsRemovedAfterwards) {
    atPauses([&](int number, Microseconds) {
        if (number == GetParam())
            unit.unplug();
    });
    plugIn();
    run(seconds(1));
    EXPECT_THAT(heard(), ElementsAre("statMenu", "add", "remove"));
    EXPECT_FALSE(EventGeneratorNX7::isUnitOpen());
    EXPECT_EQ(unit.heldDevices(), 0);
    EXPECT_EQ(unit.heldQueues(), 0);
    EXPECT_EQ(turnTaking.running(), 0);
    EXPECT_EQ(desk.registry.liveObjects(), kWithoutUnit);
}

INSTANTIATE_TEST_SUITE_P(, VanishingArrivalTest, testing::Range(1, 8),
                         [](const auto& parameter) { return "pause" + std::to_string(parameter.param); });

TEST_F(ConnectionArrivalTest, AUnitThatDoesNotOpenKeepsTheWaitUntilItIsPulled) {
    prepare(Trouble::notOpened);
    after(seconds(20), [this] { unit.unplug(); });
    EXPECT_GE(timeOf([this] { plugIn(); }), seconds(20));
    run(seconds(1));
    EXPECT_THAT(heard(), ElementsAre("statMenu", "add", "remove"));
    prepare(Trouble::none);
    plugIn();
    EXPECT_EQ(turnTaking.running(), 1);
}

// Replugs

class ReplugTest : public ConnectionArrivalTest, public testing::WithParamInterface<int> {};

TEST_P(ReplugTest, IsOneRemovalAndOneArrival) {
    plugIn();
    arm();
    heard();
    unit.unplug();
    run(milliseconds(GetParam()));
    unit.plugIn();
    run(seconds(3));
    EXPECT_THAT(heard(), ElementsAre("remove", "statMenu", "add"));
    EXPECT_TRUE(EventGeneratorNX7::isUnitOpen());
    EXPECT_FALSE(EventGeneratorNX7::hearsPen()) << "the new unit arms anew";
    EXPECT_EQ(turnTaking.running(), 1);
    EXPECT_EQ(desk.registry.liveObjects(), kWithUnit);
}

INSTANTIATE_TEST_SUITE_P(, ReplugTest, testing::Values(0, 20, 49, 50, 51, 99), [](const auto& parameter) {
    return "after" + std::to_string(parameter.param) + "ms";
});

TEST_F(ConnectionArrivalTest, QuickReplugsCostOneOpening) {
    plugIn();
    heard();
    forget();
    for (int i = 0; i < 200; ++i) {
        unit.unplug();
        unit.plugIn();
    }
    run(seconds(1));
    EXPECT_THAT(heard(), ElementsAre("remove", "statMenu", "add"));
    EXPECT_THAT(callsOf("device.open"), SizeIs(1));
    EXPECT_TRUE(EventGeneratorNX7::isUnitOpen());
}

class ReplugDuringOpeningTest : public ConnectionArrivalTest, public testing::WithParamInterface<int> {
protected:
    ReplugDuringOpeningTest() {
        atPauses([this](int number, Microseconds) {
            if (number != GetParam())
                return;
            unit.unplug();
            unit.plugIn();
        });
    }
};

// There is no waiting for a unit that was replaced.
TEST_P(ReplugDuringOpeningTest, CostsOneMore) {
    EXPECT_LT(timeOf([this] { plugIn(); }), seconds(6));
    run(seconds(1));
    EXPECT_THAT(heard(), ElementsAre("statMenu", "add", "remove", "statMenu", "add"));
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), SizeIs(6));
    EXPECT_TRUE(EventGeneratorNX7::isUnitOpen());
    EXPECT_EQ(turnTaking.running(), 1);
    EXPECT_EQ(desk.registry.liveObjects(), kWithUnit);
}

INSTANTIATE_TEST_SUITE_P(, ReplugDuringOpeningTest, testing::Range(1, 8),
                         [](const auto& parameter) { return "pause" + std::to_string(parameter.param); });

TEST_F(ConnectionArrivalTest, CallbacksOfTheUnitNeverNest) {
    int depth = 0;
    deviceDelegate->then = [&](const std::string& what) {
        EXPECT_EQ(++depth, 1);
        if (what == "add") {
            unit.unplug();
            run(seconds(2));
        }
        --depth;
    };
    plugIn();
    run(seconds(1));
    EXPECT_THAT(heard(), ElementsAre("statMenu", "add", "remove"));
}

// A second unit

class SecondUnitTest : public ConnectionArrivalTest {
protected:
    SecondUnitTest() {
        driver->setCalibrationCenter(std::make_shared<ShiftingMapper>());
        second.onSetReport = [this](const SentReport& report) {
            if (report.bytes.at(0) == 'H')
                second.sendReport(UnitFlash{}.answerTo(report.bytes.at(1)));
            return kIOReturnSuccess;
        };
        plugIn();
        arm();
        run(milliseconds(20)); // what armed the driver is no picture
        forget();
        heard();
    }
    ~SecondUnitTest() override {
        endThreads();
        second.onSetReport = nullptr;
    }
    void plugInSecond() {
        second.plugIn();
        run(seconds(3));
    }
    ScriptedUnit second{desk, {.product = 2}};
};

TEST_F(SecondUnitTest, IsLeftAloneWhileTheFirstIsOpen) {
    plugInSecond();
    EXPECT_THAT(second.takeOperations(), testing::IsEmpty());
    EXPECT_THAT(happened.takeDeeds(), testing::IsEmpty());
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{"Driver: another camera unit has come; the open one stays in use"});
    EXPECT_THAT(passOn(penReport(401, 302)), testing::Contains("press 401 302"));
}

TEST_F(SecondUnitTest, ComesAndGoesWithinAStroke) {
    EXPECT_THAT(passOn(penReport(401, 302)), testing::Contains("press 401 302"));
    driver->deviceDidAdd(0);
    EXPECT_THAT(passOn(penReport(402, 303)), ElementsAre("drag 402 303"));
    driver->deviceDidRemove(0);
    EXPECT_THAT(passOn(penReport(403, 305)), ElementsAre("drag 403 305"));
    EXPECT_THAT(passOn(penUpReport()), ElementsAre("release 403 305"));
    EXPECT_THAT(passOn(penReport(501, 402)), testing::Contains("press 501 402"));
}

TEST_F(SecondUnitTest, LeavesUnheardBesideTheOpenOne) {
    plugInSecond();
    forget();
    second.unplug();
    run(seconds(1));
    EXPECT_THAT(happened.takeDeeds(), testing::IsEmpty());
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{"Driver: another camera unit has gone; the open one stays in use"});
    EXPECT_THAT(passOn(penReport(401, 302)), testing::Contains("press 401 302"));
}

TEST_F(SecondUnitTest, IsOpenedWhenTheFirstLeaves) {
    plugInSecond();
    EXPECT_THAT(passOn(penReport(401, 302)), testing::Contains("press 401 302"));
    unplug();
    run(seconds(3));
    EXPECT_THAT(heard(), ElementsAre("remove", "statMenu", "add"));
    EXPECT_EQ(second.heldDevices(), 1);
    EXPECT_TRUE(EventGeneratorNX7::isUnitOpen());
    EXPECT_EQ(turnTaking.running(), 1);
    for (int pass = 0; pass < 7; ++pass) {
        second.sendReport(penUpReport());
        turnTaking.nextTurn();
    }
    turnTaking.nextTurn();
    happened.clear();
    second.sendReport(penReport(77, 88));
    turnTaking.nextTurn();
    EXPECT_THAT(happened.takeDeeds(), testing::Contains("press 77 88"));
}

// What cannot be opened is tried once, not again and again.
TEST_F(SecondUnitTest, ThatCannotBeOpenedIsNotTriedTwice) {
    plugInSecond();
    second.script().answer("device.open", kIOReturnNotPrivileged);
    after(seconds(30), [this] { second.unplug(); });
    unplug();
    run(seconds(40));
    const auto calls = second.takeOperations();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "device.open(0)"), 1);
    EXPECT_FALSE(EventGeneratorNX7::isUnitOpen());
}

TEST_F(SecondUnitTest, LeavesNoReferenceBehind) {
    plugInSecond();
    unplug();
    run(seconds(3));
    second.unplug();
    run(seconds(1));
    EXPECT_EQ(desk.registry.liveObjects(), kWithoutUnit);
}

} // namespace
} // namespace lightpen
