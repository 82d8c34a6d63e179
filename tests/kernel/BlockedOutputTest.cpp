// SPDX-License-Identifier: MIT
// A unit that does not read its output reports: the kernel's write then blocks for seconds, whatever the
// flags of the node say, and none of its users may.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <future>

#include "kernel/gadget/GadgetBus.h"
#include "kernel/support/HostNodes.h"
#include "kernel/support/TakenReports.h"
#include "kit/Eventually.h"
#include "linux_desktop/process/SystemClock.h"
#include "unit/CameraUnit.h"

namespace lightpen::test {
namespace {

using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;

constexpr std::size_t kLength = 32;
// So many reports the kernel's gadget side takes itself, before the unit reads any.
constexpr unsigned kTakenByKernel = 4;
constexpr std::uint32_t kTimeoutMs = 100;
constexpr std::uint32_t kPatienceMs = 5000;
// The kernel gives a write up after 5 s. A call that returns before this has not waited for the kernel.
constexpr auto kBeforeKernel = 4500ms;

class BlockedOutputTest : public testing::Test {
protected:
    void SetUp() override {
        // The unit of the test before may still be leaving.
        ASSERT_TRUE(waitForNodes(0).empty());
        unit_.plug();
        ASSERT_TRUE(bus_.settle(unit_)) << bus_.failure(unit_);
        nodes_ = waitForNodes(4);
        device_ = deviceOf(nodes_, 3, clock_);
        ASSERT_NE(device_, nullptr);
        ASSERT_TRUE(eventually([&] { return device_->open(0) == kIOReturnSuccess; }));
    }

    IOReturn send(unsigned number, std::uint32_t timeoutMs = kTimeoutMs) {
        return device_->setReport(IOHIDReportType::output, 0, patternOf(number, kLength), timeoutMs);
    }
    // From here on a write blocks.
    void stopReading() {
        unit_.faults()->doesNotReadOutput = true;
        for (unsigned number = 1; number <= kTakenByKernel; ++number)
            ASSERT_EQ(send(number, kPatienceMs), kIOReturnSuccess) << number;
    }
    void readAgain() { unit_.faults()->doesNotReadOutput = false; }
    void expectTaken(const std::vector<unsigned>& numbers) {
        const auto reports = taken_.waitFor(numbers.size());
        ASSERT_EQ(reports.size(), numbers.size());
        for (std::size_t place = 0; place < numbers.size(); ++place)
            EXPECT_EQ(reports[place], patternOf(numbers[place], kLength)) << "place " << place;
    }

    SystemClock clock_;
    GadgetBus bus_{clock_};
    CameraUnit& unit_ = bus_.add<CameraUnit>({.reportLength = kLength}, {.outputLength = kLength});
    TakenReports taken_{unit_};
    std::vector<HostNode> nodes_;
    std::unique_ptr<HidrawDevice> device_;
};

TEST_F(BlockedOutputTest, TheKernelsWriteReallyBlocks) {
    stopReading();
    FileDescriptor node;
    ASSERT_EQ(openHidrawNode(nodes_[3].devnode, node), 0);
    const ReportBytes bytes(kLength + 1);
    const auto start = SteadyClock::now();
    EXPECT_EQ(::write(node.get(), bytes.data(), bytes.size()), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GT(SteadyClock::now() - start, kBeforeKernel);
}

TEST_F(BlockedOutputTest, TheTimeOutHoldsAndAllGoesOutInOrderOnceItReads) {
    stopReading();
    const auto start = SteadyClock::now();
    EXPECT_EQ(send(5), kIOReturnTimeout);
    EXPECT_EQ(send(6), kIOReturnTimeout);
    EXPECT_EQ(send(7), kIOReturnTimeout);
    EXPECT_GE(SteadyClock::now() - start, 300ms);
    EXPECT_LT(SteadyClock::now() - start, kBeforeKernel);
    EXPECT_TRUE(taken_.reports().empty());
    readAgain();
    EXPECT_EQ(send(8, kPatienceMs), kIOReturnSuccess);
    expectTaken({1, 2, 3, 4, 5, 6, 7, 8});
}

TEST_F(BlockedOutputTest, OnlyTheReportThatTheKernelGivesUpIsLost) {
    stopReading();
    EXPECT_EQ(send(5, kIOHIDNoTimeout), kIOReturnTimeout); // the kernel's own patience
    EXPECT_EQ(send(6), kIOReturnTimeout);
    EXPECT_EQ(send(7), kIOReturnTimeout);
    readAgain();
    EXPECT_EQ(send(8, kPatienceMs), kIOReturnSuccess);
    expectTaken({1, 2, 3, 4, 6, 7, 8});
}

TEST_F(BlockedOutputTest, UnpluggingEndsAWriteThatBlocks) {
    stopReading();
    auto blocked = std::async(std::launch::async, [&] { return send(5, kIOHIDNoTimeout); });
    auto waiting = std::async(std::launch::async, [&] { return send(6, kIOHIDNoTimeout); });
    EXPECT_EQ(blocked.wait_for(500ms), std::future_status::timeout);
    const auto start = SteadyClock::now();
    unit_.unplug();
    EXPECT_EQ(blocked.get(), kIOReturnNoDevice);
    EXPECT_EQ(waiting.get(), kIOReturnNoDevice);
    EXPECT_LT(SteadyClock::now() - start, kBeforeKernel);
}

TEST_F(BlockedOutputTest, ClosingDoesNotWaitForAWriteThatBlocksAndAReplugGivesAWorkingUnit) {
    stopReading();
    EXPECT_EQ(send(5), kIOReturnTimeout);
    const auto start = SteadyClock::now();
    EXPECT_EQ(device_->close(), kIOReturnSuccess);
    device_.reset();
    EXPECT_LT(SteadyClock::now() - start, kBeforeKernel);
    unit_.unplug();
    ASSERT_TRUE(bus_.settle(unit_));
    ASSERT_TRUE(waitForNodes(0).empty());
    readAgain();
    SetUp();
    EXPECT_EQ(send(9, kPatienceMs), kIOReturnSuccess);
    expectTaken({9});
}

} // namespace
} // namespace lightpen::test
