// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/HidrawDevice.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <numeric>

#include "kit/Eventually.h"
#include "kit/RecordingLog.h"
#include "kit/SocketNode.h"
#include "kit/VirtualTime.h"

namespace lightpen {
namespace {

using Bytes = std::vector<std::uint8_t>;
using std::chrono::milliseconds;

constexpr IOHIDElementCookie kCookie = 3;
// A limit that a sending thread on a busy machine does not reach.
constexpr std::uint32_t kPlentyMs = 60'000;

class HidrawDeviceTest : public testing::Test {
protected:
    std::shared_ptr<HidrawDevice> makeDevice(std::size_t declaredLength = 32) {
        HidrawNode node{"/dev/hidraw7", {0, declaredLength, kCookie, 0xFF00, 1}};
        node.open = [this](const std::string&, FileDescriptor& opened) {
            ++opens_;
            if (openError_ == 0)
                opened = (again_ ? again_ : socket_)->takeHost();
            return openError_;
        };
        node.terminating = [this] { return terminating_.load(); };
        node.gone = [this] { ++gone_; };
        return std::make_shared<HidrawDevice>(std::move(node), clock_);
    }
    std::shared_ptr<HidrawDevice> openDevice(std::size_t declaredLength = 32) {
        auto device = makeDevice(declaredLength);
        EXPECT_EQ(device->open(0), kIOReturnSuccess);
        return device;
    }
    static IOHIDQueueRef startQueue(IOHIDDeviceInterface122& device, std::uint32_t depth) {
        IOHIDQueueRef queue = device.allocQueue();
        queue->create(0, depth);
        queue->addElement(kCookie, 0);
        queue->start();
        return queue;
    }
    static IOReturn sendCommand(IOHIDDeviceInterface122& device, const Bytes& bytes,
                                std::uint32_t timeoutMs) {
        return device.setReport(IOHIDReportType::output, 0, bytes, timeoutMs);
    }
    // How many reports the queue holds, and that the last of them is the unit's last word.
    static int reportsUpToLastWord(IOHIDQueueInterface& queue) {
        IOHIDEventStruct event;
        int count = 0;
        while (queue.getNextEvent(event, 0, 0) == kIOReturnSuccess)
            ++count;
        EXPECT_TRUE(count == 0 || event.longValue == Bytes(64, 0));
        return count;
    }

    RecordingLog log_;
    VirtualClock clock_;
    std::unique_ptr<SocketNode> socket_ = std::make_unique<SocketNode>();
    std::unique_ptr<SocketNode> again_; // what a second opening gets
    int opens_ = 0;
    int openError_ = 0;
    std::atomic<bool> terminating_{false};
    std::atomic<int> gone_{0};
};

TEST_F(HidrawDeviceTest, OpeningThatFailsSaysWhyAndMayBeTriedAgain) {
    const auto device = makeDevice();
    const std::vector<std::pair<int, IOReturn>> cases{{EACCES, kIOReturnNotPrivileged},
                                                      {EPERM, kIOReturnNotPrivileged},
                                                      {ENOENT, kIOReturnNoDevice},
                                                      {ENODEV, kIOReturnNoDevice},
                                                      {EMFILE, kIOReturnError}};
    for (const auto& [error, result] : cases) {
        openError_ = error;
        EXPECT_EQ(device->open(0), result) << error;
        EXPECT_EQ(sendCommand(*device, {1}, 0), kIOReturnNotOpen);
        EXPECT_EQ(device->close(), kIOReturnNotOpen);
    }
    EXPECT_EQ(log_.lines().size(), cases.size());
    EXPECT_EQ(log_.lines().front(), "HID: /dev/hidraw7 cannot be opened: Permission denied");
    openError_ = 0;
    EXPECT_EQ(device->open(0), kIOReturnSuccess);
    EXPECT_EQ(sendCommand(*device, {1}, kPlentyMs), kIOReturnSuccess);
}

TEST_F(HidrawDeviceTest, OpenAndCloseAreBalancedByTheDeviceItself) {
    const auto device = makeDevice();
    EXPECT_EQ(device->close(), kIOReturnNotOpen);
    EXPECT_EQ(device->open(0), kIOReturnSuccess);
    EXPECT_EQ(device->open(0), kIOReturnSuccess);
    EXPECT_EQ(opens_, 1);
    EXPECT_EQ(device->close(), kIOReturnSuccess);
    EXPECT_EQ(device->close(), kIOReturnNotOpen);
    EXPECT_EQ(sendCommand(*device, {1}, 0), kIOReturnNotOpen);
    EXPECT_EQ(gone_, 0) << "closing is no unplugging";
}

TEST_F(HidrawDeviceTest, AQueueOutlivesClosingAndIsFedAgainAfterwards) {
    const auto device = makeDevice();
    const auto queue = startQueue(*device, 4); // before the first opening
    IOHIDEventStruct event;
    EXPECT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnUnderrun);
    device->open(0);
    socket_->send(Bytes{0, 1});
    EXPECT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
    device->close();
    EXPECT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnUnderrun) << "no last word: the unit is there";
    again_ = std::make_unique<SocketNode>();
    EXPECT_EQ(device->open(0), kIOReturnSuccess);
    again_->send(Bytes{0, 2});
    EXPECT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
    EXPECT_EQ(event.longValue[1], 2);
}

TEST_F(HidrawDeviceTest, AQueueOutlivesTheDevice) {
    auto device = openDevice();
    const auto queue = startQueue(*device, 4);
    device.reset();
    IOHIDEventStruct event;
    EXPECT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnUnderrun);
    EXPECT_EQ(queue->start(), kIOReturnSuccess);
    EXPECT_EQ(queue->dispose(), kIOReturnSuccess);
}

// Every length against a short, an ordinary and a long declaration.
TEST_F(HidrawDeviceTest, ReportsOfEveryLengthComeAtTheDeclaredOne) {
    for (const std::size_t declared : {8U, 32U, 804U}) {
        socket_ = std::make_unique<SocketNode>();
        const auto device = openDevice(declared);
        const auto queue = startQueue(*device, 1);
        for (std::size_t length = 0; length <= 1024; ++length) {
            Bytes report(length);
            std::iota(report.begin(), report.end(), static_cast<std::uint8_t>(length + 1));
            socket_->send(report);
            IOHIDEventStruct event;
            ASSERT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess) << length;
            report.resize(declared);
            report.resize(std::max<std::size_t>(declared, 64));
            ASSERT_EQ(event.longValue, report) << length;
            ASSERT_EQ(event.longValueSize, declared);
            ASSERT_EQ(event.elementCookie, kCookie);
            ASSERT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnUnderrun);
        }
        const auto lines = log_.takeLines();
        ASSERT_EQ(lines.size(), 1U) << "cut reports are logged once";
        EXPECT_NE(lines[0].find("longer than the declared " + std::to_string(declared)), std::string::npos);
    }
}

TEST_F(HidrawDeviceTest, CalloutsComeWithoutAnybodyPolling) {
    VirtualRunLoop loop(clock_);
    const auto device = openDevice();
    const auto queue = startQueue(*device, 100);
    RunLoopSourceRef source;
    ASSERT_EQ(queue->createAsyncEventSource(source), kIOReturnSuccess);
    source->attachedTo(loop);
    Bytes seen;
    queue->setEventCallout([&](IOReturn, IOHIDQueueInterface& sender) {
        IOHIDEventStruct event;
        if (sender.getNextEvent(event, 0, 0) == kIOReturnSuccess)
            seen.push_back(event.longValue[1]);
    });
    for (std::uint8_t report = 1; report <= 6; ++report)
        socket_->send(Bytes{0, report});
    EXPECT_TRUE(eventually([&] {
        loop.runPending();
        return seen.size() == 6;
    }));
    EXPECT_EQ(seen, (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST_F(HidrawDeviceTest, OutputReportsCarryTheirIDFirst) {
    const auto device = openDevice();
    EXPECT_EQ(sendCommand(*device, {'H', 0, 7}, kPlentyMs), kIOReturnSuccess);
    EXPECT_EQ(sendCommand(*device, Bytes(804, 'C'), kIOHIDNoTimeout), kIOReturnSuccess);
    EXPECT_EQ(socket_->take(), (Bytes{0, 'H', 0, 7}));
    Bytes record(805, 'C');
    record[0] = 0;
    EXPECT_EQ(socket_->take(), record);
}

TEST_F(HidrawDeviceTest, UnpluggingEndsWithOneReportOfZerosOnEachStartedQueue) {
    const auto device = openDevice();
    const auto points = startQueue(*device, 1);
    const auto images = startQueue(*device, 100);
    const auto idle = device->allocQueue();
    socket_->send(Bytes{0, 9, 9, 9, 9});
    socket_->unplug();
    EXPECT_TRUE(eventually([&] { return gone_ != 0; }));
    EXPECT_EQ(reportsUpToLastWord(*points), 1);
    EXPECT_EQ(reportsUpToLastWord(*images), 2);
    EXPECT_EQ(reportsUpToLastWord(*idle), 0);
    EXPECT_EQ(sendCommand(*device, {1}, kIOHIDNoTimeout), kIOReturnNoDevice);
    device->vanish(); // the registry hears of it too, later
    EXPECT_EQ(reportsUpToLastWord(*points) + reportsUpToLastWord(*images), 0);
    EXPECT_EQ(gone_, 1);
    EXPECT_EQ(device->close(), kIOReturnSuccess);
    EXPECT_EQ(device->open(0), kIOReturnNoDevice);
    EXPECT_EQ(sendCommand(*device, {1}, kIOHIDNoTimeout), kIOReturnNoDevice);
}

TEST_F(HidrawDeviceTest, TheRegistryMayKnowBeforeTheNodeHangsUp) {
    const auto device = openDevice();
    const auto queue = startQueue(*device, 10);
    socket_->send(Bytes{0, 9});
    device->vanish();
    EXPECT_EQ(reportsUpToLastWord(*queue), 2);
    socket_->unplug();
    EXPECT_EQ(reportsUpToLastWord(*queue), 0);
    EXPECT_EQ(sendCommand(*device, {1}, kIOHIDNoTimeout), kIOReturnNoDevice);
    device->close();
    EXPECT_EQ(gone_, 0);
}

TEST_F(HidrawDeviceTest, AUnitThatVanishesWhileItIsClosedCannotBeOpened) {
    const auto device = makeDevice();
    const auto queue = startQueue(*device, 10);
    device->vanish();
    EXPECT_EQ(reportsUpToLastWord(*queue), 1);
    EXPECT_EQ(device->open(0), kIOReturnNoDevice);
    EXPECT_EQ(opens_, 0);
}

class BlockedDevice : public HidrawDeviceTest {
protected:
    void SetUp() override {
        fillers_ = socket_->fill();
        device_ = openDevice();
    }
    void sendWithoutLimit(std::uint8_t command) {
        endless_ = std::async(std::launch::async,
                              [=, this] { return sendCommand(*device_, {command}, kIOHIDNoTimeout); });
        EXPECT_EQ(endless_.wait_for(milliseconds(50)), std::future_status::timeout);
    }
    // Lets the write return, so that its thread is over before the test program is.
    void TearDown() override {
        for (std::size_t filler = 0; filler < fillers_; ++filler)
            socket_->take();
    }
    std::size_t fillers_ = 0;
    std::shared_ptr<HidrawDevice> device_;
    std::future<IOReturn> endless_;
};

TEST_F(BlockedDevice, ATimeOutHoldsAndInputGoesOnMeanwhile) {
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(sendCommand(*device_, {'B'}, 100), kIOReturnTimeout);
    EXPECT_GE(std::chrono::steady_clock::now() - before, milliseconds(100));
    sendWithoutLimit('C');
    const auto queue = startQueue(*device_, 1);
    socket_->send(Bytes{0, 77});
    IOHIDEventStruct event;
    EXPECT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
    EXPECT_EQ(event.longValue[1], 77);
    EXPECT_EQ(device_->close(), kIOReturnSuccess);
    EXPECT_EQ(endless_.get(), kIOReturnNotOpen);
    device_.reset(); // which does not wait for the write either
}

TEST_F(BlockedDevice, TheUnitsEndEndsAWaitWithoutLimit) {
    sendWithoutLimit('C');
    device_->vanish();
    EXPECT_EQ(endless_.get(), kIOReturnNoDevice);
}

TEST_F(BlockedDevice, TheProgramsEndEndsAWaitWithoutLimit) {
    sendWithoutLimit('C');
    terminating_ = true;
    EXPECT_EQ(endless_.get(), kIOReturnTimeout);
}

TEST(OpenHidrawNode, YieldsTheErrorOrTheNode) {
    FileDescriptor node;
    EXPECT_EQ(openHidrawNode("/nowhere/hidraw0", node), ENOENT);
    EXPECT_FALSE(node);
    EXPECT_EQ(openHidrawNode("/dev/null", node), 0);
    EXPECT_TRUE(node);
    EXPECT_EQ(openHidrawNode("/", node), EISDIR);
    EXPECT_TRUE(node) << "a failure leaves it alone";
}

} // namespace
} // namespace lightpen
