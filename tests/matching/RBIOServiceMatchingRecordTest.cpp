// SPDX-License-Identifier: MIT
#include "matching/RBIOServiceMatchingRecord.h"

#include <gtest/gtest.h>

#include "kit/TestPlatform.h"
#include "matching/RBIOServiceMatchingServer.h"

namespace lightpen {
namespace {

struct Observer {
    void didHappen(io_iterator_t iterator) { heard.push_back(iterator); }
    std::vector<io_iterator_t> heard;
};

class RBIOServiceMatchingRecordTest : public testing::Test {
protected:
    io_iterator_t makeIterator() {
        io_iterator_t iterator = 0;
        desk.registry.IOServiceGetMatchingServices(0, IOServiceMatching("IOUSBDevice"), iterator);
        return iterator;
    }
    TestPlatform desk;
    RBIOServiceMatchingServer server;
    Observer observer;
};

TEST_F(RBIOServiceMatchingRecordTest, HoldsOneReferenceOfItsOwnForItsLife) {
    const io_iterator_t iterator = makeIterator();
    auto record = RBIOServiceMatchingRecord::recordWithInvocation(
        std::make_shared<Invocation>(server, &observer, &Observer::didHappen), iterator);
    desk.registry.IOObjectRelease(iterator);
    EXPECT_EQ(desk.registry.liveObjects(), 1u);
    record.reset();
    EXPECT_EQ(desk.registry.liveObjects(), 0u);
}

TEST_F(RBIOServiceMatchingRecordTest, HoldsItsInvocation) {
    std::weak_ptr<Invocation> watched;
    {
        auto invocation = std::make_shared<Invocation>(server, &observer, &Observer::didHappen);
        watched = invocation;
        const RBIOServiceMatchingRecord record(std::move(invocation), 0);
        EXPECT_EQ(record.invocation().get(), watched.lock().get());
        EXPECT_FALSE(watched.expired());
    }
    EXPECT_TRUE(watched.expired());
}

TEST_F(RBIOServiceMatchingRecordTest, InvocationCallsItsTargetWithTheArgument) {
    const auto invocation = std::make_shared<Invocation>(server, &observer, &Observer::didHappen);
    EXPECT_EQ(invocation->target(), &observer);
    EXPECT_EQ(&invocation->server(), &server);
    invocation->invoke(0x3C1);
    invocation->invoke(7);
    EXPECT_EQ(observer.heard, (std::vector<io_iterator_t>{0x3C1, 7}));
}

} // namespace
} // namespace lightpen
