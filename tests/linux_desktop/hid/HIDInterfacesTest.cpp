// SPDX-License-Identifier: MIT
// The interface on a node of the kernel and the one of the unit in software are one to the driver.
#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "kit/RecordingLog.h"
#include "kit/SocketNode.h"
#include "kit/VirtualTime.h"
#include "linux_desktop/hid/HidrawDevice.h"
#include "unit/CameraUnit.h"
#include "unit/bus/EmulatedInterface.h"

namespace lightpen {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kDeclared = 40;
constexpr IOHIDElementCookie kCookie = 0x13;

// A unit at the other end of an interface.
class OnNode {
public:
    OnNode() {
        HidrawNode node{"/dev/hidraw7", {0, kDeclared, kCookie, 0xFF00, 1}};
        node.open = [this](const std::string&, FileDescriptor& opened) {
            opened = socket_.takeHost();
            return 0;
        };
        device_ = std::make_shared<HidrawDevice>(std::move(node), clock_);
    }
    IOHIDDeviceInterface122& device() { return *device_; }
    void send(const Bytes& report) { socket_.send(report); }
    // What it has taken by now, without the node's own first byte.
    std::vector<Bytes> taken() {
        std::vector<Bytes> all;
        while (socket_.hasOutput()) {
            const auto report = socket_.take();
            all.emplace_back(report->begin() + 1, report->end());
        }
        return all;
    }
    void leave() { device_->vanish(); }

private:
    VirtualClock clock_;
    SocketNode socket_;
    std::shared_ptr<HidrawDevice> device_;
};

class InSoftware {
public:
    InSoftware() {
        unit_->plug();
        unit_->onOutput([this](Microseconds, std::span<const std::uint8_t> report) {
            taken_.emplace_back(report.begin(), report.end());
        });
    }
    IOHIDDeviceInterface122& device() { return device_; }
    void send(const Bytes& report) { connection_->deliver({.time = clock_.now(), .bytes = report}); }
    std::vector<Bytes> taken() { return std::exchange(taken_, {}); }
    void leave() { connection_->vanish(); }

private:
    VirtualClock clock_;
    const std::shared_ptr<CameraUnit> unit_ =
        std::make_shared<CameraUnit>(UnitDescription{.reportLength = kDeclared}, nullptr);
    const std::shared_ptr<EmulatedConnection> connection_ =
        std::make_shared<EmulatedConnection>(unit_, clock_, "socket", nullptr);
    EmulatedInterface device_{connection_, kUnitPenInterfaceNumber};
    std::vector<Bytes> taken_;
};

template <class Unit>
class HIDInterfacesTest : public testing::Test {
protected:
    // Generous: a thread sends, on a machine that may be busy.
    IOReturn send(IOHIDReportType type, std::uint32_t number, const Bytes& report) {
        return unit_.device().setReport(type, number, report, 60'000);
    }
    IOReturn send(const Bytes& report) { return send(IOHIDReportType::output, 0, report); }
    IOHIDQueueRef startedQueue() {
        IOHIDQueueRef queue = unit_.device().allocQueue();
        queue->create(0, 4);
        queue->addElement(kCookie, 0);
        queue->start();
        return queue;
    }
    static std::optional<Bytes> next(IOHIDQueueInterface& queue) {
        IOHIDEventStruct event;
        if (queue.getNextEvent(event, 0, 0) != kIOReturnSuccess)
            return std::nullopt;
        EXPECT_EQ(event.longValueSize, kDeclared);
        return event.longValue;
    }

    RecordingLog log_;
    Unit unit_;
};

using Units = testing::Types<OnNode, InSoftware>;
TYPED_TEST_SUITE(HIDInterfacesTest, Units);

TYPED_TEST(HIDInterfacesTest, AnInputReportOfAnyLengthComesAtTheDeclaredOne) {
    this->unit_.device().open(0);
    const auto queue = this->startedQueue();
    for (const std::size_t length : {0U, 1U, 5U, 39U, 40U, 41U, 64U, 65U, 256U, 804U}) {
        this->unit_.send(Bytes(length, 0xA5));
        Bytes expected(length, 0xA5);
        expected.resize(kDeclared);
        expected.resize(kReadableReportBytes);
        EXPECT_EQ(this->next(*queue), expected) << length;
        EXPECT_EQ(this->next(*queue), std::nullopt) << length;
    }
    EXPECT_EQ(this->log_.lines().size(), 1U) << "only the first that is cut is told of";
}

TYPED_TEST(HIDInterfacesTest, AnOutputReportOfAnyLengthIsSentAsItIsButForOneWithoutBytes) {
    this->unit_.device().open(0);
    for (const std::size_t length : {0U, 1U, 39U, 40U, 41U, 256U, 804U}) {
        const Bytes report(length, 0x5A);
        EXPECT_EQ(this->send(report), kIOReturnSuccess) << length;
        EXPECT_EQ(this->unit_.taken(), length == 0 ? std::vector<Bytes>() : std::vector<Bytes>{report})
            << length;
    }
    EXPECT_TRUE(this->log_.lines().empty());
}

TYPED_TEST(HIDInterfacesTest, OnlyAnOutputReportWithoutANumberIsSent) {
    this->unit_.device().open(0);
    for (const Bytes& report : {Bytes{}, Bytes{1, 2}}) {
        EXPECT_EQ(this->send(IOHIDReportType::input, 0, report), kIOReturnUnsupported);
        EXPECT_EQ(this->send(IOHIDReportType::feature, 0, report), kIOReturnUnsupported);
        EXPECT_EQ(this->send(IOHIDReportType::output, 1, report), kIOReturnUnsupported);
        EXPECT_EQ(this->send(IOHIDReportType::output, 256, report), kIOReturnUnsupported);
    }
    EXPECT_TRUE(this->unit_.taken().empty());
}

TYPED_TEST(HIDInterfacesTest, WhatWouldBeSentToNobodySaysWhy) {
    const Bytes command{'H', 1};
    for (const Bytes& report : {Bytes{}, command}) {
        EXPECT_EQ(this->send(report), kIOReturnNotOpen);
        EXPECT_EQ(this->send(IOHIDReportType::feature, 7, report), kIOReturnNotOpen);
    }
    EXPECT_EQ(this->unit_.device().open(0), kIOReturnSuccess);
    this->unit_.leave();
    for (const Bytes& report : {Bytes{}, command}) {
        EXPECT_EQ(this->send(report), kIOReturnNoDevice);
        EXPECT_EQ(this->send(IOHIDReportType::feature, 7, report), kIOReturnNoDevice);
    }
    EXPECT_EQ(this->unit_.device().close(), kIOReturnSuccess);
    EXPECT_EQ(this->send(command), kIOReturnNoDevice) << "gone says more than closed";
}

TYPED_TEST(HIDInterfacesTest, AUnitThatLeavesSaysOneReportOfZerosAndNothingMore) {
    this->unit_.device().open(0);
    const auto queue = this->startedQueue();
    this->unit_.send(Bytes(kDeclared, 0xA5));
    this->unit_.leave();
    this->unit_.send(Bytes(kDeclared, 0xA5));
    EXPECT_NE(this->next(*queue), Bytes(kReadableReportBytes, 0));
    EXPECT_EQ(this->next(*queue), Bytes(kReadableReportBytes, 0));
    EXPECT_EQ(this->next(*queue), std::nullopt);
}

} // namespace
} // namespace lightpen
