// SPDX-License-Identifier: MIT
// The light test: its command, its fifty looks, and what counts.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

class LightTestTest : public UnitFixture {
protected:
    LightTestTest() {
        openUnit();
        clearTimeline();
    }
    // The unit sends this at each of the driver's looks.
    void sendAtEachLook(const ReportBytes& report) {
        desk.clock.onSleep = [this, report](Microseconds) { unit.sendReport(report); };
    }
    // "out: ..." of the timeline.
    std::vector<std::string> printed() {
        auto timeline = takeTimeline();
        std::erase_if(timeline, [](const std::string& what) { return !what.starts_with("out: "); });
        return timeline;
    }
};

TEST_F(LightTestTest, TheCommandAndTheLooks) {
    EXPECT_EQ(driver->StrayLightDetecting(), 0);
    std::vector<std::string> expected{
        "device.allocQueue()", "queue1.create(0, 100)",       "Event n:2323 Input report element for 0",
        "Event n:2349 ",       "queue1.hasElement(17)",       "queue1.addElement(17, 0)",
        "queue1.start()",      "send 4B (32 bytes, no limit)"};
    expected.resize(expected.size() + 50, "sleep 1000");
    EXPECT_EQ(takeTimeline(), expected);
    EXPECT_NE(driver->_calibrationQueue, nullptr) << "it is left running";
}

TEST_F(LightTestTest, TheQueueOfAnEarlierReadIsUsedAgain) {
    driver->StrayLightDetecting();
    const IOHIDQueueRef queue = driver->_calibrationQueue;
    clearTimeline();
    sendAtEachLook({'s'});
    EXPECT_EQ(driver->StrayLightDetecting(), 50);
    EXPECT_EQ(driver->_calibrationQueue, queue);
    EXPECT_EQ(takeTimeline().front(), "send 4B (32 bytes, no limit)");
}

TEST_F(LightTestTest, FiftySightingsAreFifty) {
    sendAtEachLook({'s', 0x0A, 0xFF});
    EXPECT_EQ(driver->StrayLightDetecting(), 50);
    std::vector<std::string> expected;
    for (int look = 0; look < 50; ++look) {
        expected.emplace_back("out: Event n:1022 event.longValue 0 : 0x73 :0x73\n");
        expected.emplace_back("out: Event n:1022 event.longValue 1 : 0xa :0x73\n");
    }
    EXPECT_EQ(printed(), expected);
}

TEST_F(LightTestTest, OtherRepliesDoNotCount) {
    for (const std::uint8_t letter : ReportBytes{0, 1, 0x4B, 0x53, 0x72, 0x74, 0xF3, 0xFF}) {
        sendAtEachLook({letter, 's', 's'});
        EXPECT_EQ(driver->StrayLightDetecting(), 0) << int{letter};
    }
}

TEST_F(LightTestTest, SightingsAndOtherReportsAreToldApart) {
    int look = 0;
    desk.clock.onSleep = [&](Microseconds) {
        if (++look % 3 == 0)
            unit.sendReport({'s'});
        else if (look % 3 == 1)
            unit.sendReport(penReport(1001, 601));
    };
    EXPECT_EQ(driver->StrayLightDetecting(), 16);
}

// More than one reply a look: the rest waits for the next one, and what is left for nobody.
TEST_F(LightTestTest, OneReplyIsTakenAtEachLook) {
    onSend = [this](const SentReport&, int) {
        for (int reply = 0; reply < 60; ++reply)
            unit.sendReport({'s', static_cast<std::uint8_t>(reply)});
        return kIOReturnSuccess;
    };
    EXPECT_EQ(driver->StrayLightDetecting(), 50);
    EXPECT_EQ(printed().back(), "out: Event n:1022 event.longValue 1 : 0x31 :0x73\n");
}

TEST_F(LightTestTest, ACommandThatFailsIsLoggedAndTheLooksAreTaken) {
    unit.script().answer("device.setReport", kIOReturnTimeout);
    sendAtEachLook({'s'});
    EXPECT_EQ(driver->StrayLightDetecting(), 50);
    EXPECT_THAT(log.lines(), testing::Contains("Event n:1034"));
    EXPECT_EQ(desk.clock.takeSleeps(), std::vector<Microseconds>(50, milliseconds(1)));
}

TEST_F(LightTestTest, QueueErrorsAreLoggedTenTimesALook) {
    unit.script().answer("queue.getNextEvent", kIOReturnNotOpen);
    EXPECT_EQ(driver->StrayLightDetecting(), 0);
    const auto lines = log.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         "Event n:1013 error when get calibration points from flash, e00002cd"),
              500);
}

TEST_F(LightTestTest, TheCommandHasTheLengthOfTheUnitsReports) {
    sharedState.reportSize = 44;
    sharedState.reportCopyLength = 300;
    driver->StrayLightDetecting();
    ReportBytes expected(44);
    expected[0] = 0x4B;
    EXPECT_THAT(unit.takeSent(), ElementsAre(SentReport{IOHIDReportType::output, 0, expected, 0xFFFFFFFF}));
    EXPECT_EQ(driver->outputReportBuffer()->size(), 300u);
}

TEST_F(LightTestTest, WithoutAnInterfaceThereIsNoLight) {
    driver->_pphidDeviceInterface = nullptr;
    EXPECT_EQ(driver->StrayLightDetecting(), 0);
    EXPECT_THAT(log.lines(),
                ElementsAre("Event n:1367 doCommandFromOutputBuffer error. command size is ZERO."));
    EXPECT_EQ(desk.clock.takeSleeps(), std::vector<Microseconds>(50, milliseconds(1)));
}

TEST_F(LightTestTest, AUnitThatLeavesInTheMiddleIsNoLight) {
    int look = 0;
    desk.clock.onSleep = [&](Microseconds) {
        if (++look == 20)
            unit.unplug();
        unit.sendReport({'s'});
    };
    EXPECT_EQ(driver->StrayLightDetecting(), 19);
    // Its last word is a report of zeros.
    EXPECT_EQ(printed().back(), "out: Event n:1022 event.longValue 1 : 0x0 :0x0\n");
}

// One reply

TEST_F(LightTestTest, AReplyIsCopiedWhole) {
    driver->StrayLightDetecting();
    ReportBytes reply(32);
    for (std::size_t i = 0; i < reply.size(); ++i)
        reply[i] = static_cast<std::uint8_t>(3 + i * 7);
    unit.sendReport(reply);
    ReportBuffer buffer(5, 0xEE);
    EXPECT_EQ(driver->getLightDetecting(buffer), 3);
    buffer.resize(32);
    EXPECT_EQ(buffer, reply);
}

TEST_F(LightTestTest, NoReplyLeavesTheBufferAloneAfterTenAttempts) {
    driver->StrayLightDetecting();
    int polls = 0;
    unit.script().onPoll = [&] { ++polls; };
    ReportBuffer buffer(5, 0xEE);
    EXPECT_EQ(driver->getLightDetecting(buffer), 0);
    EXPECT_EQ(polls, 10);
    EXPECT_EQ(buffer, ReportBuffer(5, 0xEE));
}

TEST_F(LightTestTest, AReplyAtTheLastAttemptCounts) {
    driver->StrayLightDetecting();
    for (const int arrival : {9, 10, 11}) {
        int polls = 0;
        unit.script().onPoll = [&] {
            if (++polls == arrival)
                unit.sendReport({'s'});
        };
        ReportBuffer buffer;
        EXPECT_EQ(driver->getLightDetecting(buffer), arrival <= 10 ? 's' : 0);
    }
}

TEST_F(LightTestTest, WithoutAQueueThereIsNoReply) {
    ReportBuffer buffer;
    EXPECT_EQ(driver->getLightDetecting(buffer), 0);
    EXPECT_THAT(takeTimeline(), IsEmpty());
}

} // namespace
} // namespace lightpen
