// SPDX-License-Identifier: MIT
// Fetching the preview picture: what is sent, what is waited for, and how it ends.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kTrigger = "send 00 47 00 02 02 19 (36 bytes, 100 ms)";
constexpr const char* kBackToPen = "send 00 44 00 02 02 19 (36 bytes, 100 ms)";

// A report of a picture, all of whose pixels tell its number and their place.
ReportBytes imageReport(int number) {
    ReportBytes report{0x01};
    for (int i = 0; i < 800; ++i)
        report.push_back(static_cast<std::uint8_t>((number * 41 + i * 3) % 256));
    report.resize(804, 0xEE);
    return report;
}

// The image of six such reports.
PreviewImage wholeImage() {
    PreviewImage image;
    for (std::size_t place = 0; place < 4800; ++place) {
        const auto grey = static_cast<std::uint8_t>((place / 800 * 41 + place % 800 * 3) % 256);
        const std::array<std::uint8_t, 4> pixel{grey, grey, grey, 255};
        std::copy(pixel.begin(), pixel.end(), image.rgba.begin() + static_cast<std::ptrdiff_t>(place * 4));
    }
    return image;
}

std::string textOf(const PreviewImageRef& image) {
    char text[48];
    std::snprintf(text, sizeof text, "<PreviewImage: %p>", static_cast<const void*>(image.get()));
    return text;
}

std::string collected(int count) {
    return "Event n:420 reportID :1, size: 804, count :" + std::to_string(count) + ", ";
}

// A unit with reports of 804 bytes, open, with its image queue on the main loop.
class PreviewTest : public UnitFixture {
protected:
    PreviewTest() {
        ScriptedUnit::Shape shape;
        shape.inputLength = 804;
        unit.reshape(shape);
        plugIn();
        openUnit();
        sharedState.reportCopyLength = 804;
        sharedState.reportSize = 804 & 0xFF;
        threadsStart = false;
        driver->setUpHIDQueueAndCallback();
        clearTimeline();
        onSend = [this](const SentReport& report, int) { return answer(report); };
        desk.runLoop.limitRuns(10'000);
    }
    // From its second image command on the unit sends the picture.
    IOReturn answer(const SentReport& report) {
        if (report.bytes.at(1) & 1 && ++imageCommands % 2 == 0)
            sendPictureAfter(milliseconds(5));
        return kIOReturnSuccess;
    }
    void sendPictureAfter(Microseconds delay) {
        for (int number = 0; number < pictureReports; ++number)
            after(delay + number * milliseconds(4), [this, number] { unit.sendReport(imageReport(number)); });
    }
    void after(Microseconds delay, std::function<void()> what) {
        desk.runLoop.performAfterDelay({this, "after", {}, std::move(what)}, delay);
    }
    // As armed pointer output leaves the guards.
    static void arm() {
        sharedState.mouseArmed = 1;
        sharedState.disarmedPollCount = 0;
        sharedState.strayLightLevel = 0;
    }
    std::vector<std::string> linesStartingWith(const std::string& start) {
        auto timeline = takeTimeline();
        std::erase_if(timeline, [&](const std::string& what) { return !what.starts_with(start); });
        return timeline;
    }

    int imageCommands = 0;
    int pictureReports = 7; // one more than a picture needs
};

// Triggering

TEST_F(PreviewTest, TheTriggerSendsItsCommandTwice) {
    sharedState.imageReady = 1;
    EXPECT_EQ(driver->triggerToGetImage(), kIOReturnSuccess);
    EXPECT_THAT(takeTimeline(), ElementsAre(kTrigger, "sleep 200000", kTrigger,
                                            "Event n:1949 image trigger setReport result: 0", "sleep 10000"));
    EXPECT_TRUE(driver->imageProcessMode());
    EXPECT_TRUE(driver->imageShrinkTrigger());
    EXPECT_EQ(sharedState.imageReady, 0);
}

TEST_F(PreviewTest, TheTriggersResultIsThatOfItsSecondCommand) {
    onSend = [](const SentReport&, int number) { return number == 1 ? kIOReturnTimeout : kIOReturnSuccess; };
    EXPECT_EQ(driver->triggerToGetImage(), kIOReturnSuccess);
    EXPECT_THAT(linesStartingWith("Event"), ElementsAre("Event n:1949 image trigger setReport result: 0"));
    onSend = [](const SentReport&, int number) { return number == 3 ? kIOReturnSuccess : kIOReturnTimeout; };
    EXPECT_EQ(driver->triggerToGetImage(), kIOReturnTimeout);
    EXPECT_THAT(linesStartingWith("Event").back(), "Event n:1949 image trigger setReport result: -536870186");
}

// The whole fetch

TEST_F(PreviewTest, WithoutAUnitThereIsNoneAtOnce) {
    unplug();
    clearTimeline();
    driver->_previewImage = std::make_shared<PreviewImage>();
    EXPECT_EQ(driver->previewImage(), nullptr);
    EXPECT_THAT(takeTimeline(), IsEmpty());
}

TEST_F(PreviewTest, TheWholeFetch) {
    const Microseconds before = desk.clock.now();
    const auto image = driver->previewImage();
    EXPECT_EQ(desk.clock.now() - before, milliseconds(200 + 10 + 100));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(*image, wholeImage());
    EXPECT_EQ(driver->_previewImage, image);
    EXPECT_THAT(takeTimeline(),
                ElementsAre("queue1.start()", kTrigger, "sleep 200000", kTrigger,
                            "Event n:1949 image trigger setReport result: 0", "sleep 10000", collected(0),
                            collected(1), collected(2), collected(3), collected(4), collected(5),
                            "queue1.stop()", kBackToPen, "Event n:1151 return image: " + textOf(image)));
    EXPECT_FALSE(driver->imageProcessMode());
    EXPECT_FALSE(driver->imageShrinkTrigger());
    EXPECT_EQ(sharedState.imageReady, 1) << "until the next trigger";
    EXPECT_EQ(sharedState.pictureAssembly.imageChunkCount, 0) << "the seventh report has set it back";
    EXPECT_TRUE(sharedState.pictureAssembly.imageAssemblyBuffer.empty());
}

TEST_F(PreviewTest, WithoutAReportBehindAPictureTheNextOneIsWholeToo) {
    pictureReports = 6;
    driver->previewImage();
    EXPECT_EQ(sharedState.pictureAssembly.imageChunkCount, 6);
    driver->setImage(nullptr);
    const auto image = driver->previewImage();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(*image, wholeImage());
}

TEST_F(PreviewTest, ASilentUnitIsWaitedForWhileTheLoopLives) {
    onSend = nullptr;
    sendPictureAfter(seconds(90));
    int turns = 0;
    std::function<void()> tick = [&] {
        ++turns;
        after(seconds(1), tick);
    };
    after(seconds(1), tick);
    const auto image = driver->previewImage();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(*image, wholeImage());
    EXPECT_EQ(turns, 90);
}

TEST_F(PreviewTest, AFailingWayBackIsLogged) {
    onSend = [this](const SentReport& report, int) {
        answer(report);
        return report.bytes.at(1) & 1 ? kIOReturnSuccess : kIOReturnTimeout;
    };
    const auto image = driver->previewImage();
    EXPECT_THAT(linesStartingWith("Event n:1"), ElementsAre("Event n:1949 image trigger setReport result: 0",
                                                            "Event n:1149 switch to hid mode failed.",
                                                            "Event n:1151 return image: " + textOf(image)));
}

TEST_F(PreviewTest, TheOtherSettingsTravelWithTheMode) {
    driver->setIRFilterGrounded(true);
    driver->setThreshold(0x0123);
    driver->setForcedExposure(300);
    driver->setBrightness(true);
    driver->_deviceMode = 0;
    clearTimeline();
    driver->previewImage();
    EXPECT_THAT(linesStartingWith("send"), ElementsAre("send 00 E3 23 01 02 2C (36 bytes, 100 ms)",
                                                       "send 00 E3 23 01 02 2C (36 bytes, 100 ms)",
                                                       "send 00 E0 23 01 02 2C (36 bytes, 100 ms)"));
}

// Requests within requests

TEST_F(PreviewTest, ASecondRequestInsideTheFirstGetsTheLastPicture) {
    const auto last = std::make_shared<const PreviewImage>();
    driver->setImage(last);
    onSend = nullptr;
    PreviewImageRef second;
    after(milliseconds(50), [&] {
        clearTimeline();
        second = driver->previewImage();
        EXPECT_THAT(takeTimeline(), IsEmpty());
    });
    sendPictureAfter(milliseconds(500));
    const auto first = driver->previewImage();
    EXPECT_EQ(second, last);
    EXPECT_EQ(*first, wholeImage());
    EXPECT_THAT(linesStartingWith("send"), ElementsAre(kBackToPen));
    imageCommands = 0;
    onSend = [this](const SentReport& report, int) { return answer(report); };
    EXPECT_NE(driver->previewImage(), first) << "later ones are fetched again";
}

// A unit that leaves, and the end of the program

TEST_F(PreviewTest, AUnitThatLeavesEndsTheFetchWithTheLastPicture) {
    const auto last = std::make_shared<const PreviewImage>();
    driver->setImage(last);
    onSend = nullptr;
    for (int number = 0; number < 3; ++number)
        after(milliseconds(20 + number), [this, number] { unit.sendReport(imageReport(number)); });
    after(milliseconds(1430), [this] { unit.unplug(); });
    const Microseconds before = desk.clock.now();
    EXPECT_EQ(driver->previewImage(), last);
    EXPECT_EQ(desk.clock.now() - before, milliseconds(210 + 1300));
    EXPECT_THAT(linesStartingWith("Event n:1"), ElementsAre("Event n:1949 image trigger setReport result: 0",
                                                            "Event n:1149 switch to hid mode failed.",
                                                            "Event n:1151 return image: " + textOf(last)));
    EXPECT_FALSE(driver->imageProcessMode());
}

// The empty report with which its queue ends is the sixth, some moments before the unit is off the list.
TEST_F(PreviewTest, AUnitThatLeavesAfterFivePartsDoesNotMakeAPictureOfThem) {
    const auto last = std::make_shared<const PreviewImage>();
    driver->setImage(last);
    pictureReports = 5;
    after(milliseconds(260), [this] { unit.sendReport(ReportBytes(804, 0)); });
    after(milliseconds(290), [this] { unit.unplug(); });
    EXPECT_EQ(driver->previewImage(), last);
    EXPECT_EQ(driver->_previewImage, last);
    EXPECT_EQ(sharedState.imageReady, 1) << "else no picture came of the empty report";
}

TEST_F(PreviewTest, NorDoesOneThatIsBackAtOnce) {
    replies = emptyReplies();
    driver->init(); // which watches for units
    const auto last = std::make_shared<const PreviewImage>();
    driver->setImage(last);
    pictureReports = 5;
    threadsStart = true;
    after(milliseconds(260), [this] { unit.sendReport(ReportBytes(804, 0)); });
    after(milliseconds(290), [this] {
        unit.unplug();
        unit.plugIn();
        replies = emptyReplies();
        onSend = nullptr;
    });
    EXPECT_EQ(driver->previewImage(), last);
    EXPECT_EQ(driver->_previewImage, last);
    EXPECT_EQ(sharedState.imageReady, 1) << "else no picture came of the empty report";
    EXPECT_TRUE(driver->isDevicePlugIn());
}

TEST_F(PreviewTest, WithoutALastPictureALeavingUnitGivesNone) {
    onSend = nullptr;
    after(milliseconds(210), [this] { unit.unplug(); });
    EXPECT_EQ(driver->previewImage(), nullptr);
    EXPECT_EQ(takeTimeline().back(), "Event n:1151 return image: (null)");
}

TEST_F(PreviewTest, AUnitThatLeavesBetweenTheCommandsIsNotWaitedFor) {
    desk.clock.onSleep = [this](Microseconds duration) {
        if (duration == milliseconds(200))
            unit.unplug();
    };
    EXPECT_EQ(driver->previewImage(), nullptr);
    EXPECT_THAT(linesStartingWith("Event n:1949"),
                ElementsAre("Event n:1949 image trigger setReport result: -536870208"));
}

// Removal and arrival are both reported within one turn of the wait.
TEST_F(PreviewTest, AUnitThatIsBackAtOnceDoesNotKeepTheFetchWaiting) {
    replies = emptyReplies();
    driver->init(); // which watches for units
    onSend = nullptr;
    threadsStart = true;
    after(milliseconds(210), [this] {
        unit.unplug();
        unit.plugIn();
        replies = emptyReplies();
    });
    EXPECT_EQ(driver->previewImage(), nullptr);
    EXPECT_TRUE(driver->isDevicePlugIn());
    EXPECT_FALSE(driver->imageProcessMode());
}

// Nothing but the next picture comes from the unit in between.
TEST_F(PreviewTest, APictureThatItsUnitDidNotCompleteDoesNotShiftTheNextOne) {
    replies = emptyReplies();
    driver->init(); // which watches for units
    pictureReports = 4;
    after(milliseconds(300), [this] { unit.unplug(); });
    EXPECT_EQ(driver->previewImage(), nullptr);
    desk.runLoop.runFor(seconds(1));
    EXPECT_EQ(sharedState.pictureAssembly.imageChunkCount, 0);
    EXPECT_FALSE(sharedState.pictureAssembly.imageAssemblyBuffer.empty()) << "until the next report";

    threadsStart = true;
    replies = emptyReplies();
    plugIn();
    sharedState.reportCopyLength = 804;
    pictureReports = 7;
    imageCommands = 0;
    const auto image = driver->previewImage();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(*image, wholeImage());
    EXPECT_TRUE(sharedState.pictureAssembly.imageAssemblyBuffer.empty());
}

TEST_F(PreviewTest, TheEndOfTheProgramEndsTheFetch) {
    onSend = nullptr;
    after(milliseconds(950), [this] { desk.runLoop.terminate(3); });
    EXPECT_EQ(driver->previewImage(), nullptr);
    EXPECT_THAT(linesStartingWith("send").back(), kBackToPen) << "the unit is left in its pen mode";
}

TEST_F(PreviewTest, WithoutQueuesThereIsNothingToWaitFor) {
    driver->_queue = nullptr;
    EXPECT_EQ(driver->previewImage(), nullptr);
    EXPECT_THAT(linesStartingWith("send"), ElementsAre(kTrigger, kTrigger, kBackToPen));
}

TEST_F(PreviewTest, WithoutAnInterfaceTheFetchEndsToo) {
    driver->_pphidDeviceInterface = nullptr;
    EXPECT_EQ(driver->previewImage(), nullptr);
    EXPECT_THAT(linesStartingWith("send"), IsEmpty());
}

// Pen reports before the picture

// A pen in use: its reports come until the first command has reached the unit.
TEST_F(PreviewTest, PenReportsThatAreQueuedBeforeImageModeDoNotShiftThePicture) {
    arm();
    desk.clock.onSleep = [this](Microseconds duration) {
        if (duration == milliseconds(200))
            for (int report = 0; report < 4; ++report)
                unit.sendReport(penReport(1001, 601));
    };
    const auto image = driver->previewImage();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(*image, wholeImage());
}

// What the main loop has taken before the fetch counts as the beginning of a picture: only a report behind a
// complete one sets the count back.
TEST_F(PreviewTest, PenReportsThatWereTakenBeforeTheFetchShiftThePicture) {
    arm();
    for (int report = 0; report < 2; ++report)
        unit.sendReport(penReport(1001, 601));
    runMainLoop();
    EXPECT_EQ(sharedState.pictureAssembly.imageChunkCount, 2);
    const auto image = driver->previewImage();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->rgba[0], 0xE9) << "the first pen report's x";
    EXPECT_EQ(image->rgba[std::size_t{4} * 2 * 800 + 8], 6) << "the picture's third pixel";
    EXPECT_EQ(*driver->previewImage(), wholeImage()) << "the report behind it has set it right";
}

// A touch of more than six reports has been a picture and the report behind it.
TEST_F(PreviewTest, ALongTouchBeforeTheFetchLeavesThePictureWhole) {
    arm();
    for (int report = 0; report < 9; ++report)
        unit.sendReport(penReport(1001, 601));
    runMainLoop();
    const auto image = driver->previewImage();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(*image, wholeImage());
}

} // namespace
} // namespace lightpen
