// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/HidrawReader.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <atomic>

#include "kit/Eventually.h"
#include "kit/RecordingLog.h"
#include "kit/SocketNode.h"
#include "kit/VirtualTime.h"

namespace lightpen {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr IOHIDElementCookie kCookie = 5;

class HidrawReaderOnNode : public testing::TestWithParam<bool> {
protected:
    std::shared_ptr<HidrawReader> startReader() {
        return HidrawReader::start(std::make_shared<const FileDescriptor>(node_.takeHost()), fanOut_,
                                   [this] { ++gone_; });
    }
    IOHIDQueueRef startQueue(std::uint32_t depth) {
        auto queue = fanOut_->add(std::make_shared<IOHIDQueueInterface>());
        queue->create(0, depth);
        queue->addElement(kCookie, 0);
        queue->start();
        return queue;
    }
    // The second bytes of what the queue holds.
    static Bytes taken(IOHIDQueueInterface& queue) {
        Bytes seconds;
        IOHIDEventStruct event;
        while (queue.getNextEvent(event, 0, 0) == kIOReturnSuccess)
            seconds.push_back(event.longValue[1]);
        return seconds;
    }

    RecordingLog log_;
    SocketNode node_{GetParam()};
    VirtualClock clock_;
    std::shared_ptr<ReportFanOut> fanOut_ = std::make_shared<ReportFanOut>(clock_, kCookie, 8);
    std::atomic<int> gone_{0};
};

INSTANTIATE_TEST_SUITE_P(Nodes, HidrawReaderOnNode, testing::Values(true, false),
                         [](const auto& suite) { return suite.param ? "Blocking" : "NonBlocking"; });

TEST_P(HidrawReaderOnNode, ItsThreadBringsReportsWithoutBeingAsked) {
    const auto queue = startQueue(10);
    const auto reader = startReader();
    node_.send(Bytes{0, 11});
    node_.send(Bytes{0, 12});
    Bytes all;
    EXPECT_TRUE(eventually([&] {
        const Bytes more = taken(*queue);
        all.insert(all.end(), more.begin(), more.end());
        return all.size() >= 2;
    }));
    EXPECT_EQ(all, (Bytes{11, 12}));
}

TEST_P(HidrawReaderOnNode, DrainBringsAllThatIsThereBeforeItReturns) {
    const auto queue = startQueue(100);
    const auto reader = startReader();
    for (std::uint8_t round = 0; round < 50; ++round) {
        node_.send(Bytes{0, round});
        node_.send(Bytes{0, static_cast<std::uint8_t>(round + 100)});
        reader->drain();
        EXPECT_EQ(taken(*queue), (Bytes{round, static_cast<std::uint8_t>(round + 100)}));
    }
}

TEST_P(HidrawReaderOnNode, DrainsFromSeveralThreadsKeepTheOrder) {
    constexpr std::uint32_t kReports = 5000;
    const auto queue = startQueue(kReports);
    const auto reader = startReader();
    std::atomic<bool> done{false};
    std::vector<std::thread> drainers;
    for (int drainer = 0; drainer < 2; ++drainer)
        drainers.emplace_back([&] {
            while (!done)
                reader->drain();
        });
    for (std::uint32_t report = 0; report < kReports; ++report)
        node_.send(Bytes{static_cast<std::uint8_t>(report >> 8), static_cast<std::uint8_t>(report & 0xFF)});
    reader->drain();
    done = true;
    for (auto& drainer : drainers)
        drainer.join();
    IOHIDEventStruct event;
    for (std::uint32_t report = 0; report < kReports; ++report) {
        ASSERT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess) << report;
        ASSERT_EQ(event.longValue[0] * 256U + event.longValue[1], report);
    }
}

TEST_P(HidrawReaderOnNode, AHangUpIsReportedOnceAfterWhatWasLeftAndTheLastWord) {
    const auto queue = startQueue(10);
    node_.send(Bytes{0, 21});
    const auto reader = startReader();
    node_.unplug();
    EXPECT_TRUE(eventually([&] { return gone_ != 0; }));
    EXPECT_EQ(taken(*queue), (Bytes{21, 0}));
    reader->drain();
    reader->vanish();
    reader->stop();
    EXPECT_EQ(taken(*queue), Bytes{});
    EXPECT_EQ(gone_, 1);
    EXPECT_TRUE(log_.lines().empty());
}

TEST_P(HidrawReaderOnNode, VanishSaysTheLastWordOfAUnitThatHasNotHungUp) {
    const auto queue = startQueue(10);
    const auto reader = startReader();
    node_.send(Bytes{0, 31});
    reader->vanish();
    EXPECT_EQ(taken(*queue), (Bytes{31, 0}));
    node_.send(Bytes{0, 32});
    reader->drain();
    EXPECT_EQ(taken(*queue), Bytes{});
    EXPECT_EQ(gone_, 0) << "whoever called knows";
}

TEST_P(HidrawReaderOnNode, NothingIsReadAfterStop) {
    const auto queue = startQueue(10);
    const auto reader = startReader();
    reader->stop();
    reader->stop();
    node_.send(Bytes{0, 41});
    reader->drain();
    EXPECT_EQ(taken(*queue), Bytes{});
}

TEST(HidrawReader, ANodeThatCannotBeReadIsGone) {
    RecordingLog log;
    VirtualClock clock;
    std::atomic<int> gone{0};
    const auto folder =
        std::make_shared<const FileDescriptor>(::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_TRUE(*folder);
    const auto reader =
        HidrawReader::start(folder, std::make_shared<ReportFanOut>(clock, kCookie, 8), [&] { ++gone; });
    EXPECT_TRUE(eventually([&] { return gone == 1; }));
    EXPECT_EQ(log.lines(), std::vector<std::string>{"HID: reading a report failed: Is a directory"});
}

} // namespace
} // namespace lightpen
