// SPDX-License-Identifier: MIT
// Collecting the picture: when reports of the image queue count as its chunks, and what the main loop has of
// it.
#include "kit/device/PictureFixture.h"
#include "platform/IOHID.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pointee;

// Pointer output is armed; the test has a queue of its own for the handler.
class ImageReportsTest : public PictureFixture {
protected:
    explicit ImageReportsTest(int light = 0) {
        queue->create(0, 100);
        queue->addElement(kCookie, 0);
        queue->start();
        unitAnswers.sightings = light;
        start();
        plugIn();
    }
    void push(const ReportBytes& report) { queue->push(inputReportEvent(kCookie, report, kLength, 0)); }
    void pushPicture(int reports) {
        for (int number = 0; number < reports; ++number)
            push(imageReport(number));
    }
    // How many reports are taken for parts of a picture.
    long callOut() {
        log.clear();
        driver->imageReportReceived(kIOReturnSuccess, *queue);
        return collected();
    }
    int reportsLeft() {
        IOHIDEventStruct event;
        int count = 0;
        while (queue->getNextEvent(event, 0, 0) == kIOReturnSuccess)
            ++count;
        return count;
    }
    // The last complete picture, as a second request gets it; the unit leaves.
    PreviewImageRef lastPicture() {
        PreviewImageRef last;
        beSilent();
        after(Microseconds(0), [&] {
            last = driver->previewImage();
            unit.unplug();
        });
        driver->previewImage();
        return last;
    }

    static constexpr IOHIDElementCookie kCookie = 7;
    const IOHIDQueueRef queue = std::make_shared<IOHIDQueueInterface>();
};

TEST_F(ImageReportsTest, ReportsAreCollectedUntilTheQueueIsEmpty) {
    arm();
    pushPicture(2);
    EXPECT_EQ(callOut(), 2);
    EXPECT_EQ(callOut(), 0);
    push(imageReport(2));
    EXPECT_EQ(callOut(), 1);
    EXPECT_EQ(lastPicture(), nullptr);
}

TEST_F(ImageReportsTest, TheSixthReportMakesTheImageAndTheSeventhSetsTheCountBack) {
    arm();
    happened.clear();
    pushPicture(6);
    EXPECT_EQ(callOut(), 6);
    pushPicture(3);
    EXPECT_EQ(callOut(), 0);
    EXPECT_EQ(reportsLeft(), 2) << "one report at each callout";
    pushPicture(2);
    EXPECT_EQ(callOut(), 0) << "until the next picture is asked for";
    EXPECT_TRUE(matchesTranscript("picture_unasked"));
    EXPECT_THAT(lastPicture(), Pointee(wholeImage()));
}

TEST_F(ImageReportsTest, SevenReportsAtOnceAreAPictureAndTheOneBehindIt) {
    arm();
    pushPicture(9);
    EXPECT_EQ(callOut(), 6);
    EXPECT_EQ(reportsLeft(), 2);
}

TEST_F(ImageReportsTest, UntilThePointerIsArmedReportsStayWhereTheyAre) {
    for (int pass = 0; pass < 8; ++pass) {
        pushPicture(1);
        EXPECT_EQ(callOut(), 0);
        EXPECT_EQ(reportsLeft(), 1);
        if (pass < 7)
            unit.sendReport(penUpReport());
        turnTaking.nextTurn();
        if (EventGeneratorNX7::hearsPen())
            break;
    }
    arm();
    pushPicture(1);
    EXPECT_EQ(callOut(), 1);
    unplug();
    pushPicture(1);
    EXPECT_EQ(callOut(), 0) << "without a unit";
    EXPECT_EQ(reportsLeft(), 1);
}

// Another unit is there still.
TEST_F(ImageReportsTest, AfterARemovalReportsStayWhereTheyAre) {
    arm();
    unit.unplug();
    ScriptedUnit other(desk, {.product = 2});
    other.plugIn();
    driver->deviceDidRemove(0);
    pushPicture(1);
    EXPECT_EQ(callOut(), 0);
    EXPECT_EQ(reportsLeft(), 1);
}

// The loop runs until the thread has started; the driver had nobody to hold back before.
TEST_F(ImageReportsTest, ReportsOfAUnitThatIsStartingAreNoPartsOfAPicture) {
    unplug();
    driver->setDeviceDelegate(deviceDelegate);
    desk.threads.onDetach = [this] {
        for (int i = 0; i < 3; ++i)
            after(milliseconds(100), [this] { unit.sendReport(penReport(1001, 601)); });
        after(milliseconds(500), [this] { turnTaking.start(desk.threads.entries.back()); });
    };
    collected();
    plugIn();
    EXPECT_EQ(collected(), 0);
}

class LightReportsTest : public ImageReportsTest {
protected:
    LightReportsTest() : ImageReportsTest(12) {}
};

TEST_F(LightReportsTest, UnderStrayLightOnlyAFetchCollects) {
    run(milliseconds(500)); // armed
    pushPicture(1);
    EXPECT_EQ(callOut(), 0);
    EXPECT_EQ(reportsLeft(), 1);
    EXPECT_THAT(driver->previewImage(), Pointee(wholeImage()));
}

// Every length, read and written inside the buffers only

class ImageLengthTest : public PictureFixture, public testing::WithParamInterface<std::size_t> {};

TEST_P(ImageLengthTest, SixReportsMakeAPicture) {
    const std::size_t length = GetParam();
    reshape(length);
    openForPictures();
    unitAnswers.then = [&, commands = 0](const SentReport& report) mutable {
        const bool trigger = report.bytes.size() < 2 || report.bytes[1] & 1;
        if (trigger && ++commands == 2)
            for (int number = 0; number < 6; ++number)
                after(milliseconds(5), [this, length, number] {
                    unit.sendReport(ReportBytes(length, static_cast<std::uint8_t>(number + 1)));
                });
        return kIOReturnSuccess;
    };
    const auto image = driver->previewImage();
    ASSERT_NE(image, nullptr);
    const std::size_t pixels = length > 4 ? length - 4 : 0;
    for (std::size_t place = 0; place < 4800; ++place) {
        const std::size_t number = pixels == 0 ? 6 : place / pixels;
        ASSERT_EQ(image->rgba[place * 4], number < 6 ? number + 1 : 0) << place;
    }
}

INSTANTIATE_TEST_SUITE_P(, ImageLengthTest, testing::Values(2, 4, 5, 8, 32, 64, 300, 803, 804, 805, 1024));

// A report that is shorter than the unit's length is zeros behind.
TEST_F(ImageReportsTest, ShortReportsAreZerosBehind) {
    arm();
    const std::vector<std::size_t> lengths{0, 1, 2, 32, 64, 803};
    for (const std::size_t length : lengths)
        push(ReportBytes(length, 9));
    callOut();
    const auto image = lastPicture();
    ASSERT_NE(image, nullptr);
    for (std::size_t place = 0; place < 4800; ++place) {
        const std::size_t length = lengths[place / 800];
        ASSERT_EQ(image->rgba[place * 4], place % 800 + 1 < length ? 9 : 0) << place;
    }
}

// Errors of the queue

class FailingQueueTest : public ImageReportsTest {
protected:
    FailingQueueTest() {
        arm();
        failing = unit.makeQueue();
        failing->create(0, 100);
        failing->addElement(unit.shape().cookie, 0);
        failing->start();
        happened.clear();
    }
    // Each poll of it fails; at one of them, counted from 1, this is done.
    void failUntil(int poll, std::function<void()> then) {
        polls = 0;
        unit.script().answer(kPoll, kIOReturnNotOpen);
        failing->beforePoll = [this, poll, then = std::move(then)] {
            if (++polls == poll)
                then();
        };
    }
    static constexpr const char* kPoll = "queue5.getNextEvent";
    std::shared_ptr<ScriptedQueue> failing;
    int polls = 0;
};

TEST_F(FailingQueueTest, AnErrorIsLoggedAndTheQueueAskedAgainButOnceBehindAPicture) {
    failUntil(3, [this] { unit.script().carryOut(kPoll); });
    for (int number = 0; number < 6; ++number)
        unit.sendReport(imageReport(number));
    driver->imageReportReceived(kIOReturnSuccess, *failing);
    EXPECT_EQ(polls, 2 + 6 + 1);
    failUntil(100, [] {});
    driver->imageReportReceived(kIOReturnSuccess, *failing);
    EXPECT_EQ(polls, 1);
    unit.script().answer(kPoll, kIOReturnUnderrun);
    driver->imageReportReceived(kIOReturnSuccess, *failing);
    EXPECT_TRUE(matchesTranscript("picture_queue_errors"));
}

TEST_F(FailingQueueTest, AUnitThatLeavesEndsErrors) {
    failUntil(5, [this] { unit.unplug(); });
    driver->imageReportReceived(kIOReturnSuccess, *failing);
    EXPECT_EQ(polls, 5);
}

TEST_F(FailingQueueTest, TheEndOfTheProgramEndsErrors) {
    failUntil(12, [this] { desk.runLoop.terminate(0); });
    driver->imageReportReceived(kIOReturnSuccess, *failing);
    EXPECT_EQ(polls, 12);
}

} // namespace
} // namespace lightpen
