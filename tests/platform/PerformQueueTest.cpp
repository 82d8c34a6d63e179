// SPDX-License-Identifier: MIT
#include "platform/PerformQueue.h"

#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PerformQueueTest : public testing::Test {
protected:
    PerformRequest request(std::string what, std::string selector = "selector", std::string argument = "",
                           const void* target = nullptr) {
        return {target, std::move(selector), std::move(argument), [this, what] { done.push_back(what); }};
    }
    std::vector<std::string> runAll(Microseconds now) {
        done.clear();
        while (queue.runOne(now)) {
        }
        return done;
    }
    PerformQueue queue;
    std::vector<std::string> done;
};

TEST_F(PerformQueueTest, AnEmptyQueueHasNothingToDo) {
    EXPECT_FALSE(queue.runOne(Microseconds::max()));
    EXPECT_FALSE(queue.hasPosted());
    EXPECT_EQ(queue.nextDue(), std::nullopt);
}

TEST_F(PerformQueueTest, PostedRequestsRunInTheirOrderOneAtATime) {
    for (const char* what : {"b", "a", "c"})
        queue.post(request(what));
    EXPECT_TRUE(queue.hasPosted());
    EXPECT_TRUE(queue.runOne(Microseconds(0)));
    EXPECT_THAT(done, ElementsAre("b"));
    EXPECT_THAT(runAll(Microseconds(0)), ElementsAre("a", "c"));
    EXPECT_FALSE(queue.hasPosted());
}

TEST_F(PerformQueueTest, DelayedRequestsRunWhenDueEarliestFirst) {
    queue.postDelayed(request("late"), Microseconds(300));
    queue.postDelayed(request("early"), Microseconds(100));
    queue.postDelayed(request("early too"), Microseconds(100));
    EXPECT_EQ(queue.nextDue(), Microseconds(100));
    EXPECT_THAT(runAll(Microseconds(99)), IsEmpty());
    EXPECT_THAT(runAll(Microseconds(100)), ElementsAre("early", "early too"));
    EXPECT_EQ(queue.nextDue(), Microseconds(300));
    EXPECT_THAT(runAll(Microseconds(5000)), ElementsAre("late"));
}

// A cancellation that was asked for in time must not find its request already done.
TEST_F(PerformQueueTest, PostedRequestsRunBeforeADelayedOneThatIsDue) {
    queue.postDelayed(request("long press", "wrapper:", "{1, 2}", this), Microseconds(10));
    queue.post({nullptr, "wrapper2:", "", [this] { queue.cancelDelayed(this, "wrapper:", "{1, 2}"); }});
    EXPECT_THAT(runAll(Microseconds(2000)), IsEmpty());
    EXPECT_EQ(queue.nextDue(), std::nullopt);
}

TEST_F(PerformQueueTest, CancellationComparesTargetSelectorAndArgument) {
    const int other = 0;
    queue.postDelayed(request("same", "s", "a", this), Microseconds(1));
    queue.postDelayed(request("same again", "s", "a", this), Microseconds(2));
    queue.postDelayed(request("other target", "s", "a", &other), Microseconds(3));
    queue.postDelayed(request("other selector", "t", "a", this), Microseconds(4));
    queue.postDelayed(request("other argument", "s", "b", this), Microseconds(5));
    queue.post(request("posted", "s", "a", this));
    queue.cancelDelayed(this, "s", "a");
    EXPECT_THAT(runAll(Microseconds(9)),
                ElementsAre("posted", "other target", "other selector", "other argument"));
}

TEST_F(PerformQueueTest, RequestsMayPostAndRunOthers) {
    queue.post({nullptr, "outer", "", [this] {
                    queue.post(request("inner"));
                    queue.runOne(Microseconds(0));
                    done.push_back("outer");
                }});
    EXPECT_THAT(runAll(Microseconds(0)), ElementsAre("inner", "outer"));
}

TEST_F(PerformQueueTest, EveryThreadsRequestsKeepTheirOrder) {
    std::vector<std::pair<int, int>> order;
    const auto postAll = [&](int thread) {
        for (int i = 0; i < 500; ++i)
            queue.post({nullptr, "", "", [&order, thread, i] { order.emplace_back(thread, i); }});
    };
    std::thread first(postAll, 0), second(postAll, 1);
    while (order.size() < 1000)
        queue.runOne(Microseconds(0));
    first.join();
    second.join();
    int next[] = {0, 0};
    for (const auto& [thread, number] : order)
        ASSERT_EQ(number, next[thread]++);
}

} // namespace
} // namespace lightpen
