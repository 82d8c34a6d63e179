// SPDX-License-Identifier: MIT
// Fetching the preview picture: what is sent, what is waited for, and how it ends.
#include "kit/device/PictureFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pointee;

class PreviewTest : public PictureFixture {
protected:
    PreviewTest() { openForPictures(); }
    // A picture that was fetched before; the unit is silent from now on.
    PreviewImageRef lastPicture() {
        const auto last = std::make_shared<const PreviewImage>();
        driver->setImage(last);
        beSilent();
        return last;
    }
};

TEST_F(PreviewTest, TheWholeFetch) {
    PreviewImageRef image;
    EXPECT_EQ(timeOf([&] { image = driver->previewImage(); }), milliseconds(200 + 10 + 100));
    EXPECT_TRUE(matchesTranscript("picture"));
    EXPECT_THAT(image, Pointee(wholeImage()));
    EXPECT_FALSE(driver->imageProcessMode());
    EXPECT_FALSE(driver->imageShrinkTrigger());
}

TEST_F(PreviewTest, TheTriggersResultIsThatOfItsSecondCommand) {
    for (const auto& [failing, result] :
         {std::pair{0, kIOReturnSuccess}, {1, kIOReturnSuccess}, {2, kIOReturnTimeout}}) {
        failSends(failing, kIOReturnTimeout, 1);
        EXPECT_EQ(driver->triggerToGetImage(), result);
    }
    EXPECT_TRUE(matchesTranscript("picture_trigger"));
    EXPECT_TRUE(driver->imageProcessMode());
    EXPECT_TRUE(driver->imageShrinkTrigger());
}

TEST_F(PreviewTest, WithoutAUnitThereIsNoneAtOnce) {
    driver->setImage(std::make_shared<PreviewImage>());
    unit.unplug();
    EXPECT_EQ(driver->previewImage(), nullptr);
    EXPECT_THAT(happened.takeAll(), IsEmpty());
}

TEST_F(PreviewTest, WithoutAReportBehindAPictureTheNextOneIsWholeToo) {
    answerPictures(6);
    for (int fetch = 0; fetch < 3; ++fetch) {
        driver->setImage(nullptr);
        EXPECT_THAT(driver->previewImage(), Pointee(wholeImage()));
    }
}

TEST_F(PreviewTest, ASilentUnitIsWaitedForWhileTheLoopLives) {
    beSilent();
    sendPictureAfter(seconds(90));
    int turns = 0;
    std::function<void()> tick = [&] {
        ++turns;
        after(seconds(1), tick);
    };
    after(seconds(1), tick);
    EXPECT_THAT(driver->previewImage(), Pointee(wholeImage()));
    EXPECT_EQ(turns, 90);
}

TEST_F(PreviewTest, TheOtherSettingsTravelWithTheMode) {
    driver->setIRFilterGrounded(true);
    driver->setThreshold(0x0123);
    driver->setForcedExposure(300);
    driver->setBrightness(true);
    happened.clear();
    driver->previewImage();
    EXPECT_THAT(happened.takeDeeds(), ElementsAre("send 00 63 23 01 02 2C (36 bytes, 100 ms)",
                                                  "send 00 63 23 01 02 2C (36 bytes, 100 ms)",
                                                  "send 00 60 23 01 02 2C (36 bytes, 100 ms)"));
}

TEST_F(PreviewTest, ASecondRequestInsideTheFirstGetsTheLastPicture) {
    const auto last = lastPicture();
    PreviewImageRef second;
    after(milliseconds(500),
          [&] { EXPECT_EQ(timeOf([&] { second = driver->previewImage(); }), milliseconds(0)); });
    sendPictureAfter(milliseconds(600));
    const auto first = driver->previewImage();
    EXPECT_EQ(second, last);
    EXPECT_THAT(first, Pointee(wholeImage()));
    EXPECT_THAT(modesSent(), ElementsAre(3, 3, 0)) << "it sends nothing";
    answerPictures();
    EXPECT_NE(driver->previewImage(), first) << "later ones are fetched again";
}

// A unit that leaves, and the end of the program

TEST_F(PreviewTest, AUnitThatLeavesEndsTheFetchWithTheLastPicture) {
    const auto last = lastPicture();
    sendPictureAfter(milliseconds(20), 3);
    after(milliseconds(1430), [this] { unit.unplug(); });
    EXPECT_EQ(timeOf([&] { EXPECT_EQ(driver->previewImage(), last); }), milliseconds(210 + 1300));
    EXPECT_TRUE(matchesTranscript("picture_of_a_unit_that_leaves"));
    EXPECT_FALSE(driver->imageProcessMode());
}

TEST_F(PreviewTest, WithoutALastPictureALeavingUnitGivesNone) {
    beSilent();
    after(milliseconds(210), [this] { unit.unplug(); });
    EXPECT_EQ(driver->previewImage(), nullptr);
    EXPECT_EQ(log.lines().back(), "Event n:1151 return image: (null)");
}

// The empty report with which its queue ends is the sixth, some moments before the unit is off the list.
TEST_F(PreviewTest, AUnitThatLeavesAfterFivePartsDoesNotMakeAPictureOfThem) {
    const auto last = lastPicture();
    answerPictures(5);
    after(milliseconds(260), [this] { unit.sendReport(ReportBytes(kLength, 0)); });
    after(milliseconds(290), [this] { unit.unplug(); });
    EXPECT_EQ(driver->previewImage(), last);
    EXPECT_EQ(collected(), 6) << "else no picture came of the empty report";
}

TEST_F(PreviewTest, AUnitThatLeavesBetweenTheCommandsIsNotWaitedFor) {
    atPauses([this](int, Microseconds duration) {
        if (duration == milliseconds(200))
            unit.unplug();
    });
    EXPECT_EQ(driver->previewImage(), nullptr);
    EXPECT_THAT(modesSent(), ElementsAre(3));
}

TEST_F(PreviewTest, TheEndOfTheProgramEndsTheFetch) {
    beSilent();
    after(milliseconds(950), [this] { desk.runLoop.terminate(3); });
    EXPECT_EQ(driver->previewImage(), nullptr);
    EXPECT_THAT(modesSent(), ElementsAre(3, 3, 0)) << "the unit is left in its pen mode";
}

TEST_F(PreviewTest, WithoutAnInterfaceTheFetchEndsToo) {
    driver->releaseHIDInterface();
    EXPECT_EQ(driver->previewImage(), nullptr);
    EXPECT_THAT(modesSent(), IsEmpty());
}

class WithoutQueuesTest : public PictureFixture {};

TEST_F(WithoutQueuesTest, ThereIsNothingToWaitFor) {
    openAndRead();
    EXPECT_EQ(driver->previewImage(), nullptr);
    EXPECT_THAT(modesSent(), ElementsAre(3, 3, 0));
}

// With the point thread

class PictureAndPenTest : public PictureFixture {
protected:
    PictureAndPenTest() { openArmed(); }
    // What the pointer did since the last take, the broadcasts of regions aside.
    Deeds pointer() {
        Deeds deeds = happened.takeDeeds();
        std::erase_if(deeds, [](const std::string& deed) {
            return deed.find("press ") == std::string::npos && deed.find("drag ") == std::string::npos &&
                   deed.find("release ") == std::string::npos;
        });
        return deeds;
    }
    void expectThePenToWork() {
        EXPECT_THAT(passOn(penReport(401, 302)), Contains("press 401 302"));
        EXPECT_THAT(passOn(penUpReport()), Contains("release 401 302"));
        happened.clear();
    }
    // A unit that is there again at once.
    void replug() {
        unit.unplug();
        beSilent();
        unit.plugIn();
    }
};

TEST_F(PictureAndPenTest, PixelsAreNoTouches) {
    for (int fetch = 0; fetch < 3; ++fetch) {
        EXPECT_THAT(driver->previewImage(), Pointee(wholeImage()));
        run(milliseconds(200));
        EXPECT_THAT(pointer(), IsEmpty());
        expectThePenToWork();
        runMainLoop();
    }
}

TEST_F(PictureAndPenTest, PollsAreEmptyInImageMode) {
    unit.queue(4)->notesPolls = true;
    driver->setImageProcessMode(true);
    EXPECT_THAT(passOn(penReport(301, 402)), IsEmpty());
    EXPECT_THAT(callsOf("queue4.getNextEvent"), Each("queue4.getNextEvent(0, 0)")) << "nothing waits";
    driver->setImageProcessMode(false);
    happened.clear();
    turnTaking.nextTurn();
    EXPECT_THAT(pointer(), IsEmpty()) << "nor is the report left for later";
    expectThePenToWork();
}

// A pen in use: its reports come until the first command has reached the unit.
TEST_F(PictureAndPenTest, PenReportsThatAreQueuedBeforeImageModeDoNotShiftThePicture) {
    unit.queue(2)->notesPolls = true;
    atPauses([this](int, Microseconds duration) {
        if (duration == milliseconds(200))
            for (int report = 0; report < 4; ++report)
                unit.sendReport(penReport(1001, 601));
    });
    EXPECT_THAT(driver->previewImage(), Pointee(wholeImage()));
    EXPECT_THAT(callsOf("queue2.getNextEvent"), Each("queue2.getNextEvent(0, 0)")) << "nothing waits";
}

// What the main loop has taken before the fetch counts as the beginning of a picture.
TEST_F(PictureAndPenTest, PenReportsThatWereTakenBeforeTheFetchShiftThePicture) {
    driver->previewImage();
    collected();
    for (int report = 0; report < 2; ++report)
        unit.sendReport(penReport(1001, 601));
    runMainLoop();
    const auto before = collected();
    const auto image = driver->previewImage();
    EXPECT_EQ(*image == wholeImage(), before == 0);
    EXPECT_THAT(driver->previewImage(), Pointee(wholeImage())) << "the end of a picture sets it right";
}

// A touch of more than six reports has been a picture and the report behind it.
TEST_F(PictureAndPenTest, ALongTouchBeforeTheFetchLeavesThePictureWhole) {
    for (int report = 0; report < 9; ++report)
        unit.sendReport(penReport(1001, 601));
    runMainLoop();
    EXPECT_THAT(driver->previewImage(), Pointee(wholeImage()));
}

// Removal and arrival are both reported within one turn of the wait.
TEST_F(PictureAndPenTest, AUnitThatIsBackAtOnceDoesNotKeepTheFetchWaiting) {
    const auto last = driver->previewImage();
    beSilent();
    after(milliseconds(210), [this] { replug(); });
    EXPECT_EQ(driver->previewImage(), last);
    EXPECT_TRUE(driver->isDevicePlugIn());
    EXPECT_FALSE(driver->imageProcessMode());
    answerPictures();
    EXPECT_THAT(driver->previewImage(), Pointee(wholeImage()));
}

TEST_F(PictureAndPenTest, NorDoesOneThatIsBackAfterFivePartsMakeAPictureOfThem) {
    const auto last = driver->previewImage();
    answerPictures(5);
    after(milliseconds(260), [this] { unit.sendReport(ReportBytes(kLength, 0)); });
    after(milliseconds(290), [this] { replug(); });
    collected();
    EXPECT_EQ(driver->previewImage(), last);
    EXPECT_EQ(collected(), 6) << "else no picture came of the empty report";
}

// Nothing but the next picture comes from the unit in between.
TEST_F(PictureAndPenTest, APictureThatItsUnitDidNotCompleteDoesNotShiftTheNextOne) {
    const auto last = driver->previewImage();
    answerPictures(4);
    after(milliseconds(300), [this] { unit.unplug(); });
    EXPECT_EQ(driver->previewImage(), last);
    run(seconds(1));
    answerPictures();
    plugIn();
    EXPECT_THAT(driver->previewImage(), Pointee(wholeImage()));
}

} // namespace
} // namespace lightpen
