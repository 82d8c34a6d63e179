// SPDX-License-Identifier: MIT
#include "linux_desktop/process/SystemThreads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <future>
#include <thread>

#include <QCoreApplication>

#include "kit/Eventually.h"
#include "kit/PrivateBus.h"
#include "kit/linux/FakeRealtimeKit.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr pid_t kThread = 4242;

class RealtimeKitTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        bus = std::make_unique<PrivateBus>();
        bus->enter();
    }
    static void TearDownTestSuite() { bus.reset(); }

    // Asks from a thread of its own, as the pen's thread does, while this one serves the bus.
    static bool ask(std::chrono::milliseconds patience = 10s) {
        auto answer = std::async(std::launch::async, [=] { return makeThreadRealtime(kThread, patience); });
        EXPECT_TRUE(eventually([&] { return answer.wait_for(0ms) == std::future_status::ready; },
                               [] { QCoreApplication::processEvents(); }));
        return answer.get();
    }

    static std::unique_ptr<PrivateBus> bus;
};

std::unique_ptr<PrivateBus> RealtimeKitTest::bus;

TEST_F(RealtimeKitTest, IsAskedForTheThreadWithAModeratePriority) {
    FakeRealtimeKit kit(bus->address());
    EXPECT_TRUE(ask());
    EXPECT_THAT(kit.requests, ElementsAre(Pair(kThread, 10u)));
    rlimit limit{};
    getrlimit(RLIMIT_RTTIME, &limit);
    EXPECT_EQ(limit.rlim_max, 200'000u); // what it makes its service depend on
}

TEST_F(RealtimeKitTest, IsNotAskedForMoreThanItGives) {
    FakeRealtimeKit kit(bus->address());
    kit.highestPriority = 4;
    EXPECT_TRUE(ask());
    EXPECT_THAT(kit.requests, ElementsAre(Pair(kThread, 4u)));
}

TEST_F(RealtimeKitTest, ARefusalIsNoFault) {
    FakeRealtimeKit kit(bus->address());
    kit.refuses = true;
    EXPECT_FALSE(ask());
    EXPECT_THAT(kit.requests, ElementsAre(Pair(kThread, 10u)));
}

TEST_F(RealtimeKitTest, UselessLimitsEndTheAttempt) {
    FakeRealtimeKit kit(bus->address());
    kit.highestPriority = 0;
    EXPECT_FALSE(ask());
    kit.highestPriority = 20;
    kit.longestRun = -1;
    EXPECT_FALSE(ask());
    EXPECT_THAT(kit.requests, IsEmpty());
}

TEST_F(RealtimeKitTest, IsNotThere) {
    EXPECT_FALSE(ask());
}

TEST_F(RealtimeKitTest, SilenceIsWaitedForOnlyAsLongAsAsked) {
    const FakeRealtimeKit kit(bus->address());
    EXPECT_FALSE(makeThreadRealtime(kThread, 10ms)); // nobody runs the loop that would answer
}

TEST_F(RealtimeKitTest, NoBusIsNoFault) {
    EXPECT_EXIT(
        {
            const NoBus none;
            none.enter();
            std::_Exit(makeThreadRealtime(kThread, 10s) ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::FLAGS_gtest_death_test_style = "threadsafe"; // a process of its own: Qt keeps its bus for ever
    QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
