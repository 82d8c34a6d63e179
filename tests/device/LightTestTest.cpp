// SPDX-License-Identifier: MIT
// The light test: its command, its fifty looks, and what counts.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using testing::SizeIs;

class LightTestTest : public UnitFixture {
protected:
    LightTestTest() { openInterface(); }
    // The unit sends this at each of the driver's looks.
    void sendAtEachLook(const ReportBytes& report) {
        atPauses([this, report](int, Microseconds) { unit.sendReport(report); });
    }
};

TEST_F(LightTestTest, TheCommandAndTheLooks) {
    EXPECT_EQ(driver->StrayLightDetecting(), 0);
    unitAnswers.sightings = 2;
    EXPECT_EQ(driver->StrayLightDetecting(), 2);
    EXPECT_TRUE(matchesTranscript("light_test")) << "the queue is left running and used again";
    EXPECT_EQ(unit.heldQueues(), 1);
}

TEST_F(LightTestTest, FiftySightingsAreFifty) {
    sendAtEachLook({'s', 0x0A, 0xFF});
    EXPECT_EQ(driver->StrayLightDetecting(), 50);
}

TEST_F(LightTestTest, OtherRepliesDoNotCount) {
    for (const std::uint8_t letter : ReportBytes{0, 1, 0x4B, 0x53, 0x72, 0x74, 0xF3, 0xFF}) {
        sendAtEachLook({letter, 's', 's'});
        EXPECT_EQ(driver->StrayLightDetecting(), 0) << int{letter};
    }
}

TEST_F(LightTestTest, SightingsAndOtherReportsAreToldApart) {
    atPauses([this](int look, Microseconds) {
        if (look % 3 == 0)
            unit.sendReport({'s'});
        else if (look % 3 == 1)
            unit.sendReport(penReport(1001, 601));
    });
    EXPECT_EQ(driver->StrayLightDetecting(), 16);
}

// The rest waits for the next look, and what is left for nobody.
TEST_F(LightTestTest, OneReplyIsTakenAtEachLook) {
    unitAnswers.sightings = 60;
    EXPECT_EQ(driver->StrayLightDetecting(), 50);
    ReportBuffer left;
    for (int reply = 0; reply < 10; ++reply)
        EXPECT_EQ(driver->getLightDetecting(left), 's');
    EXPECT_EQ(driver->getLightDetecting(left), 0);
}

TEST_F(LightTestTest, FailuresAreLoggedAndTheLooksAreTaken) {
    unit.script().answer("device.setReport", kIOReturnTimeout);
    sendAtEachLook({'s'});
    EXPECT_EQ(driver->StrayLightDetecting(), 50);
    EXPECT_EQ(desk.clock.takeSleeps(), std::vector<Microseconds>(50, milliseconds(1)));
    EXPECT_TRUE(matchesTranscript("light_test_not_sent"));
    desk.clock.onSleep = nullptr;
    unit.script().answer("queue.getNextEvent", kIOReturnNotOpen);
    log.clear();
    EXPECT_EQ(driver->StrayLightDetecting(), 0);
    EXPECT_THAT(log.lines(), SizeIs(1 + 500)) << "queue errors ten times a look";
}

TEST_F(LightTestTest, WithoutAnInterfaceThereIsNoLight) {
    driver->releaseHIDInterface();
    EXPECT_EQ(driver->StrayLightDetecting(), 0);
    EXPECT_EQ(desk.clock.takeSleeps(), std::vector<Microseconds>(50, milliseconds(1)));
    ReportBuffer buffer;
    EXPECT_EQ(driver->getLightDetecting(buffer), 0) << "there is no queue";
}

// Its last word is a report of zeros.
TEST_F(LightTestTest, AUnitThatLeavesInTheMiddleIsNoLight) {
    atPauses([this](int look, Microseconds) {
        if (look == 20)
            unit.unplug();
        unit.sendReport({'s'});
    });
    EXPECT_EQ(driver->StrayLightDetecting(), 19);
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

TEST_F(LightTestTest, AReplyAtTheTenthAttemptCountsAndNoneLeavesTheBufferAlone) {
    driver->StrayLightDetecting();
    for (const int arrival : {9, 10, 11}) {
        int polls = 0;
        unit.script().onPoll = [&] {
            if (++polls == arrival)
                unit.sendReport({'s'});
        };
        ReportBuffer buffer(5, 0xEE);
        EXPECT_EQ(driver->getLightDetecting(buffer), arrival <= 10 ? 's' : 0);
        EXPECT_EQ(polls, std::min(arrival, 10));
        EXPECT_EQ(buffer == ReportBuffer(5, 0xEE), arrival > 10);
    }
}

} // namespace
} // namespace lightpen
