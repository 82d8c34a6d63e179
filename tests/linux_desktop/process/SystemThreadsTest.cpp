// SPDX-License-Identifier: MIT
#include "linux_desktop/process/SystemThreads.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <future>

#include <QCoreApplication>

#include "kit/OrdinaryUser.h"
#include "kit/linux/TestMain.h"

namespace lightpen {
namespace {

struct Priority {
    bool raised = false;
    int policy = 0;
    int nicer = 0; // by how much its nice value is better than that of the thread that has made it
    int slack = 0;
};

// What a new thread has after it has asked for the priority.
Priority priorityAfter(double asked) {
    SystemThreads threads;
    const int niceBefore = getpriority(PRIO_PROCESS, 0);
    std::promise<Priority> result;
    threads.detachNewThread([&] {
        Priority priority;
        priority.raised = threads.setThreadPriority(asked);
        priority.policy = sched_getscheduler(0) & ~SCHED_RESET_ON_FORK;
        priority.nicer = niceBefore - getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
        priority.slack = prctl(PR_GET_TIMERSLACK);
        result.set_value(priority);
    });
    return result.get_future().get();
}

TEST(SystemThreads, RunAnEntryOnAThreadOfItsOwn) {
    SystemThreads threads;
    std::promise<pid_t> thread;
    threads.detachNewThread([&] { thread.set_value(gettid()); });
    EXPECT_NE(thread.get_future().get(), gettid());
}

TEST(SystemThreads, TheHighestPriorityIsTheBestThatThisUserMayHave) {
    const Priority priority = priorityAfter(1.0);
    // What it says is what the kernel says; which of the three it is depends on the user.
    EXPECT_EQ(priority.raised, priority.policy == SCHED_RR || priority.nicer > 0);
    EXPECT_TRUE(priority.policy == SCHED_RR || priority.slack == 1); // real-time threads have none at all
    EXPECT_EQ(sched_getscheduler(0), SCHED_OTHER) << "other threads stay as they were";
}

TEST(SystemThreads, AnyOtherPriorityIsTheOrdinaryOne) {
    const Priority priority = priorityAfter(0.5);
    EXPECT_FALSE(priority.raised);
    EXPECT_EQ(priority.policy, SCHED_OTHER);
    EXPECT_EQ(priority.nicer, 0);
}

// Takes this process every right to a better priority; false when it cannot.
bool giveUpEveryRight() {
    const rlimit none{};
    if (setrlimit(RLIMIT_RTPRIO, &none) != 0 || setrlimit(RLIMIT_NICE, &none) != 0)
        return false;
    return becomeOrdinaryUser();
}

[[noreturn]] void reportPriorityOfAUserWithoutRights() {
    if (!giveUpEveryRight())
        std::_Exit(2);
    const Priority priority = priorityAfter(1.0);
    std::fprintf(stderr, "raised %d policy %d nicer %d slack %d", priority.raised, priority.policy,
                 priority.nicer, priority.slack);
    std::_Exit(0);
}

TEST(SystemThreads, AUserWithoutAnyRightGetsTheExactTimerAlone) {
    if (!ordinaryUserMayEnter("/"))
        GTEST_SKIP() << "there is no ordinary user to become";
    EXPECT_EXIT(reportPriorityOfAUserWithoutRights(), testing::ExitedWithCode(0),
                "^raised 0 policy 0 nicer 0 slack 1$");
}

[[noreturn]] void runWithoutThreads() {
    const rlimit none{};
    if (!becomeOrdinaryUser() || setrlimit(RLIMIT_NPROC, &none) != 0)
        std::_Exit(2);
    bool ran = false;
    SystemThreads().detachNewThread([&] { ran = true; });
    std::_Exit(ran || makeThreadRealtime(gettid(), std::chrono::milliseconds(1)) ? 3 : 0);
}

TEST(SystemThreadsDeathTest, WithoutAThreadTheProgramGoesOn) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    if (!ordinaryUserMayEnter("/"))
        GTEST_SKIP() << "there is no ordinary user to become";
    const std::string line = "Threads: none can be started: Resource temporarily unavailable\n";
    EXPECT_EXIT(runWithoutThreads(), testing::ExitedWithCode(0), "^" + line + line + "$");
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    // The machine's own RealtimeKit is left alone.
    return lightpen::runTests<QCoreApplication>(argc, argv, lightpen::NoBus());
}
