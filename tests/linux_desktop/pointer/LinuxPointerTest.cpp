// SPDX-License-Identifier: MIT
#include "linux_desktop/pointer/LinuxPointer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/RecordingLog.h"
#include "kit/linux/PointerOver.h"

namespace lightpen {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class RecordingDevice final : public PointerDevice {
public:
    RecordingDevice(std::vector<std::string>& sent, const IOReturn& result, std::string name)
        : sent_(sent), result_(result), name_(std::move(name)) {}

    IOReturn send(std::optional<Place> place, Button button, bool press) override {
        std::string text =
            name_ +
            (place ? " " + std::to_string(place->pixel.x) + "," + std::to_string(place->pixel.y) : " here");
        if (button != Button::none)
            text +=
                std::string(press ? " press" : " release") + (button == Button::left ? " left" : " right");
        sent_.push_back(text);
        return result_;
    }

private:
    std::vector<std::string>& sent_;
    const IOReturn& result_;
    const std::string name_;
};

class LinuxPointerTest : public testing::Test {
protected:
    PointerWay works(const char* name) {
        return {name, [this, name](std::string&) {
                    opened.emplace_back(name);
                    return std::make_unique<RecordingDevice>(calls, result, name);
                }};
    }
    PointerWay fails(const char* name, const std::string& why) {
        return {name, [this, name, why](std::string& problem) {
                    opened.emplace_back(name);
                    problem = why;
                    return nullptr;
                }};
    }
    PointerWay worksOnceAllowed(const char* name) {
        return {name, [this, open = works(name).open](std::string& problem) {
                    problem = "not yet";
                    return allowed ? open(problem) : nullptr;
                }};
    }
    static io_connect_t open(LinuxPointer& pointer) {
        io_connect_t connection = 99;
        pointer.IOServiceOpen(5, kIOHIDParamConnectType, connection);
        return connection;
    }
    static IOReturn post(LinuxPointer& pointer, io_connect_t connection, std::uint32_t type) {
        return pointer.IOHIDPostEvent(connection, type, {3, 4}, {}, kNXEventDataVersion, 0,
                                      kIOHIDSetCursorPosition);
    }

    RecordingLog log;
    SharedGeometry geometry{PointerGeometry({0, 0}, 1, {0, 0, 100, 80})};
    std::vector<std::string> opened;
    std::vector<std::string> calls;
    IOReturn result = kIOReturnSuccess;
    bool allowed = false;
};

TEST_F(LinuxPointerTest, PrefersUinputAndOpensItWhenItIsMade) {
    LinuxPointer pointer({works("uinput"), works("XTest")}, geometry);
    EXPECT_THAT(opened, ElementsAre("uinput"));
    EXPECT_THAT(log.takeLines(), ElementsAre("Pointer: events go through uinput"));
    const io_connect_t connection = open(pointer);
    EXPECT_NE(connection, 0u);
    EXPECT_EQ(post(pointer, connection, kLeftMouseDown), kIOReturnSuccess);
    EXPECT_THAT(calls, ElementsAre("uinput 3,4 press left"));
}

TEST_F(LinuxPointerTest, FallsBackToXTestAndSaysWhy) {
    LinuxPointer pointer({fails("uinput", "no permission"), works("XTest")}, geometry);
    EXPECT_THAT(opened, ElementsAre("uinput", "XTest"));
    EXPECT_THAT(log.takeLines(), ElementsAre("Pointer: events go through XTest (no permission)"));
    EXPECT_EQ(pointer.wayInUse(), "XTest");
    EXPECT_EQ(post(pointer, open(pointer), kLeftMouseDragged), kIOReturnSuccess);
    EXPECT_THAT(calls, ElementsAre("XTest 3,4"));
}

TEST_F(LinuxPointerTest, WithoutAnyWaySaysOnceWhatToInstall) {
    LinuxPointer pointer({fails("uinput", "/dev/uinput: Permission denied"), fails("XTest", "no X display")},
                         geometry);
    EXPECT_THAT(log.takeLines(), IsEmpty());
    io_connect_t connection = 99;
    EXPECT_NE(pointer.IOServiceOpen(5, kIOHIDParamConnectType, connection), kIOReturnSuccess);
    EXPECT_EQ(connection, 0u);
    EXPECT_EQ(open(pointer), 0u);
    EXPECT_THAT(log.takeLines(),
                ElementsAre(AllOf(HasSubstr("70-lightpen-nx7-uinput.rules"),
                                  HasSubstr("\"udevadm control --reload\""), HasSubstr("\"modprobe uinput\""),
                                  HasSubstr("\"udevadm trigger --subsystem-match=misc\""),
                                  HasSubstr("/dev/uinput: Permission denied; no X display"))));
    EXPECT_EQ(post(pointer, connection, kLeftMouseDown), kIOReturnBadArgument);
    pointer.releaseButtons();
}

TEST_F(LinuxPointerTest, AWayThatOpensLaterIsTaken) {
    LinuxPointer pointer({worksOnceAllowed("uinput"), fails("XTest", "no X display")}, geometry);
    EXPECT_FALSE(pointer.hasWay());
    EXPECT_EQ(pointer.wayInUse(), "");
    EXPECT_EQ(open(pointer), 0U);
    EXPECT_THAT(log.takeLines(), ElementsAre(HasSubstr("(not yet; no X display)")));
    EXPECT_FALSE(pointer.findWay());
    EXPECT_EQ(open(pointer), 0U);
    EXPECT_THAT(log.takeLines(), IsEmpty()) << "once is enough";
    allowed = true;
    EXPECT_TRUE(pointer.findWay());
    EXPECT_TRUE(pointer.findWay());
    EXPECT_THAT(opened, ElementsAre("XTest", "XTest", "uinput"));
    EXPECT_THAT(log.takeLines(), ElementsAre("Pointer: events go through uinput"));
}

TEST_F(LinuxPointerTest, AStrokeThatBeganWithoutAWayOnlyMoves) {
    LinuxPointer pointer({worksOnceAllowed("uinput")}, geometry);
    allowed = true;
    pointer.findWay();
    const io_connect_t connection = open(pointer);
    for (const std::uint32_t type : {kLeftMouseDragged, kLeftMouseUp, kLeftMouseDown})
        EXPECT_EQ(post(pointer, connection, type), kIOReturnSuccess);
    EXPECT_THAT(calls, ElementsAre("uinput 3,4", "uinput 3,4 press left"));
}

TEST_F(LinuxPointerTest, KnowsItsConnections) {
    LinuxPointer pointer({works("uinput"), works("XTest")}, geometry);
    EXPECT_EQ(post(pointer, 1, kLeftMouseDown), kIOReturnBadArgument);
    const io_connect_t first = open(pointer);
    const io_connect_t second = open(pointer);
    EXPECT_NE(first, second);
    EXPECT_EQ(post(pointer, 0, kLeftMouseDown), kIOReturnBadArgument);
    EXPECT_EQ(post(pointer, second + 1, kLeftMouseDown), kIOReturnBadArgument);
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_EQ(post(pointer, first, kLeftMouseDown), kIOReturnSuccess);
    EXPECT_EQ(post(pointer, second, kLeftMouseUp), kIOReturnSuccess);
}

TEST_F(LinuxPointerTest, OpensOnlyAServiceAndOnlyForParameters) {
    LinuxPointer pointer({works("uinput"), works("XTest")}, geometry);
    io_connect_t connection = 99;
    EXPECT_EQ(pointer.IOServiceOpen(0, kIOHIDParamConnectType, connection), kIOReturnBadArgument);
    EXPECT_EQ(connection, 0u);
    EXPECT_EQ(pointer.IOServiceOpen(5, 0, connection), kIOReturnBadArgument);
}

// What becomes of each event

class PostedEventsTest : public LinuxPointerTest {
protected:
    std::vector<std::string> take() { return std::exchange(calls, {}); }

    SharedGeometry desktop{PointerGeometry({100, 50}, 1, {0, 0, 1000, 700})};
    PointerOver pointer{std::make_unique<RecordingDevice>(calls, result, "to"), desktop};
};

TEST_F(PostedEventsTest, AreAMoveAndAButton) {
    pointer.post(kLeftMouseDown, {1, 2});
    pointer.post(kLeftMouseDragged, {3, 4});
    pointer.post(kLeftMouseUp, {5, 6});
    pointer.post(kRightMouseDown, {7, 8});
    pointer.post(kRightMouseUp, {9, 10});
    EXPECT_THAT(take(), ElementsAre("to 101,52 press left", "to 103,54", "to 105,56 release left",
                                    "to 107,58 press right", "to 109,60 release right"));
}

TEST_F(PostedEventsTest, OfUnknownTypesOrThatReleaseAButtonThatIsNotDownAreDroppedWithTheirMoves) {
    for (const std::uint32_t type : {0U, 5U, 7U, 0xFFFFFFFFU, kLeftMouseUp, kRightMouseUp})
        EXPECT_EQ(pointer.post(type, {1, 2}), kIOReturnSuccess);
    pointer.post(kLeftMouseDragged, {1, 2});
    EXPECT_THAT(take(), ElementsAre("to 101,52")) << "a drag without the button presses nothing";
    pointer.post(kLeftMouseUp, {1, 2});
    pointer.post(kLeftMouseDown, {3, 4});
    pointer.post(kRightMouseUp, {5, 6});
    pointer.post(kLeftMouseUp, {7, 8});
    pointer.post(kLeftMouseUp, {9, 10});
    EXPECT_THAT(take(), ElementsAre("to 103,54 press left", "to 107,58 release left"));
}

TEST_F(PostedEventsTest, FollowTheGeometry) {
    pointer.post(kLeftMouseDragged, {10, 20});
    desktop.store(PointerGeometry({0, 0}, 2, {0, 0, 1000, 700}));
    pointer.post(kLeftMouseDragged, {10, 20});
    EXPECT_THAT(take(), ElementsAre("to 110,70", "to 20,40"));
}

TEST_F(PostedEventsTest, LeaveNothingDownOnceItIsReleased) {
    pointer.post(kLeftMouseDown, {1, 2});
    pointer.post(kRightMouseDown, {1, 2});
    take();
    pointer.releaseButtons();
    EXPECT_THAT(take(), ElementsAre("to here release left", "to here release right"));
    pointer.releaseButtons();
    EXPECT_THAT(take(), IsEmpty());
}

TEST_F(PostedEventsTest, WithoutADesktopOnlyLetGo) {
    pointer.post(kLeftMouseDown, {1, 2});
    take();
    desktop.store(PointerGeometry());
    EXPECT_EQ(pointer.post(kLeftMouseDragged, {3, 4}), kIOReturnNoDevice);
    EXPECT_EQ(pointer.post(kLeftMouseUp, {3, 4}), kIOReturnSuccess);
    EXPECT_THAT(take(), ElementsAre("to here release left"));
}

TEST_F(PostedEventsTest, FailAsTheDeviceDoes) {
    result = kIOReturnNoDevice;
    EXPECT_EQ(pointer.post(kLeftMouseDown, {1, 2}), kIOReturnNoDevice);
}

TEST_F(PostedEventsTest, OweAReleaseThatDidNotGetThrough) {
    pointer.post(kRightMouseDown, {1, 2});
    take();
    result = kIOReturnError;
    EXPECT_EQ(pointer.post(kRightMouseUp, {3, 4}), kIOReturnError);
    result = kIOReturnSuccess;
    pointer.releaseButtons();
    EXPECT_THAT(take(), ElementsAre("to 103,54 release right", "to here release right"));
}

TEST(PointerChoice, HasNames) {
    EXPECT_EQ(pointerChoiceNamed("uinput"), PointerChoice::uinput);
    EXPECT_EQ(pointerChoiceNamed("xtest"), PointerChoice::xtest);
    EXPECT_EQ(pointerChoiceNamed(""), PointerChoice::automatic);
    EXPECT_EQ(pointerChoiceNamed("XTest"), PointerChoice::automatic);
}

TEST(PointerWays, AreOnlyWhatWasAskedForByName) {
    const auto names = [](PointerChoice choice) {
        std::vector<std::string> result;
        for (const PointerWay& way : pointerWays(choice))
            result.emplace_back(way.name);
        return result;
    };
    EXPECT_THAT(names(PointerChoice::automatic), ElementsAre("uinput", "XTest"));
    EXPECT_THAT(names(PointerChoice::uinput), ElementsAre("uinput"));
    EXPECT_THAT(names(PointerChoice::xtest), ElementsAre("XTest"));
}

TEST(PointerWays, OffersXTestToAWaylandSessionOnlyOnRequest) {
    const auto problem = [](PointerChoice choice) {
        std::string why;
        EXPECT_FALSE(pointerWays(choice).back().open(why));
        return why;
    };
    setenv("WAYLAND_DISPLAY", "wayland-0", 1);
    setenv("DISPLAY", ":4711", 1);
    EXPECT_EQ(problem(PointerChoice::automatic), "the session is not X11");
    EXPECT_EQ(problem(PointerChoice::xtest), "no X display :4711"); // it was tried
    unsetenv("WAYLAND_DISPLAY");
    setenv("XDG_SESSION_TYPE", "wayland", 1);
    EXPECT_EQ(problem(PointerChoice::automatic), "the session is not X11");
    setenv("XDG_SESSION_TYPE", "x11", 1);
    EXPECT_EQ(problem(PointerChoice::automatic), "no X display :4711");
}

} // namespace
} // namespace lightpen
