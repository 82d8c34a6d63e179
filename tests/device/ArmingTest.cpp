// SPDX-License-Identifier: MIT
// How pointer output arms: what is thrown away before, and when it begins.
#include "kit/device/PenFixture.h"

namespace lightpen {
namespace {

using testing::Contains;
using testing::IsEmpty;

class ArmingTest : public PenFixture {
protected:
    void expectThrownAway(int reports) {
        for (int i = 0; i < reports; ++i)
            EXPECT_THAT(passOn(1001, 601), IsEmpty());
        EXPECT_FALSE(EventGeneratorNX7::hearsPen());
    }
    void expectEmptyPassArms() {
        EXPECT_THAT(pass(), IsEmpty());
        EXPECT_TRUE(EventGeneratorNX7::hearsPen());
        EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
    }
    void expectWholeWait() {
        expectThrownAway(5);
        EXPECT_THAT(pass(), IsEmpty());
        expectThrownAway(1);
        expectEmptyPassArms();
    }
    // A unit that is there when the driver starts, and nobody who has asked for the delegate.
    void openAtStart() {
        unit.plugIn();
        driver->init();
    }
};

TEST_F(ArmingTest, IsToldLikeThis) {
    open();
    for (int i = 0; i < 6; ++i)
        unit.sendReport(penReport(1001, 601)), run(kPassSleep);
    run(2 * kPassSleep);
    EXPECT_TRUE(matchesTranscript("arming"));
}

TEST_F(ArmingTest, ArmsAtTheFirstEmptyPollAfterSixPasses) {
    open();
    expectThrownAway(6);
    expectEmptyPassArms();
}

TEST_F(ArmingTest, ReportsWithoutAnEmptyPollAreThrownAwayForAsLongAsTheyCome) {
    open();
    expectThrownAway(40);
    expectEmptyPassArms();
}

TEST_F(ArmingTest, EmptyPollsBeforeSixPassesDoNotCount) {
    open();
    for (int count = 1; count <= 5; ++count) {
        expectThrownAway(1);
        pass();
        EXPECT_FALSE(EventGeneratorNX7::hearsPen()) << count;
    }
    expectThrownAway(1);
    expectEmptyPassArms();
}

TEST_F(ArmingTest, ASilentUnitNeverArms) {
    open();
    EXPECT_THAT(doneWithin(std::chrono::minutes(1)), IsEmpty());
    EXPECT_FALSE(EventGeneratorNX7::hearsPen());
}

TEST_F(ArmingTest, AFailedPollArmsLikeAnEmptyOne) {
    open();
    expectThrownAway(6);
    unit.script().answer("queue.getNextEvent", kIOReturnError);
    pass();
    EXPECT_TRUE(EventGeneratorNX7::hearsPen());
}

TEST_F(ArmingTest, ArmingInstallsTheImageReceiverAgainAndDoesNotMindAFailure) {
    open();
    unit.script().answer("queue.setEventCallout", kIOReturnError);
    expectThrownAway(6);
    unit.takeOperations();
    expectEmptyPassArms();
    EXPECT_THAT(unit.takeOperations(), Contains("queue2.setEventCallout()"));
}

TEST_F(ArmingTest, ARemovalDisarms) {
    openArmed();
    unplug();
    EXPECT_FALSE(EventGeneratorNX7::hearsPen());
    plugIn();
    turnTaking.nextTurn();
    expectWholeWait();
}

TEST_F(ArmingTest, AnotherUnitWaitsFromTheBeginning) {
    open();
    expectThrownAway(3);
    replug();
    expectWholeWait();
    driver->deviceDidAdd(0); // beside the open one
    EXPECT_TRUE(EventGeneratorNX7::hearsPen());
}

TEST_F(ArmingTest, ARestartWaitsFromTheBeginning) {
    unitAnswers.sightings = 1;
    open();
    for (int i = 0; i < 3; ++i)
        pass();
    unitAnswers.sightings = 0;
    driver->startPointQueue();
    turnTaking.nextTurn();
    expectWholeWait();
}

// The deviceDelegate getter, which every question for the delegate goes through

TEST_F(ArmingTest, AQuestionBeforeAnyPassArmsAnOpenUnit) {
    open();
    driver->deviceDelegate();
    EXPECT_TRUE(EventGeneratorNX7::hearsPen());
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

// The point thread is in the sleep of its pass whenever the test asks: the pass has been counted before.
TEST_F(ArmingTest, AQuestionWhilePassesAreCountedHoldsThePointerBack) {
    open();
    for (int i = 0; i < 6; ++i) {
        expectThrownAway(1);
        driver->deviceDelegate();
        EXPECT_FALSE(EventGeneratorNX7::hearsPen());
    }
    expectEmptyPassArms();
}

// A unit that is there from the start is polled from the moment the delegate is set

TEST_F(ArmingTest, SettingTheDeviceDelegateStartsPollingAndArmsAPresentUnit) {
    openAtStart();
    driver->setDeviceDelegate(deviceDelegate);
    EXPECT_TRUE(EventGeneratorNX7::hearsPen());
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

TEST_F(ArmingTest, PassesThatSkipTheirPollCountWhenTheLastResultWasASuccess) {
    openAtStart();
    int polls = 0;
    unit.script().onPoll = [&] { ++polls; };
    for (int i = 0; i < 4; ++i)
        pass();
    EXPECT_EQ(polls, 0) << "nobody has asked for the delegate";
    unit.script().onPoll = nullptr;
    driver->setDeviceDelegate(deviceDelegate);
    expectThrownAway(1);
    pass();
    expectThrownAway(1);
    expectEmptyPassArms();
}

// With stray light

TEST_F(ArmingTest, StrayLightArmsAfterSixPassesWhateverTheQueueHolds) {
    unitAnswers.sightings = 1;
    open();
    for (int i = 0; i < 12 && !EventGeneratorNX7::hearsPen(); ++i)
        EXPECT_THAT(passOn(1001, 601), IsEmpty()) << i;
    EXPECT_TRUE(EventGeneratorNX7::hearsPen());
    EXPECT_THAT(passOn(1001, 601), IsEmpty()) << "the light is for the check view";
}

} // namespace
} // namespace lightpen
