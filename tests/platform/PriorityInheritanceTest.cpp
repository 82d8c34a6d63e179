// SPDX-License-Identifier: MIT
#include "platform/PriorityInheritance.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <ctime>
#include <fstream>
#include <future>
#include <sstream>
#include <string>
#include <thread>

#include "kit/Eventually.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;

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

bool becomeRealtime(int priority = 1) {
    const sched_param parameters{priority};
    return sched_setscheduler(0, SCHED_FIFO, &parameters) == 0;
}

bool stayOn(int processor) {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<std::size_t>(processor), &one);
    return sched_setaffinity(0, sizeof one, &one) == 0;
}

milliseconds processorTimeOfThisThread() {
    std::timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::duration_cast<milliseconds>(std::chrono::seconds(time.tv_sec) +
                                                    std::chrono::nanoseconds(time.tv_nsec));
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

// An ordinary thread has the lock, one in a hurry waits for it, and a third between the two takes the
// processor. That one would have it for good; here it gives up after half a second.
TEST(PriorityInheritanceMutexes, NobodyBetweenHoldsUpWhoeverWaits) {
    const int processor = sched_getcpu();
    PriorityInheritanceMutex mutex;
    std::atomic<bool> possible = true, held = false, wanted = false, busy = false, had = false,
                      gaveUp = false;
    const auto begin = [&](int priority) {
        if (!stayOn(processor) || (priority > 0 && !becomeRealtime(priority)))
            possible = false;
    };
    std::thread ordinary([&] {
        begin(0);
        const std::lock_guard hold(mutex);
        held = true;
        eventually([&] { return busy.load(); });
    });
    ASSERT_TRUE(eventually([&] { return held.load(); }));
    std::thread inAHurry([&] {
        begin(2);
        wanted = true; // on this processor nobody hears of it before the next line waits
        const std::lock_guard hold(mutex);
        had = true;
    });
    std::thread between([&] {
        begin(1);
        eventually([&] { return wanted.load(); });
        busy = true;
        while (possible && !had && !gaveUp)
            gaveUp = processorTimeOfThisThread() > milliseconds(500);
    });
    for (std::thread* thread : {&ordinary, &inAHurry, &between})
        thread->join();
    if (!possible)
        GTEST_SKIP() << "this user may have no real time";
    EXPECT_FALSE(gaveUp);
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
