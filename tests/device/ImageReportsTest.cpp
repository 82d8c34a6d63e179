// SPDX-License-Identifier: MIT
// Collecting the picture: when reports of the image queue count as its chunks, and what the main loop has of
// it.
#include "kit/device/UnitFixture.h"
#include "platform/ReportQueue.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr IOHIDElementCookie kCookie = 7;

// The image queue alone, with a unit that is there; pointer output is armed.
class ImageReportsTest : public UnitFixture {
protected:
    ImageReportsTest() {
        plugIn();
        queue->create(0, 100);
        queue->addElement(kCookie, 0);
        queue->start();
        sharedState.mouseArmed = 1;
        sharedState.strayLightLevel = 0;
        sharedState.reportCopyLength = 804;
        clearTimeline();
    }
    void push(const ReportBytes& report, std::size_t length = 804) {
        queue->push(inputReportEvent(kCookie, report, length, 0));
    }
    void push(int count) {
        for (int i = 0; i < count; ++i)
            push(ReportBytes{static_cast<std::uint8_t>(0xA0 + i), 0x11, 0x22});
    }
    void callOut() { driver->imageReportReceived(kIOReturnSuccess, *queue); }
    int reportsLeft() {
        IOHIDEventStruct event;
        int count = 0;
        while (queue->getNextEvent(event, 0, 0) == kIOReturnSuccess)
            ++count;
        return count;
    }
    static int chunkCount() { return sharedState.pictureAssembly.imageChunkCount; }

    const std::shared_ptr<ReportQueue> queue = std::make_shared<ReportQueue>();
};

TEST_F(ImageReportsTest, ReportsAreCollectedUntilTheQueueIsEmpty) {
    push(2);
    callOut();
    EXPECT_THAT(takeTimeline(), ElementsAre("Event n:420 reportID :a0, size: 804, count :0, ",
                                            "Event n:420 reportID :a1, size: 804, count :1, "));
    callOut();
    EXPECT_THAT(takeTimeline(), IsEmpty());
    push(1);
    callOut();
    EXPECT_THAT(takeTimeline(), ElementsAre("Event n:420 reportID :a0, size: 804, count :2, "));
    EXPECT_EQ(driver->_previewImage, nullptr);
    EXPECT_EQ(sharedState.imageReady, 0);
}

TEST_F(ImageReportsTest, TheSixthReportMakesTheImageAndTheSeventhSetsTheCountBack) {
    push(6);
    callOut();
    EXPECT_EQ(sharedState.imageReady, 1);
    ASSERT_NE(driver->_previewImage, nullptr);
    EXPECT_EQ(driver->_previewImage->rgba[4 * 801], 0x22) << "the second pixel of the second report";
    EXPECT_EQ(chunkCount(), 6);
    takeTimeline();
    push(3);
    callOut();
    EXPECT_THAT(takeTimeline(), IsEmpty());
    EXPECT_EQ(chunkCount(), 0);
    EXPECT_EQ(reportsLeft(), 2) << "one report at each callout";
}

TEST_F(ImageReportsTest, SevenReportsAtOnceAreAPictureAndTheOneBehindIt) {
    push(9);
    callOut();
    EXPECT_EQ(chunkCount(), 0);
    EXPECT_EQ(reportsLeft(), 2);
}

TEST_F(ImageReportsTest, EachGuardHoldsTheReportsBack) {
    struct Guard {
        int mouseArmed, disarmedPollCount, strayLightLevel;
    };
    for (const Guard& guard :
         {Guard{0, 0, 0}, Guard{1, 1, 0}, Guard{1, -1, 0}, Guard{1, 0, 1}, Guard{1, 0, -1}, Guard{2, 0, 0}}) {
        sharedState.mouseArmed = guard.mouseArmed;
        sharedState.disarmedPollCount = guard.disarmedPollCount;
        sharedState.strayLightLevel = guard.strayLightLevel;
        push(1);
        callOut();
        EXPECT_THAT(takeTimeline(), IsEmpty());
        EXPECT_EQ(reportsLeft(), 1);
    }
}

TEST_F(ImageReportsTest, WithoutAUnitReportsStayWhereTheyAre) {
    unplug();
    clearTimeline();
    push(1);
    sharedState.imageReady = 1;
    callOut();
    sharedState.imageReady = 0;
    callOut();
    EXPECT_THAT(takeTimeline(), IsEmpty());
    EXPECT_EQ(reportsLeft(), 1);
}

TEST_F(ImageReportsTest, ABufferThatIsLeftBehindAPictureIsGivenUp) {
    sharedState.imageReady = 1;
    sharedState.pictureAssembly.imageChunkCount = 3;
    sharedState.pictureAssembly.imageAssemblyBuffer.assign(4800, 1);
    push(1);
    callOut();
    EXPECT_THAT(takeTimeline(), ElementsAre("Event n:473 $release related resource."));
    EXPECT_EQ(chunkCount(), 0);
    EXPECT_TRUE(sharedState.pictureAssembly.imageAssemblyBuffer.empty());
}

// Every length, read and written inside the buffers only

TEST_F(ImageReportsTest, EveryReportLengthMakesItsPicture) {
    for (int length = 0; length <= 1024; ++length) {
        sharedState.pictureAssembly = {};
        sharedState.imageReady = 0;
        sharedState.reportCopyLength = length;
        const auto bytes = static_cast<std::size_t>(length);
        for (int number = 0; number < 6; ++number)
            push(ReportBytes(bytes, static_cast<std::uint8_t>(number + 1)), bytes);
        callOut();
        ASSERT_EQ(sharedState.imageReady, 1) << length;
        const int pixels = std::max(length - 4, 0);
        for (int place = 0; place < 4800; ++place) {
            const int number = pixels == 0 ? 6 : place / pixels;
            ASSERT_EQ(driver->_previewImage->rgba[static_cast<std::size_t>(place) * 4],
                      number < 6 ? number + 1 : 0)
                << length << " at " << place;
        }
    }
}

TEST_F(ImageReportsTest, ReportsThatAreShorterThanTheUnitsLengthAreZerosBehind) {
    for (const std::size_t length : {0u, 1u, 2u, 5u, 32u, 64u, 803u}) {
        sharedState.pictureAssembly = {};
        sharedState.imageReady = 0;
        for (int number = 0; number < 6; ++number)
            push(ReportBytes(length, 9), length);
        callOut();
        const auto carried = std::min<std::size_t>(length ? length - 1 : 0, 800);
        for (std::size_t place = 0; place < 800; ++place)
            ASSERT_EQ(driver->_previewImage->rgba[place * 4], place < carried ? 9 : 0) << length;
    }
}

// Errors of the queue

class FailingQueueTest : public ImageReportsTest {
protected:
    FailingQueueTest() {
        openUnit();
        failing = unit.makeQueue();
        failing->create(0, 100);
        failing->addElement(unit.shape().cookie, 0);
        failing->start();
        clearTimeline();
    }
    std::shared_ptr<ScriptedQueue> failing;
};

TEST_F(FailingQueueTest, AnErrorIsLoggedAndTheQueueAskedAgain) {
    unit.script().answer("queue.getNextEvent", kIOReturnNotOpen);
    unit.sendReport({0x42});
    int polls = 0;
    unit.script().onPoll = [&] {
        if (++polls == 3)
            unit.script().carryOut("queue.getNextEvent");
    };
    driver->imageReportReceived(kIOReturnSuccess, *failing);
    EXPECT_THAT(takeTimeline(), ElementsAre("Event n:405 hid->getNextEvent() unhandled error: e00002cd",
                                            "Event n:405 hid->getNextEvent() unhandled error: e00002cd",
                                            "Event n:420 reportID :42, size: 32, count :0, "));
    EXPECT_EQ(polls, 4);
}

TEST_F(FailingQueueTest, AnErrorBehindAPictureIsLoggedOnce) {
    sharedState.imageReady = 1;
    sharedState.pictureAssembly.imageChunkCount = 6;
    unit.script().answer("queue.getNextEvent", kIOReturnError);
    driver->imageReportReceived(kIOReturnSuccess, *failing);
    EXPECT_THAT(takeTimeline(), ElementsAre("Event n:466 hid->getNextEvent() unhandled error: e00002bc"));
    EXPECT_EQ(chunkCount(), 6);
    unit.script().answer("queue.getNextEvent", kIOReturnUnderrun);
    driver->imageReportReceived(kIOReturnSuccess, *failing);
    EXPECT_THAT(takeTimeline(), IsEmpty());
}

TEST_F(FailingQueueTest, AUnitThatLeavesOrTheEndOfTheProgramEndsErrors) {
    unit.script().answer("queue.getNextEvent", kIOReturnNotOpen);
    int polls = 0;
    unit.script().onPoll = [&] {
        if (++polls == 5)
            unit.unplug();
    };
    driver->imageReportReceived(kIOReturnSuccess, *failing);
    EXPECT_EQ(polls, 5);
    unit.plugIn();
    unit.script().onPoll = [&] {
        if (++polls == 12)
            desk.runLoop.terminate(0);
    };
    driver->imageReportReceived(kIOReturnSuccess, *failing);
    EXPECT_EQ(polls, 12);
}

// The main loop

// A whole driver whose pointer output has just been armed: no picture has ever been asked for, and a tap is
// shorter than one.
class TapTest : public UnitFixture {
protected:
    TapTest() {
        plugIn();
        openUnit();
        desk.desktop.frame = ScreenRect{{0, 0}, {1280, 800}};
        driver->setCalibrationCenter(std::make_shared<ShiftingMapper>());
        driver->setUpHIDQueueAndCallback();
        runMainLoop();
        sharedState.unitOpen = sharedState.deviceDelegateQueried = sharedState.mouseArmed = 1;
        sharedState.strayLightLevel = 0;
        clearTimeline();
    }
    // The unit's report, what the main thread makes of it, and a pass of the point thread.
    void pass(const ReportBytes& report) {
        unit.sendReport(report);
        runMainLoop();
        driver->pointThreadPass(*thread);
        runMainLoop();
    }
};

TEST_F(TapTest, AShortTapLeavesTheMainLoopFreeAndALongPressFiresOnTime) {
    pass(penReport(301, 402));
    pass(penUpReport());
    EXPECT_EQ(sharedState.pictureAssembly.imageChunkCount, 2) << "the picture has only begun";
    EXPECT_FALSE(desk.runLoop.terminating()) << "nobody waits for the rest of it";
    EXPECT_EQ(desk.pointer.takePosted(), (std::vector{down(301, 402), up(301, 402)}));

    pass(penReport(501, 402));
    // The request is taken behind the pass; the pen rests without a further report.
    const Microseconds asked = desk.clock.now();
    desk.pointer.takePosted();
    desk.runLoop.runFor(seconds(2) - Microseconds(1));
    EXPECT_THAT(desk.pointer.takePosted(), IsEmpty());
    desk.runLoop.runFor(Microseconds(1));
    EXPECT_EQ(desk.clock.now() - asked, seconds(2));
    EXPECT_EQ(desk.pointer.takePosted(), (std::vector{up(501, 402), rightDown(501, 402), rightUp(501, 402)}));
}

TEST_F(TapTest, PollsAreEmptyWhileAPictureIsFetched) {
    driver->setImageProcessMode(true);
    pass(penReport(301, 402));
    EXPECT_THAT(desk.pointer.takePosted(), IsEmpty());
    driver->setImageProcessMode(false);
    driver->pointThreadPass(*thread);
    EXPECT_THAT(desk.pointer.takePosted(), IsEmpty()) << "nor is the report left for later";
}

// The fetch collects whatever the guards say: the preview is opened exactly when there is stray light.
TEST_F(TapTest, AFetchUnderStrayLightIsCompleted) {
    sharedState.strayLightLevel = 12;
    sharedState.mouseArmed = 0;
    sharedState.disarmedPollCount = 4;
    onSend = [this](const SentReport& report, int number) {
        if (report.bytes.at(1) & 1 && number == 2)
            for (int chunk = 0; chunk < 7; ++chunk)
                desk.runLoop.performAfterDelay(
                    {this, "chunk", {}, [this] { unit.sendReport(ReportBytes(32, 0x31)); }},
                    milliseconds(3 + chunk));
        return kIOReturnSuccess;
    };
    const auto image = driver->previewImage();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->rgba[0], 0x31);
    EXPECT_EQ(image->rgba[4 * (6 * 28 - 1)], 0x31);
    EXPECT_EQ(image->rgba[4 * 6 * 28], 0) << "six reports of 32 bytes reach no further";
}

} // namespace
} // namespace lightpen
