// SPDX-License-Identifier: MIT
// How far the point thread's pause runs over its 16.8 ms, on a quiet machine and on a busy one: with the
// priority that the point thread asks for, and with what it gets where nobody may have any.
//
//   PassPeriodBench [PASSES]    1,200 for each of the four rows unless said otherwise, which is 80 seconds
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "linux_desktop/process/SystemClock.h"
#include "linux_desktop/process/SystemThreads.h"
#include "measure/Analysis.h"
#include "measure/Figures.h"
#include "measure/Load.h"

namespace lightpen::bench {
namespace {

constexpr Microseconds kPassPeriod{16'800};
constexpr int kPasses = 1200;
// What load may add to the 99th percentile where real-time priority is to be had, in microseconds.
constexpr double kMostAdded = 1000;

struct Delays {
    std::string priority;
    std::vector<double> microseconds;
};

// What the calling thread has.
std::string priorityInWords() {
    const int policy = sched_getscheduler(0) & ~SCHED_RESET_ON_FORK;
    if (policy == SCHED_RR || policy == SCHED_FIFO)
        return "real-time priority";
    const int nice = getpriority(PRIO_PROCESS, 0);
    return nice == 0 ? "ordinary priority" : "nice " + std::to_string(nice);
}

Delays measure(int passes, bool asksForPriority) {
    Delays delays;
    std::thread([&] {
        SystemClock clock;
        if (asksForPriority)
            SystemThreads().setThreadPriority(1.0);
        else
            prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL); // which needs no right
        delays.priority = priorityInWords();
        for (int pass = 0; pass < passes; ++pass) {
            const Microseconds begin = clock.now();
            clock.sleep(kPassPeriod);
            delays.microseconds.push_back(static_cast<double>((clock.now() - begin - kPassPeriod).count()));
        }
    }).join();
    return delays;
}

void print(const Delays& delays, const char* machine) {
    const Spread spread = spreadOf(delays.microseconds);
    std::printf("%-20s %-6s %8.0f %8.0f %8.0f\n", delays.priority.c_str(), machine, spread.median,
                spread.percentile99, spread.worst);
    std::fflush(stdout);
}

void write(const Delays& quiet, const Delays& loaded) {
    const Spread before = spreadOf(quiet.microseconds);
    const Spread after = spreadOf(loaded.microseconds);
    const std::string of = "delay of a pass, " + loaded.priority;
    const bool realTime = loaded.priority == "real-time priority";
    writeFigure({of + ", under load, median", "µs", after.median, "the quiet machine", before.median});
    writeFigure({of + ", under load, 99th percentile", "µs", after.percentile99, "the quiet machine",
                 before.percentile99, realTime ? Goal::difference : Goal::none, kMostAdded});
    writeDelays(loaded.priority, false, quiet.microseconds);
    writeDelays(loaded.priority, true, loaded.microseconds);
}

void run(int passes) {
    std::printf("%-20s %-6s %8s %8s %8s   microseconds behind %.1f ms\n", "delay of a pass", "", "median",
                "p99", "worst", static_cast<double>(kPassPeriod.count()) / 1000);
    constexpr std::array kAsks{true, false};
    std::array<Delays, 2> quiet, loaded;
    for (std::size_t i = 0; i < kAsks.size(); ++i)
        print(quiet[i] = measure(passes, kAsks[i]), "quiet");
    // Beside the program, which a file system in memory rarely is.
    const Load load(std::filesystem::read_symlink("/proc/self/exe").parent_path());
    for (std::size_t i = 0; i < kAsks.size(); ++i) {
        print(loaded[i] = measure(passes, kAsks[i]), "load");
        write(quiet[i], loaded[i]);
    }
}

} // namespace
} // namespace lightpen::bench

int main(int argc, char** argv) {
    const int passes = argc == 2 ? std::atoi(argv[1]) : lightpen::bench::kPasses;
    if (argc > 2 || passes <= 0) {
        std::fputs("usage: PassPeriodBench [PASSES]\n", stderr);
        return 2;
    }
    try {
        lightpen::bench::run(passes);
        return EXIT_SUCCESS;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "%s\n", problem.what());
        return EXIT_FAILURE;
    }
}
