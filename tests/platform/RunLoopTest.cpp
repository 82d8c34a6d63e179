// SPDX-License-Identifier: MIT
#include "platform/RunLoop.h"

#include <gtest/gtest.h>

#include "kit/VirtualTime.h"

namespace lightpen {
namespace {

class RunLoopTest : public testing::Test {
protected:
    VirtualClock clock;
    VirtualRunLoop loop{clock};
    int performed = 0;
    RunLoopSourceRef source = std::make_shared<RunLoopSource>([this] { ++performed; });
};

TEST_F(RunLoopTest, EachSignalIsOnePerformOnTheLoop) {
    source->attachedTo(loop);
    source->signal();
    source->signal();
    EXPECT_EQ(performed, 0);
    loop.runPending();
    EXPECT_EQ(performed, 2);
}

TEST_F(RunLoopTest, SignalsBeforeTheSourceIsAttachedAreLost) {
    source->signal();
    source->attachedTo(loop);
    loop.runPending();
    EXPECT_EQ(performed, 0);
}

TEST_F(RunLoopTest, ASourceThatIsGoneIsNotPerformed) {
    source->attachedTo(loop);
    source->signal();
    source.reset();
    loop.runPending();
    EXPECT_EQ(performed, 0);
}

} // namespace
} // namespace lightpen
