// SPDX-License-Identifier: MIT
// The events that each post operation makes, and the connection they go through.
#include <limits>
#include <tuple>

#include "kit/device/DriverFixture.h"

namespace lightpen {
namespace {

using std::chrono::seconds;
using testing::Contains;
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

class PointerEventsTest : public DriverFixture {};

// The table

TEST_F(PointerEventsTest, EachOperationPostsItsOwnEvent) {
    happened.clear();
    driver->postLMouseDown({11.5, 22.4});
    driver->postLMouseDrag({12, 23});
    driver->postLMouseUp({13, 24});
    driver->postRMouseDown({14, 25});
    driver->postRMouseUp({15, 26});
    driver->postRMouseClick({700.75, 20.25});
    driver->postLMouseClick({700, 20});
    EXPECT_TRUE(matchesTranscript("pointer_events"));
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
    EXPECT_THAT(log.lines(), Contains("Event n:2429 Mouse Down -536870208"))
        << "the result is told, and nothing else";
}

// Locations

TEST_F(PointerEventsTest, FractionsAreCutTowardsZeroAndWhatExceedsSixteenBitsWraps) {
    happened.clear();
    for (const ScreenPoint point : {ScreenPoint{100.9, 200.9},
                                    {-0.9, -7.9},
                                    {32767.9, 32768},
                                    {65536 + 5, -32769},
                                    {4294967295.0, -65537}})
        driver->postLMouseDrag(point);
    EXPECT_EQ(happened.takeDeeds(),
              (Deeds{"drag 100 200", "drag 0 -7", "drag 32767 -32768", "drag 5 32767", "drag -1 -1"}));
}

TEST_F(PointerEventsTest, APointThatIsNotFiniteIsNeitherPostedNorLogged) {
    happened.clear();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    for (const ScreenPoint point : {ScreenPoint{nan, 5}, {5, nan}, {infinity, 5}, {5, -infinity}}) {
        driver->postLMouseDown(point);
        driver->postLMouseDrag(point);
        driver->postLMouseUp(point);
        driver->postRMouseClick(point);
    }
    EXPECT_THAT(happened.takeAll(), IsEmpty());
}

// The connection

TEST_F(PointerEventsTest, TheConnectionIsOpenedOnFirstUseAndKept) {
    EXPECT_EQ(EventGeneratorNX7::serviceConnection(), 7U);
    desk.pointer.connection = 9;
    EXPECT_EQ(EventGeneratorNX7::serviceConnection(), 7U);
}

TEST_F(PointerEventsTest, WithoutAConnectionNothingIsPostedNorLoggedAndTheNextPostTriesAgain) {
    desk.pointer.connection = 0;
    happened.clear();
    driver->postLMouseDown({11, 22});
    driver->postLMouseDrag({11, 22});
    driver->postLMouseUp({11, 22});
    driver->postRMouseClick({11, 22});
    EXPECT_THAT(happened.takeAll(), IsEmpty());
    EXPECT_EQ(EventGeneratorNX7::serviceConnection(), 0U);
    desk.pointer.connection = 7;
    driver->postLMouseUp({11, 22});
    EXPECT_EQ(happened.takeDeeds(), (Deeds{"release 11 22"}));
}

TEST_F(PointerEventsTest, WithoutTheServiceThereIsNoConnection) {
    TestPlatform bare; // nothing is published
    EXPECT_EQ(EventGeneratorNX7::serviceConnection(), 0U);
    bare.registry.publish({"IOHIDSystem", "IOService:/IOHIDSystem", {}, {}});
    EXPECT_EQ(EventGeneratorNX7::serviceConnection(), 7U);
    Platform::setCurrent(&desk.platform);
}

// Answers the question for the master port like this.
class PortRegistry final : public ServiceRegistry {
public:
    PortRegistry(TestPlatform& desk, IOReturn result, mach_port_t port)
        : ServiceRegistry(desk.runLoop, desk.clock), result_(result), port_(port) {
        publish({"IOHIDSystem", "IOService:/IOHIDSystem", {}, {}});
    }
    IOReturn IOMasterPort(mach_port_t& port) override {
        port = port_;
        return result_;
    }

private:
    const IOReturn result_;
    const mach_port_t port_;
};

TEST_F(PointerEventsTest, WithoutAMasterPortThereIsNoConnection) {
    for (const auto& [result, port, connection] :
         {std::tuple(kIOReturnError, 5U, 0U), {kIOReturnSuccess, 0U, 0U}, {kIOReturnSuccess, 5U, 7U}}) {
        PortRegistry registry(desk, result, port);
        Platform platform{registry,           desk.pointer,   desk.runLoop, desk.clock,    desk.threads,
                          desk.notifications, desk.broadcast, desk.desktop, desk.defaults, desk.systemUI,
                          desk.sounds,        desk.dataFiles, desk.shell};
        Platform::setCurrent(&platform);
        EXPECT_EQ(EventGeneratorNX7::serviceConnection(), connection);
        Platform::setCurrent(&desk.platform);
    }
}

// The long press

TEST_F(PointerEventsTest, CancellingTakesEveryRequestWithTheSameText) {
    driver->postRightMouseClickWithStringFormat("{10, 20}");
    driver->postRightMouseClickWithStringFormat("{10, 20.5}");
    driver->postRightMouseClickWithStringFormat("{10, 20}");
    driver->wrapper2("{10, 20}");
    driver->wrapper2("{0, 0}");
    run(seconds(5));
    EXPECT_EQ(happened.takeDeeds().size(), 3u) << "the other one";
}

} // namespace
} // namespace lightpen
