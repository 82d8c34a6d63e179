// SPDX-License-Identifier: MIT
// Runs benchmarks and prints, below their usual table, how ours compare with others of the same run.
#pragma once

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <QApplication>

#include <benchmark/benchmark.h>

#include "measure/Figures.h"

namespace lightpen::bench {

// One line of the table: the time of ours divided by the time of theirs, by the names of the benchmarks.
struct Ratio {
    std::string what; // "ours : theirs", in words
    std::string ours;
    std::string theirs;
    // The ratio is meant to be below this; 0 where the comparison is for information only.
    double aim = 0;
};

// One line below it: what share of a processor's core it takes to do this so many times a second.
struct Share {
    std::string what;
    std::string ours; // the benchmark's name
    double times = 0; // a second
    double aim = 0;   // it is meant to be no more percent than this
};

// Shows the medians and how far the runs vary, and keeps every single run for the ratios.
class RatioReporter final : public benchmark::ConsoleReporter {
public:
    RatioReporter() : ConsoleReporter(OO_None) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        std::vector<Run> shown;
        for (const Run& run : runs) {
            if (run.error_occurred || run.aggregate_name == "median" || run.aggregate_name == "cv")
                shown.push_back(run);
            else if (run.run_type == Run::RT_Iteration)
                times_[nameOf(run)].push_back(run.GetAdjustedCPUTime());
        }
        if (!shown.empty())
            ConsoleReporter::ReportRuns(shown);
    }

    // The median of a benchmark's repetitions in nanoseconds of the processor's time; 0 when it has not run.
    double median(const std::string& name) const {
        const auto found = times_.find(name);
        if (found == times_.end())
            return 0;
        std::vector<double> times = found->second;
        std::sort(times.begin(), times.end());
        return times[times.size() / 2];
    }

    void printRatios(const std::vector<Ratio>& ratios) const {
        std::printf("\n%-52s %10s %10s %8s %8s\n", "Ratios of median CPU time", "ours, ns", "theirs, ns",
                    "ratio", "aim");
        for (const Ratio& ratio : ratios) {
            const double ours = median(ratio.ours);
            const double theirs = median(ratio.theirs);
            if (ours <= 0 || theirs <= 0)
                std::printf("%-52s not run\n", ratio.what.c_str());
            else
                print(ratio, ours, theirs);
        }
    }

    void printShares(const std::vector<Share>& shares) const {
        for (const Share& share : shares) {
            const double percent = median(share.ours) * share.times / 1e9 * 100;
            if (percent <= 0) {
                std::printf("%s: not run\n", share.what.c_str());
                continue;
            }
            std::printf("%s: %.2f %% of a core   <=%.0f %s\n", share.what.c_str(), percent, share.aim,
                        percent <= share.aim ? "met" : "missed");
            writeFigure({share.what, "% of a core", percent, "", 0, Goal::value, share.aim});
        }
    }

private:
    static void print(const Ratio& ratio, double ours, double theirs) {
        std::printf("%-52s %10.1f %10.1f %8.3f", ratio.what.c_str(), ours, theirs, ours / theirs);
        if (ratio.aim > 0)
            std::printf("   <%4.2f %s", ratio.aim, ours / theirs < ratio.aim ? "met" : "missed");
        std::putchar('\n');
        const std::size_t colon = ratio.what.find(" : ");
        writeFigure({ratio.what.substr(0, colon), "ns", ours,
                     colon == std::string::npos ? "" : ratio.what.substr(colon + 3), theirs,
                     ratio.aim > 0 ? Goal::ratio : Goal::none, ratio.aim});
    }
    static std::string nameOf(const Run& run) {
        return run.run_name.function_name + (run.run_name.args.empty() ? "" : "/" + run.run_name.args);
    }
    std::map<std::string, std::vector<double>> times_;
};

// The main function of a bench: the usual options of Google Benchmark, repetitions in mixed order (so that a
// busy moment of the machine does not hit one side alone), then the ratios and the shares. They run with Qt's
// application object, which the calibration's widgets need, and no display. Returns the exit status.
inline int runWithRatios(int argc, char** argv, const std::vector<Ratio>& ratios,
                         const std::vector<Share>& shares = {}) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    std::string defaults[] = {"--benchmark_repetitions=7", "--benchmark_min_time=0.2",
                              "--benchmark_enable_random_interleaving=true"};
    std::vector<char*> arguments{argv[0]};
    for (std::string& option : defaults)
        arguments.push_back(option.data());
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 1;
    RatioReporter reporter;
    if (benchmark::RunSpecifiedBenchmarks(&reporter) == 0)
        return 1;
    reporter.printRatios(ratios);
    reporter.printShares(shares);
    return 0;
}

} // namespace lightpen::bench
