// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/HidrawWriter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "kit/Eventually.h"
#include "kit/RecordingLog.h"
#include "kit/SocketNode.h"
#include "platform/IOHID.h"

namespace lightpen {
namespace {

using Bytes = std::vector<std::uint8_t>;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A limit that a sending thread on a busy machine does not reach.
constexpr std::uint32_t kPlentyMs = 60'000;

// A kernel may leave the wait for a unit to the node (blocking) or to us.
class HidrawWriterOnNode : public testing::TestWithParam<bool> {
protected:
    std::unique_ptr<HidrawWriter> startWriter() {
        return HidrawWriter::start(std::make_shared<const FileDescriptor>(node_.takeHost()),
                                   [this] { return terminating_.load(); });
    }
    void skipFillers(std::size_t count) {
        for (std::size_t filler = 0; filler < count; ++filler)
            ASSERT_EQ(node_.take(), Bytes{0xEE});
    }

    RecordingLog log_;
    SocketNode node_{GetParam()};
    std::atomic<bool> terminating_{false};
};

INSTANTIATE_TEST_SUITE_P(Nodes, HidrawWriterOnNode, testing::Values(true, false),
                         [](const auto& suite) { return suite.param ? "Blocking" : "NonBlocking"; });

TEST_P(HidrawWriterOnNode, SendsWholeReportsInOrder) {
    const auto writer = startWriter();
    EXPECT_EQ(writer->send({0, 'H', 1}, kPlentyMs), kIOReturnSuccess);
    EXPECT_EQ(writer->send(Bytes(805, 'C'), kIOHIDNoTimeout), kIOReturnSuccess);
    EXPECT_EQ(node_.take(), (Bytes{0, 'H', 1}));
    EXPECT_EQ(node_.take(), Bytes(805, 'C'));
    EXPECT_TRUE(log_.lines().empty());
}

TEST_P(HidrawWriterOnNode, AUnitThatReadsNothingCostsTheTimeOutAndLaterReportsKeepTheirOrder) {
    const std::size_t fillers = node_.fill();
    const auto writer = startWriter();
    for (std::uint8_t report = 1; report <= 3; ++report) {
        const auto before = steady_clock::now();
        EXPECT_EQ(writer->send({0, report}, 100), kIOReturnTimeout);
        EXPECT_GE(steady_clock::now() - before, milliseconds(100));
    }
    skipFillers(fillers);
    EXPECT_EQ(writer->send({0, 4}, kIOHIDNoTimeout), kIOReturnSuccess);
    for (std::uint8_t report = 1; report <= 4; ++report)
        EXPECT_EQ(node_.take(), (Bytes{0, report}));
}

TEST_P(HidrawWriterOnNode, ALineThatIsFullTakesNoMore) {
    const std::size_t fillers = node_.fill();
    const auto writer = startWriter();
    // By the end of this wait the first one has left the line for the kernel, even if the thread began late.
    EXPECT_EQ(writer->send({0, 0xAA}, 2000), kIOReturnTimeout);
    for (std::size_t report = 0; report < HidrawWriter::kMostWaiting; ++report)
        EXPECT_EQ(writer->send({0, static_cast<std::uint8_t>(report)}, 0), kIOReturnTimeout);
    EXPECT_EQ(writer->send({0, 0xBB}, 1), kIOReturnTimeout);
    skipFillers(fillers);
    EXPECT_EQ(node_.take(), (Bytes{0, 0xAA}));
    for (std::size_t report = 0; report < HidrawWriter::kMostWaiting; ++report)
        EXPECT_EQ(node_.take(), (Bytes{0, static_cast<std::uint8_t>(report)}));
    EXPECT_EQ(writer->send({0, 0xCC}, kPlentyMs), kIOReturnSuccess);
    EXPECT_EQ(node_.take(), (Bytes{0, 0xCC})) << "the one that found no room was never sent";
}

TEST_P(HidrawWriterOnNode, StopEndsAWaitWithoutLimitAndDropsWhatHasNotBegun) {
    const std::size_t fillers = node_.fill();
    const auto writer = startWriter();
    EXPECT_EQ(writer->send({0, 1}, 100), kIOReturnTimeout);
    auto endless = std::async(std::launch::async, [&] { return writer->send({0, 2}, kIOHIDNoTimeout); });
    EXPECT_EQ(endless.wait_for(milliseconds(100)), std::future_status::timeout);
    writer->stop(kIOReturnNoDevice);
    EXPECT_EQ(endless.get(), kIOReturnNoDevice);
    EXPECT_EQ(writer->send({0, 3}, kIOHIDNoTimeout), kIOReturnNoDevice);
    writer->stop(kIOReturnNotOpen);
    EXPECT_EQ(writer->send({0, 4}, 0), kIOReturnNoDevice) << "the first reason stands";
    skipFillers(fillers);
}

TEST_P(HidrawWriterOnNode, ItsEndDoesNotWaitForAWriteThatIsStuck) {
    const std::size_t fillers = node_.fill();
    auto writer = startWriter();
    EXPECT_EQ(writer->send({0, 1}, 100), kIOReturnTimeout);
    writer.reset();
    skipFillers(fillers);
}

TEST_P(HidrawWriterOnNode, AWaitWithoutLimitEndsWithTheProgramAfterALastChance) {
    const std::size_t fillers = node_.fill();
    const auto writer = startWriter();
    terminating_ = true;
    const auto before = steady_clock::now();
    EXPECT_EQ(writer->send({0, 1}, kIOHIDNoTimeout), kIOReturnTimeout);
    EXPECT_GE(steady_clock::now() - before, milliseconds(200));
    skipFillers(fillers);
    EXPECT_EQ(node_.take(), (Bytes{0, 1}));
    // A machine that stands still for a moment takes one of them its chance, not every one.
    EXPECT_TRUE(eventually([&] { return writer->send({0, 2}, kIOHIDNoTimeout) == kIOReturnSuccess; }));
    EXPECT_EQ(node_.take(), (Bytes{0, 2})) << "the unit's last command goes out";
}

TEST_P(HidrawWriterOnNode, AUnitThatIsGoneIsNoDevice) {
    const auto writer = startWriter();
    node_.unplug();
    EXPECT_EQ(writer->send({0, 1}, kIOHIDNoTimeout), kIOReturnNoDevice);
    EXPECT_TRUE(log_.lines().empty());
}

TEST(HidrawWriter, OnceStoppedItSaysNothingMore) {
    RecordingLog log;
    SocketNode node(false);
    node.fill();
    auto writer = HidrawWriter::start(std::make_shared<const FileDescriptor>(node.takeHost()), {});
    EXPECT_EQ(writer->send({0, 1}, 100), kIOReturnTimeout);
    writer.reset();
    EXPECT_TRUE(eventually([&] { return node.hostClosed(); })) << "its thread ends";
    EXPECT_TRUE(log.lines().empty());
}

TEST(HidrawWriter, AReportThatTheNodeRefusesIsLoggedOnceInARow) {
    RecordingLog log;
    int ends[2] = {-1, -1};
    ASSERT_EQ(::pipe(ends), 0);
    const FileDescriptor writing(ends[1]);
    const auto writer = HidrawWriter::start(std::make_shared<const FileDescriptor>(ends[0]), {});
    EXPECT_EQ(writer->send({0, 1, 2}, kIOHIDNoTimeout), kIOReturnError);
    EXPECT_EQ(writer->send({0, 1, 2}, kPlentyMs), kIOReturnError);
    EXPECT_EQ(log.lines(), std::vector<std::string>{
                               "HID: an output report of 2 bytes could not be sent: Bad file descriptor"});
}

} // namespace
} // namespace lightpen
