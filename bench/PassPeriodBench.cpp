// SPDX-License-Identifier: MIT
// How far the point thread's pause runs over its 16.8 ms: on a thread with the usual scheduling, and on one
// that has asked for the highest priority, as the point thread does.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "linux_desktop/process/SystemClock.h"
#include "linux_desktop/process/SystemThreads.h"

namespace {

using namespace lightpen;

constexpr Microseconds kPassPeriod{16'800};
constexpr int kPasses = 300;

std::vector<double> overshoots(bool highestPriority) {
    std::vector<double> microseconds;
    std::thread([&] {
        SystemClock clock;
        SystemThreads threads;
        if (highestPriority)
            threads.setThreadPriority(1.0);
        for (int pass = 0; pass < kPasses; ++pass) {
            const Microseconds begin = clock.now();
            clock.sleep(kPassPeriod);
            microseconds.push_back(static_cast<double>((clock.now() - begin - kPassPeriod).count()));
        }
    }).join();
    std::sort(microseconds.begin(), microseconds.end());
    return microseconds;
}

void passPeriod(benchmark::State& state, bool highestPriority) {
    for (auto _ : state) {
        const std::vector<double> sorted = overshoots(highestPriority);
        state.counters["median_us"] = sorted[kPasses / 2];
        state.counters["p99_us"] = sorted[kPasses * 99 / 100];
        state.counters["worst_us"] = sorted.back();
    }
}

BENCHMARK_CAPTURE(passPeriod, ordinary_thread, false)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(passPeriod, point_thread, true)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
