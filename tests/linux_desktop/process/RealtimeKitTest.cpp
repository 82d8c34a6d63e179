// SPDX-License-Identifier: MIT
#include "linux_desktop/process/SystemThreads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <future>

#include <QCoreApplication>

#include "kit/Eventually.h"
#include "kit/linux/FakeRealtimeKit.h"
#include "kit/linux/TestMain.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr pid_t kThread = 4242;

class RealtimeKitTest : public testing::Test {
protected:
    // Asks from a thread of its own, as the pen's thread does, while this one serves the bus.
    static bool ask(std::chrono::milliseconds patience = 10s) {
        auto answer = std::async(std::launch::async, [=] { return makeThreadRealtime(kThread, patience); });
        EXPECT_TRUE(eventually([&] { return answer.wait_for(0ms) == std::future_status::ready; },
                               [] { QCoreApplication::processEvents(); }));
        return answer.get();
    }

    const std::string address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
};

TEST_F(RealtimeKitTest, IsAskedForTheThreadWithAModeratePriority) {
    FakeRealtimeKit kit(address);
    EXPECT_TRUE(ask());
    EXPECT_THAT(kit.requests, ElementsAre(Pair(kThread, 10u)));
    rlimit limit{};
    getrlimit(RLIMIT_RTTIME, &limit);
    EXPECT_EQ(limit.rlim_max, 200'000u); // what it makes its service depend on
}

TEST_F(RealtimeKitTest, IsNotAskedForMoreThanItGives) {
    FakeRealtimeKit kit(address);
    kit.highestPriority = 4;
    EXPECT_TRUE(ask());
    EXPECT_THAT(kit.requests, ElementsAre(Pair(kThread, 4u)));
}

TEST_F(RealtimeKitTest, ARefusalIsNoFault) {
    FakeRealtimeKit kit(address);
    kit.refuses = true;
    EXPECT_FALSE(ask());
    EXPECT_THAT(kit.requests, ElementsAre(Pair(kThread, 10u)));
}

TEST_F(RealtimeKitTest, UselessLimitsEndTheAttempt) {
    FakeRealtimeKit kit(address);
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
    const FakeRealtimeKit kit(address);
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
    return lightpen::runTests<QCoreApplication>(argc, argv, lightpen::PrivateBus());
}
