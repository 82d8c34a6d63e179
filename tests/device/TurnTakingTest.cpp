// SPDX-License-Identifier: MIT
#include "kit/TurnTaking.h"

#include <gmock/gmock.h>

#include "kit/Timeline.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

class TurnTakingTest : public testing::Test {
protected:
    // A thread that says this, sleeps, and says it again.
    void startSleeper(const char* name, Microseconds duration) {
        turnTaking.start([this, name, duration] {
            happened.deed(name);
            clock.sleep(duration);
            happened.deed(name);
        });
    }

    VirtualClock clock;
    VirtualRunLoop loop{clock};
    Timeline happened{clock};
    TurnTaking turnTaking{clock};
};

TEST_F(TurnTakingTest, WhoseWaitEndsFirstIsNextAndOfSeveralWhoHasWaitedLongest) {
    startSleeper("a", milliseconds(3));
    startSleeper("b", milliseconds(2));
    happened.deed("main");
    clock.sleep(milliseconds(3));
    happened.deed("main");
    EXPECT_TRUE(turnTaking.finish(milliseconds(1)));
    EXPECT_THAT(happened.takeTimedDeeds(), ElementsAre("0 main", "0 a", "0 b", "2 b", "3 main", "3 a"));
}

TEST_F(TurnTakingTest, TheLoopPerformsWhatAThreadAsksForAtOnce) {
    turnTaking.start([this] {
        clock.sleep(milliseconds(4));
        loop.performOnMainThread({this, "asked", {}, [this] { happened.deed("performed"); }});
        clock.sleep(milliseconds(4));
        happened.deed("thread");
    });
    loop.runFor(milliseconds(10));
    EXPECT_THAT(happened.takeTimedDeeds(), ElementsAre("4 performed", "8 thread"));
    EXPECT_EQ(turnTaking.running(), 0);
}

TEST_F(TurnTakingTest, ATurnOfAnotherThreadEndsWithItsWaitOrItself) {
    startSleeper("a", milliseconds(7));
    turnTaking.nextTurn();
    EXPECT_THAT(happened.takeTimedDeeds(), ElementsAre("0 a"));
    EXPECT_FALSE(turnTaking.finish(milliseconds(6)));
    turnTaking.nextTurn();
    EXPECT_THAT(happened.takeTimedDeeds(), ElementsAre("7 a"));
    turnTaking.nextTurn(); // there is none
}

TEST_F(TurnTakingTest, AThreadThatEndsTheProcessLeavesItsStatus) {
    turnTaking.start([this] { loop.exitProcess(3); });
    EXPECT_EQ(turnTaking.exitStatus(), std::nullopt);
    EXPECT_TRUE(turnTaking.finish(milliseconds(1)));
    EXPECT_EQ(turnTaking.exitStatus(), 3);
}

} // namespace
} // namespace lightpen
