// SPDX-License-Identifier: MIT
#include "platform/PriorityInheritance.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <condition_variable>
#include <fstream>
#include <future>
#include <sstream>
#include <string>
#include <thread>

#include "kit/Eventually.h"

namespace lightpen {
namespace {

// The priority that the kernel runs this thread at just now: negative for real time, else 0 and more.
int priorityOfThisThread() {
    std::ifstream file("/proc/thread-self/stat");
    std::string text;
    std::getline(file, text);
    std::istringstream behindName(text.substr(text.rfind(')') + 1));
    std::string field;
    for (int number = 3; number <= 18; ++number)
        behindName >> field;
    return std::stoi(field);
}

bool becomeRealtime() {
    const sched_param parameters{1};
    return sched_setscheduler(0, SCHED_FIFO, &parameters) == 0;
}

template <class Mutex>
class PriorityInheritanceTest : public testing::Test {};

using Mutexes = testing::Types<PriorityInheritanceMutex, PriorityInheritanceRecursiveMutex>;
TYPED_TEST_SUITE(PriorityInheritanceTest, Mutexes);

TYPED_TEST(PriorityInheritanceTest, LendsItsHolderThePriorityOfWhoeverWaits) {
    TypeParam mutex;
    std::promise<bool> realtime;
    std::unique_lock hold(mutex);
    std::thread inAHurry([&] {
        realtime.set_value(becomeRealtime());
        const std::lock_guard waits(mutex);
    });
    const bool possible = realtime.get_future().get();
    const bool lent = eventually([&] { return !possible || priorityOfThisThread() < 0; });
    hold.unlock();
    inAHurry.join();
    if (!possible)
        GTEST_SKIP() << "this user may have no real time";
    EXPECT_TRUE(lent);
    EXPECT_GE(priorityOfThisThread(), 0) << "it is lent for as long as the lock is held";
}

TYPED_TEST(PriorityInheritanceTest, IsHeldByOneThreadAtATime) {
    TypeParam mutex;
    int count = 0;
    const auto add = [&] {
        for (int i = 0; i < 10'000; ++i) {
            const std::lock_guard hold(mutex);
            ++count;
        }
    };
    std::thread other(add);
    add();
    other.join();
    EXPECT_EQ(count, 20'000);
}

TEST(PriorityInheritanceMutexes, GoWithConditions) {
    PriorityInheritanceMutex mutex;
    std::condition_variable changed;
    bool told = false;
    std::thread other([&] {
        const std::lock_guard hold(mutex);
        told = true;
        changed.notify_one();
    });
    std::unique_lock<std::mutex> hold(mutex);
    changed.wait(hold, [&] { return told; });
    EXPECT_TRUE(hold.owns_lock());
    hold.unlock();
    other.join();
}

TEST(PriorityInheritanceMutexes, TheRecursiveOneIsHeldTwiceByOneThread) {
    PriorityInheritanceRecursiveMutex mutex;
    const std::lock_guard once(mutex);
    EXPECT_TRUE(mutex.try_lock());
    mutex.unlock();
}

} // namespace
} // namespace lightpen
