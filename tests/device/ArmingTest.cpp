// SPDX-License-Identifier: MIT
// How pointer output arms: what is thrown away before, and when it begins.
#include "kit/device/PassFixture.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ArmingTest : public PassFixture {
protected:
    // A pass that finds a report and throws it away.
    void expectThrownAway(int countAfter) {
        EXPECT_EQ(passOn(1001, 601), idle());
        EXPECT_EQ(sharedState.disarmedPollCount, countAfter);
        EXPECT_EQ(sharedState.mouseArmed, 0);
    }
    static Pass arms() { return {.lines = {"Event n:1790 "}, .sleeps = {kPassSleep}}; }
};

TEST_F(ArmingTest, ArmsAtTheFirstEmptyPollAfterSixPasses) {
    beginThread();
    for (int count = 1; count <= 6; ++count)
        expectThrownAway(count);
    EXPECT_EQ(pass(), arms());
    EXPECT_EQ(sharedState.mouseArmed, 1);
    EXPECT_EQ(sharedState.disarmedPollCount, 0);
    EXPECT_EQ(passOn(1001, 601).posted, (std::vector{down(503, 307)}));
}

TEST_F(ArmingTest, ReportsWithoutAnEmptyPollAreThrownAwayForAsLongAsTheyCome) {
    beginThread();
    for (int count = 1; count <= 40; ++count)
        expectThrownAway(count);
    EXPECT_EQ(pass(), arms());
}

TEST_F(ArmingTest, EmptyPollsBeforeSixPassesDoNotCount) {
    beginThread();
    for (int count = 1; count <= 5; ++count) {
        expectThrownAway(count);
        EXPECT_EQ(pass(), idle());
        EXPECT_EQ(sharedState.disarmedPollCount, count);
    }
    expectThrownAway(6);
    EXPECT_EQ(pass(), arms());
}

TEST_F(ArmingTest, ASilentUnitNeverArms) {
    beginThread();
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(pass(), idle());
    EXPECT_EQ(sharedState.disarmedPollCount, 0);
    EXPECT_EQ(sharedState.mouseArmed, 0);
}

TEST_F(ArmingTest, AFailedPollArmsLikeAnEmptyOne) {
    beginThread();
    for (int count = 1; count <= 6; ++count)
        expectThrownAway(count);
    unit.script().answer("queue1.getNextEvent", kIOReturnError);
    EXPECT_THAT(pass().lines,
                ElementsAre("Event n:1790 ", "Event n:1688 Queue getNextEvent unhandled error: e00002bc\n"));
    EXPECT_EQ(sharedState.mouseArmed, 1);
}

TEST_F(ArmingTest, NothingArmsWhileNoUnitIsOpen) {
    beginThread();
    sharedState.unitOpen = 0;
    sharedState.disarmedPollCount = 6;
    thread.pollResult = kIOReturnUnderrun;
    EXPECT_EQ(pass(), idle());
    EXPECT_EQ(sharedState.mouseArmed, 0);
    EXPECT_EQ(sharedState.disarmedPollCount, 6);
}

// Armed already, but one pass counted: the thread waits on, as when it is not armed.
TEST_F(ArmingTest, ACountOfOneHoldsAnArmedPointerBack) {
    beginArmedThread();
    sharedState.disarmedPollCount = 1;
    EXPECT_EQ(passOn(1001, 601), idle());
    EXPECT_EQ(sharedState.disarmedPollCount, 2);
    EXPECT_EQ(passOn(1001, 601).posted, (std::vector{down(503, 307)}));
}

TEST_F(ArmingTest, ArmingInstallsTheImageReceiverAgain) {
    beginThread();
    driver->_queue = unit.makeQueue();
    sharedState.disarmedPollCount = 6;
    EXPECT_EQ(pass(), arms());
    EXPECT_THAT(unit.takeOperations(), ElementsAre("queue2.setEventCallout()"));
}

TEST_F(ArmingTest, AnImageReceiverThatCannotBeInstalledAgainIsNotReported) {
    beginThread();
    driver->_queue = unit.makeQueue();
    unit.script().answer("queue2.setEventCallout", kIOReturnError);
    sharedState.disarmedPollCount = 6;
    EXPECT_EQ(pass(), arms());
    EXPECT_EQ(sharedState.mouseArmed, 1);
}

// The deviceDelegate getter, which every question for the delegate goes through

TEST_F(ArmingTest, AQuestionBeforeAnyPassArmsAnOpenUnit) {
    beginThread();
    driver->deviceDelegate();
    EXPECT_EQ(sharedState.mouseArmed, 1);
    EXPECT_EQ(passOn(1001, 601).posted, (std::vector{down(503, 307)}));
}

TEST_F(ArmingTest, AQuestionWhilePassesAreCountedHoldsThePointerBack) {
    beginThread();
    for (int count = 1; count <= 3; ++count)
        expectThrownAway(count);
    driver->deviceDelegate();
    EXPECT_EQ(sharedState.mouseArmed, 0);
    for (int count = 4; count <= 6; ++count)
        expectThrownAway(count);
    EXPECT_EQ(pass(), arms());
}

TEST_F(ArmingTest, APassIsCountedBeforeItsSleep) {
    beginThread();
    int countDuringSleep = -1;
    desk.clock.onSleep = [&](Microseconds) {
        countDuringSleep = sharedState.disarmedPollCount;
        driver->deviceDelegate();
    };
    passOn(1001, 601);
    EXPECT_EQ(countDuringSleep, 1);
    EXPECT_EQ(sharedState.mouseArmed, 0); // a question before the count would have armed
}

// A unit that is there from the start is polled from the moment the delegate is set

TEST_F(ArmingTest, SettingTheDeviceDelegateStartsPollingAndArmsAPresentUnit) {
    thread = driver->beginPointThread();
    sharedState.unitOpen = 1; // as after init
    sharedState.strayLightLevel = 0;
    thread.pollResult = kIOReturnUnderrun;
    EXPECT_EQ(passOn(1001, 601), idle());
    driver->setDeviceDelegate(deviceDelegate);
    EXPECT_EQ(sharedState.deviceDelegateQueried, 1);
    EXPECT_EQ(sharedState.mouseArmed, 1);
    EXPECT_EQ(pass().posted, (std::vector{down(503, 307)}));
}

TEST_F(ArmingTest, PassesThatSkipTheirPollCountWhenTheLastResultWasASuccess) {
    thread = driver->beginPointThread(); // a success
    sharedState.unitOpen = 1;
    sharedState.strayLightLevel = 0;
    emptyPasses(4);
    EXPECT_EQ(sharedState.disarmedPollCount, 4);
    driver->setDeviceDelegate(deviceDelegate);
    EXPECT_EQ(sharedState.mouseArmed, 0);
    expectThrownAway(5);
    expectThrownAway(6);
    EXPECT_EQ(pass(), arms());
}

// With stray light

TEST_F(ArmingTest, StrayLightArmsAfterSixPassesWhateverTheQueueHolds) {
    beginThread();
    sharedState.strayLightLevel = 3;
    for (int count = 1; count <= 6; ++count)
        expectThrownAway(count);
    const Pass armed = passOn(1001, 601);
    EXPECT_EQ(armed.lines, (std::vector<std::string>{"Event n:1790 "}));
    EXPECT_EQ(sharedState.mouseArmed, 1);
    EXPECT_EQ(sharedState.disarmedPollCount, 0);
    EXPECT_EQ(sharedState.strayLightViewShown, 1);
    EXPECT_THAT(armed.posted, IsEmpty());
}

TEST_F(ArmingTest, StrayLightStopsTheWaitingWithItsOwnCode) {
    beginThread();
    sharedState.strayLightLevel = 3;
    emptyPasses(6);
    EXPECT_EQ(thread.pollResult, kIOReturnSuccess);
    IOReturn seen = 0;
    // Seen where the arming is logged: the stray-light view polls right after, and replaces the code.
    class Watch final : public LogSink {
    public:
        explicit Watch(std::function<void()> noted) : noted_(std::move(noted)) {}
        void logLine(std::string_view) override { noted_(); }
        void standardOutput(std::string_view) override {}

    private:
        std::function<void()> noted_;
    } watch([&] { seen = thread.pollResult; });
    setLogSink(&watch);
    driver->pointThreadPass(thread);
    setLogSink(&log);
    EXPECT_EQ(seen, ioReturn(0xFFEF0BBA));
}

TEST_F(ArmingTest, WithoutStrayLightTheViewIsNotShown) {
    beginThread();
    sharedState.disarmedPollCount = 6;
    pass();
    EXPECT_EQ(sharedState.strayLightViewShown, 0);
}

} // namespace
} // namespace lightpen
