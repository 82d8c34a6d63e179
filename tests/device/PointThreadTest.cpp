// SPDX-License-Identifier: MIT
// The point thread's start, polls and end; what it does with points has tests of its own.
#include "kit/device/PenFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

class PointThreadTest : public PenFixture {
protected:
    // The queue that the point thread has made; the first three are for replies, pictures and the light test.
    std::shared_ptr<ScriptedQueue> pointsQueue() const { return unit.queue(4); }
    void stopThread() { driver->Nx9windowrelease(); }
};

// Start

TEST_F(PointThreadTest, ArrivalAndRemovalInAStrokeAreToldLikeThis) {
    start();
    happened.clear();
    plugIn();
    EXPECT_TRUE(matchesTranscript("arrival"));
    EXPECT_THAT(desk.threads.priorities, ElementsAre(1.0));
    for (int i = 0; i < 6; ++i)
        passOn(penUpReport());
    pass();
    passOn(1001, 601);
    happened.clear();
    unplug();
    EXPECT_TRUE(matchesTranscript("removal_in_a_stroke"));
    EXPECT_EQ(turnTaking.running(), 0);
}

TEST_F(PointThreadTest, ASecondStartKeepsTheQueueAndEndsTheFirstThread) {
    openArmed();
    unit.takeOperations();
    driver->setUpPointQueue();
    EXPECT_EQ(turnTaking.running(), 1);
    turnTaking.nextTurn();
    EXPECT_THAT(unit.takeOperations(),
                ElementsAre("queue4.create(0, 1)", "queue4.hasElement(17)", "queue4.start()"));
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

TEST_F(PointThreadTest, TheResultOfTheLastStepOfAStartIsToldLikeThis) {
    open();
    happened.clear();
    for (const auto& [step, result] :
         {std::pair("queue.create", kIOReturnError), std::pair("queue.hasElement", kIOReturnSuccess)}) {
        unit.script().answer(step, result); // the element is there already: create's result counts
        driver->setUpPointQueue();
        turnTaking.nextTurn();
        unit.script().carryOut(step);
    }
    EXPECT_TRUE(matchesTranscript("start_without_create"));
}

TEST_F(PointThreadTest, AStartWhoseQueueDoesNotTakeTheElementIsToldLikeThis) {
    unit.script().answer("queue4.addElement", 5);
    desk.threads.onDetach = [this] {
        happened.clear();
        turnTaking.start(desk.threads.entries.back());
    };
    start();
    plugIn();
    EXPECT_TRUE(matchesTranscript("start_without_element"));
    EXPECT_FALSE(EventGeneratorNX7::hearsPen());
}

TEST_F(PointThreadTest, StartWithoutQueuesGoesOn) {
    unit.withoutQueues = true;
    open();
    EXPECT_THAT(doneWithin(seconds(10)), IsEmpty()) << "an absent queue is an empty one";
    EXPECT_EQ(turnTaking.running(), 1);
}

TEST_F(PointThreadTest, AThreadThatIsStoppedBeforeItStartsMakesNoPass) {
    desk.threads.onDetach = [this] {
        stopThread();
        turnTaking.start(desk.threads.entries.back());
    };
    start();
    plugIn(); // which waits for its start
    EXPECT_EQ(turnTaking.running(), 0);
    EXPECT_THAT(desk.clock.takeSleeps(), testing::Not(testing::Contains(kPassSleep)));
}

// Polls

TEST_F(PointThreadTest, AnEmptyPollAsksWithoutWaitingSleepsAndSaysNothing) {
    openArmed();
    pointsQueue()->notesPolls = true;
    unit.takeOperations();
    desk.clock.takeSleeps();
    log.clear();
    EXPECT_THAT(pass(), IsEmpty());
    EXPECT_THAT(unit.takeOperations(), ElementsAre("queue4.getNextEvent(0, 0)"));
    EXPECT_THAT(desk.clock.takeSleeps(), ElementsAre(kPassSleep));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(PointThreadTest, OnlyTheNewestReportIsSeen) {
    openArmed();
    unit.sendReport(penReport(101, 201));
    EXPECT_EQ(passOn(103, 205), (Deeds{"press 54 109"}));
    EXPECT_EQ(pass(), (Deeds{"release 54 109"})) << "none is left";
}

TEST_F(PointThreadTest, AnErrorIsToldOnEachPassAndReleasesTheStroke) {
    openArmed();
    passOn(1001, 601);
    unit.script().answer("queue.getNextEvent", kIOReturnNotOpen);
    desk.clock.sleep(3 * kPassSleep);
    EXPECT_TRUE(matchesTranscript("poll_errors"));
    unit.script().carryOut("queue.getNextEvent");
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

// The made-up pen-up

class PointThreadLengthTest : public PointThreadTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(PointThreadLengthTest, SilenceWithThePenDownIsAPenUp) {
    unit.reshape({.inputLength = GetParam()});
    openArmed();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
        EXPECT_EQ(pass(), (Deeds{"release 503 307"}));
        EXPECT_THAT(pass(), IsEmpty()) << "once";
    }
}

INSTANTIATE_TEST_SUITE_P(, PointThreadLengthTest, testing::Values(8, 32, 300, 804),
                         [](const auto& parameter) { return "length" + std::to_string(parameter.param); });

// Pictures and pairing records come as reports, and are no touches

TEST_F(PointThreadTest, PixelsAreNoTouches) {
    unit.reshape({.inputLength = 804});
    openArmed();
    run(milliseconds(50));
    passOn(1001, 601); // the picture begins with the pen down
    happened.clear();
    int commands = 0;
    unitAnswers.then = [&](const SentReport& report) {
        // Six reports of pixels, each for a pass of its own, of which any would be a spot inside the screen.
        if ((report.bytes.at(1) & 1) == 1 && ++commands == 2)
            for (int i = 1; i <= 6; ++i)
                desk.runLoop.performAfterDelay(
                    {this, "pixels", {}, [this] { unit.sendReport(ReportBytes(804, 3)); }},
                    i * milliseconds(20));
        return kIOReturnSuccess;
    };
    const PreviewImageRef picture = driver->previewImage();
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->rgba[0], 3);
    EXPECT_TRUE(matchesTranscript("picture_in_a_stroke"));
    EXPECT_THAT(pass(), IsEmpty()) << "none is left for later";
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

TEST_F(PointThreadTest, PairingRecordsAreNoTouches) {
    openArmed();
    unitAnswers.then = [&](const SentReport& report) {
        if (report.bytes.at(0) == 'R')
            unit.sendReport({'R', report.bytes.at(1), 1, 100, 1, 1, 1, 1, 1, 1});
        return kIOReturnSuccess;
    };
    desk.dataFiles.put("NX9_Wireless.bin", std::nullopt);
    happened.clear();
    driver->Nx9commd('R');
    Deeds deeds = happened.takeDeeds();
    EXPECT_EQ(std::erase_if(deeds, [](const std::string& deed) { return deed.starts_with("send 52"); }), 14u);
    EXPECT_THAT(deeds, IsEmpty());
    EXPECT_EQ(desk.dataFiles.contents("NX9_Wireless.bin")->size(), 112u);
    EXPECT_THAT(pass(), IsEmpty()) << "none is left for later";
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

// End

TEST_F(PointThreadTest, TheStopFlagEndsTheThreadAfterThePassAndItsSleep) {
    openArmed();
    passOn(1001, 601);
    unit.takeOperations();
    stopThread();
    unit.sendReport(penReport(1003, 601));
    // The pass that slept when it was stopped ends; nothing of the report is seen.
    EXPECT_EQ(pass(), (Deeds{"release 503 307"}));
    EXPECT_EQ(turnTaking.running(), 0);
    EXPECT_THAT(unit.takeOperations(), IsEmpty()) << "the queue is neither stopped nor disposed";
    EXPECT_THAT(doneWithin(seconds(5)), IsEmpty()) << "no long press";
}

TEST_F(PointThreadTest, EndingWithThePenUpPostsNothing) {
    openArmed();
    passOn(1001, 601);
    lift();
    stopThread();
    EXPECT_THAT(doneWithin(seconds(5)), IsEmpty());
    EXPECT_EQ(turnTaking.running(), 0);
}

TEST_F(PointThreadTest, TerminationEndsTheThreadAndReleasesTheButton) {
    openArmed();
    passOn(1001, 601);
    desk.runLoop.terminate(0);
    EXPECT_EQ(pass(), (Deeds{"release 503 307"}));
    EXPECT_EQ(turnTaking.running(), 0);
}

} // namespace
} // namespace lightpen
