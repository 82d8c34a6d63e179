// SPDX-License-Identifier: MIT
// The set-up of the image queue step by step, and the start and stop of the points queue.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using std::chrono::seconds;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class QueuesTest : public UnitFixture {
protected:
    QueuesTest() {
        openInterface();
        startNoThreads();
    }
    // The result of the set-up, which asks for a thread once, after its second of waiting.
    IOReturn setUp() {
        desk.threads.entries.clear();
        IOReturn result = kIOReturnSuccess;
        EXPECT_EQ(timeOf([&] { result = driver->setUpHIDQueueAndCallback(); }), seconds(1));
        EXPECT_THAT(desk.threads.entries, SizeIs(1));
        return result;
    }
};

TEST_F(QueuesTest, SetUpMakesAQueueOfAHundredReports) {
    EXPECT_EQ(setUp(), 0);
    EXPECT_EQ(driver->setUpHIDQueueAndCallback(), -1) << "a second set-up is refused";
    EXPECT_THAT(desk.threads.entries, SizeIs(1)) << "and starts no thread";
    EXPECT_TRUE(matchesTranscript("image_queue"));
    ASSERT_THAT(desk.runLoop.sources(), Not(IsEmpty()));
    EXPECT_EQ(desk.runLoop.sources().back().second, kCFRunLoopDefaultMode);
    EXPECT_EQ(unit.heldQueues(), 1);
}

struct FailingStep {
    const char* name;
    const char* operation;
    IOReturn answer;
    IOReturn result; // of the whole set-up
};

class FailingSetUpTest : public QueuesTest, public testing::WithParamInterface<FailingStep> {};

TEST_P(FailingSetUpTest, AsksForTheThreadAllTheSame) {
    unit.script().answer(GetParam().operation, GetParam().answer);
    EXPECT_EQ(setUp(), GetParam().result);
    EXPECT_TRUE(matchesTranscript(std::string("image_queue_") + GetParam().name));
}

INSTANTIATE_TEST_SUITE_P(
    , FailingSetUpTest,
    testing::Values(
        FailingStep{"create", "queue.create", kIOReturnError, kIOReturnNotOpen}, // shows at its start
        FailingStep{"element", "queue.addElement", kIOReturnError, 0},           // is not looked at
        FailingStep{"source", "queue.createAsyncEventSource", kIOReturnNoDevice, kIOReturnNoDevice},
        FailingStep{"callout", "queue.setEventCallout", kIOReturnError, 0},
        FailingStep{"start", "queue.start", kIOReturnNotOpen, kIOReturnNotOpen}),
    [](const auto& step) { return step.param.name; });

TEST_F(QueuesTest, WithoutAQueueOrAnInterfaceTheThreadStartsAllTheSame) {
    unit.withoutQueues = true;
    EXPECT_EQ(setUp(), kIOReturnNoDevice);
    driver->releaseHIDInterface();
    EXPECT_EQ(setUp(), kIOReturnNoDevice);
    EXPECT_TRUE(matchesTranscript("image_queue_without_queue"));
}

TEST_F(QueuesTest, ASourceThatIsNullIsLoggedAndTheThreadStarts) {
    const std::size_t sources = desk.runLoop.sources().size();
    unit.withoutSources = true;
    EXPECT_EQ(setUp(), 0);
    EXPECT_TRUE(matchesTranscript("image_queue_without_source"));
    EXPECT_THAT(desk.runLoop.sources(), SizeIs(sources));
}

// The points queue

TEST_F(QueuesTest, StoppingWithoutAPointsQueueDoesNothing) {
    setUp();
    forget();
    driver->stopPointQueue();
    driver->startPointQueue();
    EXPECT_THAT(happened.takeAll(), IsEmpty());
}

class RunningQueuesTest : public UnitFixture {
protected:
    RunningQueuesTest() {
        start();
        plugIn();
        arm();
    }
};

TEST_F(RunningQueuesTest, StoppingStopsThePointsQueueAndStartingStartsWhatThereIs) {
    driver->stopPointQueue();
    EXPECT_THAT(unit.takeOperations(), ElementsAre("queue4.stop()"));
    EXPECT_EQ(turnTaking.running(), 1) << "the thread goes on";
    EXPECT_THAT(passOn(penReport(401, 302)), Not(Contains(testing::StartsWith("press"))));
    unit.takeOperations();
    log.clear();
    driver->startPointQueue();
    EXPECT_THAT(unit.takeOperations(), ElementsAre("queue4.start()"));
    EXPECT_EQ(timeOf([this] { driver->startPointQueue(); }), Microseconds(0));
    EXPECT_THAT(log.lines(), IsEmpty());
}

// A check view that is closed while the table is read from the unit.
TEST_F(RunningQueuesTest, StartingStartsThePairingQueuesToo) {
    unit.script().answer("device.setReport", kIOReturnNoDevice);
    driver->Nx9inPairing(); // ends at once, and keeps its queue
    unit.script().carryOut("device.setReport");
    unitAnswers.then = [this](const SentReport& report) {
        if (report.bytes[0] != 'R')
            return kIOReturnSuccess;
        unit.takeOperations();
        driver->startPointQueue();
        EXPECT_THAT(unit.takeOperations(), ElementsAre("queue4.start()", "queue6.start()", "queue5.start()"));
        desk.runLoop.terminate(0);
        return kIOReturnSuccess;
    };
    driver->Nx9commd('R');
}

} // namespace
} // namespace lightpen
