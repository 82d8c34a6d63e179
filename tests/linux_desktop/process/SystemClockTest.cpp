// SPDX-License-Identifier: MIT
#include "linux_desktop/process/SystemClock.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <thread>

#include "kit/Eventually.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;

TEST(SystemClock, CountsMicrosecondsOfTheMonotonicClock) {
    SystemClock clock;
    const auto before = std::chrono::steady_clock::now().time_since_epoch();
    const auto now = clock.now();
    const auto after = std::chrono::steady_clock::now().time_since_epoch();
    EXPECT_GE(now, std::chrono::floor<Microseconds>(before));
    EXPECT_LE(now, std::chrono::ceil<Microseconds>(after));
}

TEST(SystemClock, SleepsAtLeastAsLongAsAsked) {
    SystemClock clock;
    for (const Microseconds duration : {1us, 999us, 16'800us}) {
        const auto before = std::chrono::steady_clock::now();
        clock.sleep(duration);
        EXPECT_GE(std::chrono::steady_clock::now() - before, duration);
    }
}

TEST(SystemClock, DoesNotSleepForNothingOrLess) {
    SystemClock clock;
    clock.sleep(0us);
    clock.sleep(-1h); // would hang or fail if it were taken for a time
    clock.sleep(Microseconds::min());
}

TEST(SystemClock, SleepsOnAfterASignal) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr); // without SA_RESTART
    const pthread_t sleeper = pthread_self();
    std::atomic<bool> awake{false};
    std::atomic<int> signals{0};
    std::thread disturber([&] {
        while (!awake) {
            pthread_kill(sleeper, SIGUSR1);
            ++signals;
            std::this_thread::sleep_for(1ms);
        }
    });
    SystemClock clock;
    // Another sleep where the machine was too busy to disturb one. Two signals may have come beside it: one
    // right before, one right after.
    EXPECT_TRUE(eventually([&] {
        const int earlier = signals;
        const auto before = std::chrono::steady_clock::now();
        clock.sleep(50ms);
        EXPECT_GE(std::chrono::steady_clock::now() - before, 50ms);
        return signals > earlier + 2;
    }));
    awake = true;
    disturber.join();
}

} // namespace
} // namespace lightpen
