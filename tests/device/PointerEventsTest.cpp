// SPDX-License-Identifier: MIT
// The events that each post operation makes, and the connection they go through.
#include <limits>

#include "kit/device/DriverFixture.h"

namespace lightpen {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

// Keeps whatever a post hands over, and answers with a result.
class WholePost final : public PointerEvents {
public:
    struct Call {
        io_connect_t connection;
        RecordingPointer::Posted posted;
        std::uint32_t version, flags, options;
    };
    IOReturn IOServiceOpen(io_service_t service, std::uint32_t type, io_connect_t& opened) override {
        opens.emplace_back(service, type);
        opened = 0x1234;
        return kIOReturnSuccess;
    }
    IOReturn IOHIDPostEvent(io_connect_t connection, std::uint32_t eventType, IOGPoint location,
                            const NXMouseEventData& data, std::uint32_t version, std::uint32_t flags,
                            std::uint32_t options) override {
        calls.push_back({connection, {eventType, location, data}, version, flags, options});
        return result;
    }
    void releaseButtons() override {}

    IOReturn result = kIOReturnSuccess;
    std::vector<Call> calls;
    std::vector<std::pair<io_service_t, std::uint32_t>> opens;
};

class PointerEventsTest : public DriverFixture {
protected:
    std::vector<Posted> posted() { return desk.pointer.takePosted(); }
};

// The table

TEST_F(PointerEventsTest, EachOperationPostsItsOwnEvent) {
    driver->postLMouseDown({11, 22});
    driver->postLMouseDrag({12, 23});
    driver->postLMouseUp({13, 24});
    driver->postRMouseDown({14, 25});
    driver->postRMouseUp({15, 26});
    const auto all = posted();
    EXPECT_EQ(all, (std::vector{event(1, 11, 22, 1, 255), event(6, 12, 23, 1, 255), event(2, 13, 24, 0, 128),
                                event(3, 14, 25, 1, 128), event(4, 15, 26, 0, 128)}));
    for (const Posted& one : all) {
        EXPECT_EQ(one.data.eventNum, 1);
        EXPECT_EQ(one.data.buttonNumber, 0);
        EXPECT_EQ(one.data.subType, 0);
    }
}

TEST_F(PointerEventsTest, OnlyTheLeftButtonIsLogged) {
    driver->postLMouseDown({11.5, 22.4});
    EXPECT_THAT(log.takeLines(),
                ElementsAre("Event n:2411 currentPoint(12,22)", "Event n:2429 Mouse Down 0"));
    driver->postLMouseUp({13, 24});
    EXPECT_THAT(log.takeLines(), ElementsAre("Event n:2456 Mouse Up 0"));
    driver->postLMouseDrag({12, 23});
    driver->postRMouseClick({14, 25});
    EXPECT_THAT(log.takeLines(), IsEmpty());
}

TEST_F(PointerEventsTest, ARightClickIsDownAndUpAtOnePlace) {
    driver->postRMouseClick({700.75, 20.25});
    EXPECT_EQ(posted(), (std::vector{rightDown(700, 20), rightUp(700, 20)}));
}

TEST_F(PointerEventsTest, ALeftClickIsNothing) {
    driver->postLMouseClick({700, 20});
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(sharedState.serviceConnection, 0U);
}

TEST_F(PointerEventsTest, APostHandsOverConnectionVersionFlagsAndOptions) {
    WholePost pointer;
    Platform platform{desk.registry,      pointer,        desk.runLoop, desk.clock,    desk.threads,
                      desk.notifications, desk.broadcast, desk.desktop, desk.defaults, desk.systemUI,
                      desk.sounds,        desk.dataFiles, desk.shell};
    Platform::setCurrent(&platform);
    pointer.result = kIOReturnNoDevice;
    driver->postLMouseDown({11, 22});
    driver->postLMouseUp({11, 22});
    Platform::setCurrent(&desk.platform);
    ASSERT_EQ(pointer.calls.size(), 2U);
    for (const WholePost::Call& call : pointer.calls) {
        EXPECT_EQ(call.connection, 0x1234U);
        EXPECT_EQ(call.version, 2U);
        EXPECT_EQ(call.flags, 0U);
        EXPECT_EQ(call.options, 2U);
    }
    ASSERT_EQ(pointer.opens.size(), 1U); // once, and kept
    EXPECT_NE(pointer.opens[0].first, 0U);
    EXPECT_EQ(pointer.opens[0].second, 1U);
    EXPECT_THAT(log.lines(),
                ElementsAre("Event n:2411 currentPoint(11,22)", "Event n:2429 Mouse Down -536870208",
                            "Event n:2456 Mouse Up -536870208"));
}

// Locations

TEST_F(PointerEventsTest, FractionsAreCutTowardsZero) {
    driver->postLMouseDrag({100.9, 200.9});
    driver->postLMouseDrag({-0.9, -7.9});
    EXPECT_EQ(posted(), (std::vector{drag(100, 200), drag(0, -7)}));
}

TEST_F(PointerEventsTest, WhatExceedsSixteenBitsWraps) {
    driver->postLMouseDrag({32767.9, 32768});
    driver->postLMouseDrag({65536 + 5, -32769});
    driver->postLMouseDrag({4294967295.0, -65537});
    EXPECT_EQ(posted(), (std::vector{drag(32767, -32768), drag(5, 32767), drag(-1, -1)}));
}

TEST_F(PointerEventsTest, APointThatIsNotFiniteIsNeitherPostedNorLogged) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    for (const ScreenPoint point : {ScreenPoint{nan, 5}, {5, nan}, {infinity, 5}, {5, -infinity}}) {
        driver->postLMouseDown(point);
        driver->postLMouseDrag(point);
        driver->postLMouseUp(point);
        driver->postRMouseClick(point);
    }
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

// The connection

TEST_F(PointerEventsTest, TheConnectionIsOpenedOnFirstUseAndKept) {
    EXPECT_EQ(sharedState.serviceConnection, 0U);
    EXPECT_EQ(EventGeneratorNX7::serviceConnection(), 7U);
    desk.pointer.connection = 9;
    EXPECT_EQ(EventGeneratorNX7::serviceConnection(), 7U);
    EXPECT_EQ(sharedState.serviceConnection, 7U);
}

TEST_F(PointerEventsTest, WithoutAConnectionNothingIsPostedNorLoggedAndTheNextPostTriesAgain) {
    desk.pointer.connection = 0;
    driver->postLMouseDown({11, 22});
    driver->postLMouseDrag({11, 22});
    driver->postLMouseUp({11, 22});
    driver->postRMouseClick({11, 22});
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(EventGeneratorNX7::serviceConnection(), 0U);
    desk.pointer.connection = 7;
    driver->postLMouseUp({11, 22});
    EXPECT_EQ(posted(), (std::vector{up(11, 22)}));
}

TEST(PointerServiceTest, WithoutTheServiceThereIsNoConnection) {
    sharedState = SharedState{};
    TestPlatform desk; // nothing is published
    EXPECT_EQ(EventGeneratorNX7::serviceConnection(), 0U);
    desk.registry.publish({"IOHIDSystem", "IOService:/IOHIDSystem", {}, {}});
    EXPECT_EQ(EventGeneratorNX7::serviceConnection(), 7U);
}

// The long press

TEST_F(PointerEventsTest, TheLongPressIsScheduledForTwoSecondsLater) {
    driver->postRightMouseClickWithStringFormat("{10, 20}");
    EXPECT_THAT(log.takeLines(), ElementsAre("Event n:2546 !!!post rmouse click"));
    desk.runLoop.runFor(Microseconds{1'999'999});
    EXPECT_THAT(posted(), IsEmpty());
    desk.runLoop.runFor(Microseconds{1});
    EXPECT_EQ(posted(), (std::vector{up(10, 20), rightDown(10, 20), rightUp(10, 20)}));
}

TEST_F(PointerEventsTest, TheLongPressClearsTheAnchor) {
    driver->_AnchorPointForLongPress = ScreenPoint{10.25, 20.75};
    driver->wrapper("{10.25, 20.75}");
    EXPECT_EQ(posted(), (std::vector{up(10, 20), rightDown(10, 20), rightUp(10, 20)}));
    EXPECT_EQ(driver->_AnchorPointForLongPress.load(), ScreenPoint{});
    EXPECT_THAT(log.lines(), ElementsAre("Event n:2456 Mouse Up 0"));
}

TEST_F(PointerEventsTest, CancellingTakesEveryRequestWithTheSameText) {
    driver->postRightMouseClickWithStringFormat("{10, 20}");
    driver->postRightMouseClickWithStringFormat("{10, 20.5}");
    driver->postRightMouseClickWithStringFormat("{10, 20}");
    driver->wrapper2("{10, 20}");
    driver->wrapper2("{0, 0}");
    desk.runLoop.runFor(seconds(5));
    EXPECT_EQ(posted(), (std::vector{up(10, 20), rightDown(10, 20), rightUp(10, 20)})); // the other one
}

} // namespace
} // namespace lightpen
