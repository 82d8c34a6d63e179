// SPDX-License-Identifier: MIT
#include "linux_desktop/pointer/LinuxPointer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/RecordingLog.h"

namespace lightpen {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class CountingBackend final : public PointerBackend {
public:
    CountingBackend(const SharedGeometry& geometry, std::vector<std::string>& calls, std::string name)
        : PointerBackend(geometry), calls_(calls), name_(std::move(name)) {}

private:
    IOReturn send(std::optional<Place> place, Button button, bool press) override {
        calls_.push_back(name_ + (place ? " move" : "") +
                         (button == Button::none ? ""
                          : press                ? " press"
                                                 : " release"));
        return kIOReturnSuccess;
    }
    std::vector<std::string>& calls_;
    const std::string name_;
};

class LinuxPointerTest : public testing::Test {
protected:
    LinuxPointer::Opener works(const std::string& name) {
        return [this, name](std::string&) {
            opened.push_back(name);
            return std::make_unique<CountingBackend>(geometry, calls, name);
        };
    }
    LinuxPointer::Opener fails(const std::string& name, const std::string& why) {
        return [this, name, why](std::string& problem) {
            opened.push_back(name);
            problem = why;
            return nullptr;
        };
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
};

TEST_F(LinuxPointerTest, PrefersUinputAndOpensItWhenItIsMade) {
    LinuxPointer pointer(PointerChoice::automatic, {works("uinput"), works("xtest")});
    EXPECT_THAT(opened, ElementsAre("uinput"));
    EXPECT_THAT(log.takeLines(), ElementsAre("Pointer: events go through uinput"));
    const io_connect_t connection = open(pointer);
    EXPECT_NE(connection, 0u);
    EXPECT_EQ(post(pointer, connection, kLeftMouseDown), kIOReturnSuccess);
    EXPECT_THAT(calls, ElementsAre("uinput move press"));
}

TEST_F(LinuxPointerTest, FallsBackToXTestAndSaysWhy) {
    LinuxPointer pointer(PointerChoice::automatic, {fails("uinput", "no permission"), works("xtest")});
    EXPECT_THAT(opened, ElementsAre("uinput", "xtest"));
    EXPECT_THAT(log.takeLines(), ElementsAre("Pointer: events go through XTest (no permission)"));
    EXPECT_EQ(post(pointer, open(pointer), kLeftMouseDragged), kIOReturnSuccess);
    EXPECT_THAT(calls, ElementsAre("xtest move"));
}

TEST_F(LinuxPointerTest, OpensOnlyWhatWasAskedForByName) {
    LinuxPointer xtest(PointerChoice::xtest, {works("uinput"), works("xtest")});
    EXPECT_THAT(opened, ElementsAre("xtest"));
    opened.clear();
    LinuxPointer uinput(PointerChoice::uinput, {fails("uinput", "no"), works("xtest")});
    EXPECT_THAT(opened, ElementsAre("uinput"));
    EXPECT_EQ(open(uinput), 0u);
}

TEST_F(LinuxPointerTest, WithoutAnyWaySaysOnceWhatToInstall) {
    LinuxPointer pointer(PointerChoice::automatic,
                         {fails("uinput", "/dev/uinput: Permission denied"), fails("xtest", "no X display")});
    EXPECT_THAT(log.takeLines(), IsEmpty());
    io_connect_t connection = 99;
    EXPECT_NE(pointer.IOServiceOpen(5, kIOHIDParamConnectType, connection), kIOReturnSuccess);
    EXPECT_EQ(connection, 0u);
    EXPECT_EQ(open(pointer), 0u);
    EXPECT_THAT(log.takeLines(),
                ElementsAre(AllOf(HasSubstr("70-lightpen-nx7.rules"),
                                  HasSubstr("\"udevadm control --reload\""), HasSubstr("\"modprobe uinput\""),
                                  HasSubstr("\"udevadm trigger --subsystem-match=misc\""),
                                  HasSubstr("/dev/uinput: Permission denied; no X display"))));
    EXPECT_EQ(post(pointer, connection, kLeftMouseDown), kIOReturnBadArgument);
    pointer.releaseButtons();
}

TEST_F(LinuxPointerTest, KnowsItsConnections) {
    LinuxPointer pointer(PointerChoice::automatic, {works("uinput"), works("xtest")});
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
    LinuxPointer pointer(PointerChoice::automatic, {works("uinput"), works("xtest")});
    io_connect_t connection = 99;
    EXPECT_EQ(pointer.IOServiceOpen(0, kIOHIDParamConnectType, connection), kIOReturnBadArgument);
    EXPECT_EQ(connection, 0u);
    EXPECT_EQ(pointer.IOServiceOpen(5, 0, connection), kIOReturnBadArgument);
}

TEST_F(LinuxPointerTest, ReleasesWhatIsDown) {
    LinuxPointer pointer(PointerChoice::automatic, {works("uinput"), works("xtest")});
    post(pointer, open(pointer), kLeftMouseDown);
    calls.clear();
    pointer.releaseButtons();
    EXPECT_THAT(calls, ElementsAre("uinput release"));
}

TEST(PointerChoice, HasNames) {
    EXPECT_EQ(pointerChoiceNamed("uinput"), PointerChoice::uinput);
    EXPECT_EQ(pointerChoiceNamed("xtest"), PointerChoice::xtest);
    EXPECT_EQ(pointerChoiceNamed(""), PointerChoice::automatic);
    EXPECT_EQ(pointerChoiceNamed("XTest"), PointerChoice::automatic);
}

TEST(PointerWays, OffersXTestToAWaylandSessionOnlyOnRequest) {
    setenv("WAYLAND_DISPLAY", "wayland-0", 1);
    setenv("DISPLAY", ":4711", 1);
    SharedGeometry geometry;
    std::string problem;
    EXPECT_FALSE(pointerWays(PointerChoice::automatic, geometry).xtest(problem));
    EXPECT_EQ(problem, "the session is not X11");
    EXPECT_FALSE(pointerWays(PointerChoice::xtest, geometry).xtest(problem));
    EXPECT_EQ(problem, "no X display :4711"); // it was tried
    unsetenv("WAYLAND_DISPLAY");
    setenv("XDG_SESSION_TYPE", "wayland", 1);
    EXPECT_FALSE(pointerWays(PointerChoice::automatic, geometry).xtest(problem));
    EXPECT_EQ(problem, "the session is not X11");
    setenv("XDG_SESSION_TYPE", "x11", 1);
    EXPECT_FALSE(pointerWays(PointerChoice::automatic, geometry).xtest(problem));
    EXPECT_EQ(problem, "no X display :4711");
}

} // namespace
} // namespace lightpen
