// SPDX-License-Identifier: MIT
#include "linux_desktop/pointer/UinputPointer.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libevdev/libevdev.h>
#include <linux/input.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <thread>
#include <tuple>
#include <vector>

#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"
#include "kit/linux/PointerOver.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Record = std::tuple<int, int, int>; // type, code, value

const Record kReport{EV_SYN, SYN_REPORT, 0};

// A desktop of 65536 pixels across would be the axis itself; this one is 16 times smaller.
constexpr PixelRect kDesktop{0, 0, 4096, 2048};
constexpr int middle(int pixel, int length) {
    return static_cast<int>((pixel + 0.5) * PointerGeometry::kAxisMaximum / length + 0.5);
}
Record x(int pixel) {
    return {EV_ABS, ABS_X, middle(pixel, kDesktop.width)};
}
Record y(int pixel) {
    return {EV_ABS, ABS_Y, middle(pixel, kDesktop.height)};
}
Record button(int code, int value) {
    return {EV_KEY, code, value};
}

TEST(UinputPointerNode, HasNoProblemWhenItCanBeOpened) {
    const TemporaryDirectory folder;
    EXPECT_EQ(UinputPointer::problemOf(folder.file("missing").c_str()),
              folder.file("missing") + ": No such file or directory");
    writeFile(folder.file("node"), "");
    EXPECT_EQ(UinputPointer::problemOf(folder.file("node").c_str()), "");
    EXPECT_EQ(readFile(folder.file("node")), "") << "nothing is asked of it";
}

class UinputPointerTest : public testing::Test {
protected:
    UinputPointerTest() {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends), 0);
        kernel = FileDescriptor(ends[0]);
        pointer =
            std::make_unique<PointerOver>(std::make_unique<UinputPointer>(FileDescriptor(ends[1])), geometry);
    }

    // The records of the next write; none when there was none.
    std::vector<Record> nextWrite() {
        std::array<input_event, 16> records;
        const auto count = read(kernel.get(), records.data(), sizeof records);
        std::vector<Record> result;
        for (std::size_t i = 0; count > 0 && i < static_cast<std::size_t>(count) / sizeof(input_event); ++i)
            result.emplace_back(records[i].type, records[i].code, records[i].value);
        return result;
    }
    // Events are written until nothing more fits.
    void fillTheDevice() {
        for (int i = 0; i < 100'000 && pointer->post(kLeftMouseDragged, {1, 1}) == kIOReturnSuccess; ++i) {
        }
    }

    SharedGeometry geometry{PointerGeometry({0, 0}, 1, kDesktop)};
    FileDescriptor kernel;
    std::unique_ptr<PointerOver> pointer;
};

TEST_F(UinputPointerTest, EachEventIsAMoveAndItsButtonInOneFrame) {
    EXPECT_EQ(pointer->post(kLeftMouseDown, {500, 400}), kIOReturnSuccess);
    EXPECT_THAT(nextWrite(), ElementsAre(x(500), y(400), button(BTN_LEFT, 1), kReport));
    EXPECT_THAT(nextWrite(), IsEmpty());
    pointer->post(kLeftMouseDragged, {501, 403});
    EXPECT_THAT(nextWrite(), ElementsAre(x(501), y(403), kReport));
    pointer->post(kLeftMouseUp, {3, 4});
    EXPECT_THAT(nextWrite(), ElementsAre(x(3), y(4), button(BTN_LEFT, 0), kReport));
    pointer->post(kLeftMouseUp, {3, 4});
    EXPECT_THAT(nextWrite(), IsEmpty()) << "nothing is down";
    pointer->post(kRightMouseDown, {7, 9});
    pointer->post(kRightMouseUp, {7, 9});
    EXPECT_THAT(nextWrite(), ElementsAre(x(7), y(9), button(BTN_RIGHT, 1), kReport));
    EXPECT_THAT(nextWrite(), ElementsAre(x(7), y(9), button(BTN_RIGHT, 0), kReport));
}

TEST_F(UinputPointerTest, ReleasesWithoutAMoveAtItsEnd) {
    pointer->post(kLeftMouseDown, {1, 2});
    pointer->post(kRightMouseDown, {1, 2});
    nextWrite();
    nextWrite();
    pointer.reset();
    EXPECT_THAT(nextWrite(), ElementsAre(button(BTN_LEFT, 0), kReport));
    EXPECT_THAT(nextWrite(), ElementsAre(button(BTN_RIGHT, 0), kReport));
}

TEST_F(UinputPointerTest, ABusyDeviceCostsTheEventAndOneLine) {
    RecordingLog log;
    fillTheDevice();
    EXPECT_EQ(pointer->post(kLeftMouseDragged, {2, 2}), kIOReturnError);
    EXPECT_THAT(log.lines(), SizeIs(1));
    EXPECT_EQ(log.lines()[0],
              "Pointer: the virtual device takes no events: Resource temporarily unavailable");
    while (!nextWrite().empty()) {
    }
    EXPECT_EQ(pointer->post(kLeftMouseDragged, {3, 3}), kIOReturnSuccess);
}

TEST_F(UinputPointerTest, ADeviceThatIsBusyForAMomentLosesNothing) {
    RecordingLog log;
    fillTheDevice();
    // The wait is short, so on a busy machine the room may come too late for it once or twice.
    IOReturn result = kIOReturnError;
    for (int attempt = 0; attempt < 20 && result != kIOReturnSuccess; ++attempt) {
        std::thread reader([this] {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            nextWrite();
        });
        result = pointer->post(kLeftMouseDragged, {2, 2});
        reader.join();
        if (result != kIOReturnSuccess)
            fillTheDevice();
    }
    EXPECT_EQ(result, kIOReturnSuccess);
}

TEST_F(UinputPointerTest, ADeviceThatHasGoneIsSaidOnce) {
    RecordingLog log;
    signal(SIGPIPE, SIG_IGN); // what the kernel answers with ENODEV, a socket answers with a signal
    kernel = FileDescriptor();
    EXPECT_NE(pointer->post(kLeftMouseDown, {1, 1}), kIOReturnSuccess);
    EXPECT_NE(pointer->post(kLeftMouseDragged, {1, 1}), kIOReturnSuccess);
    EXPECT_THAT(log.lines(), SizeIs(1));
}

TEST(UinputDescription, IsAMouseWithTwoAbsoluteAxesAndNothingElse) {
    const auto device = describeUinputPointer();
    ASSERT_TRUE(device);
    EXPECT_STREQ(libevdev_get_name(device.get()), "LightPenNX7 pointer");
    std::vector<std::pair<unsigned, unsigned>> enabled;
    for (unsigned type = EV_SYN + 1; type < EV_CNT; ++type)
        for (unsigned code = 0; code < KEY_CNT; ++code)
            if (libevdev_has_event_code(device.get(), type, code))
                enabled.emplace_back(type, code);
    EXPECT_THAT(enabled, ElementsAre(std::pair(EV_KEY, BTN_LEFT), std::pair(EV_KEY, BTN_RIGHT),
                                     std::pair(EV_KEY, BTN_MIDDLE), std::pair(EV_ABS, ABS_X),
                                     std::pair(EV_ABS, ABS_Y)));
    for (const unsigned axis : {ABS_X, ABS_Y}) {
        EXPECT_EQ(libevdev_get_abs_minimum(device.get(), axis), 0);
        EXPECT_EQ(libevdev_get_abs_maximum(device.get(), axis), PointerGeometry::kAxisMaximum);
    }
    // A direct device would be a touch screen, whose presses desktops treat otherwise.
    for (unsigned property = 0; property < INPUT_PROP_CNT; ++property)
        EXPECT_FALSE(libevdev_has_property(device.get(), property)) << property;
}

TEST(UinputDevice, SaysWhyItCannotBeMade) {
    const TemporaryDirectory directory;
    std::string problem;
    EXPECT_FALSE(UinputPointer::create(directory.file("uinput").c_str(), problem));
    EXPECT_EQ(problem, directory.file("uinput") + ": No such file or directory");

    writeFile(directory.file("plain"), "");
    EXPECT_FALSE(UinputPointer::create(directory.file("plain").c_str(), problem));
    EXPECT_EQ(problem, directory.file("plain") + ": no device can be made: Inappropriate ioctl for device");
}

} // namespace
} // namespace lightpen
