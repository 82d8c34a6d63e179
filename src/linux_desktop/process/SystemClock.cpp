// SPDX-License-Identifier: MIT
#include "linux_desktop/process/SystemClock.h"

#include <cerrno>
#include <ctime>

namespace lightpen {

namespace {

constexpr long kNanosecondsASecond = 1'000'000'000;

timespec monotonicNow() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time); // cannot fail with this clock and a valid address
    return time;
}

} // namespace

Microseconds SystemClock::now() {
    const timespec time = monotonicNow();
    return std::chrono::duration_cast<Microseconds>(std::chrono::seconds(time.tv_sec) +
                                                    std::chrono::nanoseconds(time.tv_nsec));
}

void SystemClock::sleep(Microseconds duration) {
    if (duration <= Microseconds::zero())
        return;
    timespec end = monotonicNow();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
    end.tv_sec += static_cast<std::time_t>(seconds.count());
    end.tv_nsec += static_cast<long>(std::chrono::nanoseconds(duration - seconds).count());
    if (end.tv_nsec >= kNanosecondsASecond) {
        end.tv_nsec -= kNanosecondsASecond;
        ++end.tv_sec;
    }
    // The end is absolute, so an interrupted sleep goes on without adding up errors.
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

} // namespace lightpen
