// SPDX-License-Identifier: MIT
#include "linux_desktop/process/SystemThreads.h"

#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <utility>

#include "linux_desktop/process/RealtimeKit.h"

namespace lightpen {

namespace {

// Above ordinary work, below what the kernel and the sound server use.
constexpr int kRealtimePriority = 10;
constexpr int kLowestNice = -20;
constexpr std::chrono::milliseconds kBusPatience{250};

bool becomeRealtime() {
    sched_param parameters{};
    parameters.sched_priority = kRealtimePriority;
    // Programs that this one starts must not inherit it.
    return sched_setscheduler(0, SCHED_RR | SCHED_RESET_ON_FORK, &parameters) == 0;
}

// On Linux a nice value belongs to a thread.
bool becomeLessNice(pid_t thread) {
    if (setpriority(PRIO_PROCESS, static_cast<id_t>(thread), kLowestNice) == 0)
        return true;
    rlimit limit{};
    if (getrlimit(RLIMIT_NICE, &limit) != 0 || limit.rlim_cur <= 20)
        return false;
    const int allowed = limit.rlim_cur >= 40 ? kLowestNice : 20 - static_cast<int>(limit.rlim_cur);
    return setpriority(PRIO_PROCESS, static_cast<id_t>(thread), allowed) == 0;
}

} // namespace

void SystemThreads::detachNewThread(std::function<void()> entry) {
    std::thread(std::move(entry)).detach();
}

bool SystemThreads::setThreadPriority(double priority) {
    if (priority < 1.0)
        return false;
    // Sleeps then end some 50 us nearer to their time. It needs no privilege; without it they are just later.
    (void)prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    const pid_t thread = gettid();
    return becomeRealtime() || makeThreadRealtime(thread, kBusPatience) || becomeLessNice(thread);
}

} // namespace lightpen
