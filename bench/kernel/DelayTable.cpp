// SPDX-License-Identifier: MIT
#include "bench/kernel/DelayTable.h"

#include <cstdio>

#include "measure/Analysis.h"
#include "measure/Figures.h"

namespace lightpen::bench {

namespace {

// A report comes each 8 ms and the driver looks each 16.8 ms for the newest: by design, what it takes is 0 to
// 8 ms old, and a touch has begun 0 to 16.8 ms ago.
constexpr double kMostWaitOfMoves = 8.0;
constexpr double kMostWaitOfPresses = 16.8;

const Delays& delaysOf(const Contender& contender, bool load) {
    return load ? contender.loaded : contender.quiet;
}
const std::vector<double>& delaysOf(const Contender& contender, bool moves, bool load) {
    const Delays& delays = delaysOf(contender, load);
    return moves ? delays.moves : delays.presses;
}

// The delays as they would be if each event also had to wait for the driver's poll.
std::vector<double> withWait(const std::vector<double>& delays, double mostWait) {
    constexpr int kParts = 32;
    std::vector<double> waited;
    for (const double delay : delays)
        for (int part = 0; part < kParts; ++part)
            waited.push_back(delay + mostWait * (part + 0.5) / kParts);
    return waited;
}

void printRow(const std::string& name, const std::vector<double>& values) {
    const Spread spread = spreadOf(values);
    std::printf("  %-58s %6zu %9.2f %9.2f %9.2f %9.2f\n", name.c_str(), spread.count, spread.median,
                spread.percentile95, spread.percentile99, spread.mean);
}

void compare(const std::string& what, const Contender& driver, const Contender& other, bool moves,
             bool load) {
    const double mostWait = moves ? kMostWaitOfMoves : kMostWaitOfPresses;
    const Spread one = spreadOf(delaysOf(driver, moves, load));
    const Spread alone = spreadOf(delaysOf(other, moves, load));
    const Spread waited = spreadOf(withWait(delaysOf(other, moves, load), mostWait));
    const std::string against = other.name + ", and that wait";
    const std::string of = what + ", " + driver.name;
    writeFigure({of + ", median", "ms", one.median, against, waited.median});
    writeFigure({of + ", 99th percentile", "ms", one.percentile99, against, waited.percentile99});
    writeFigure({of + ", mean beyond the wait", "ms", one.mean - mostWait / 2, other.name, alone.mean});
    std::printf("  %-58s %6s %9.2f %9s %9.2f %9.2f\n", ("  : " + against).c_str(), "",
                one.median / waited.median, "", one.percentile99 / waited.percentile99,
                (one.mean - mostWait / 2) / alone.mean);
}

void printKind(const std::vector<const Contender*>& drivers, const std::vector<const Contender*>& others,
               bool moves, bool load) {
    const std::string what =
        std::string(moves ? "report to move" : "touch to press") + (load ? " under load" : "");
    std::printf("%-60s %6s %9s %9s %9s %9s\n", (what + ", milliseconds").c_str(), "count", "median", "p95",
                "p99", "mean");
    for (const Contender* other : others)
        printRow(other->name, delaysOf(*other, moves, load));
    for (const Contender* driver : drivers) {
        printRow(driver->name, delaysOf(*driver, moves, load));
        for (const Contender* other : others)
            compare(what, *driver, *other, moves, load);
    }
}

void printCounts(const Contender& contender, bool load) {
    const Delays& delays = delaysOf(contender, load);
    const std::string what = contender.name + (load ? ", under load" : "");
    writeFigure({"presses, " + what, "", static_cast<double>(delays.pressed), "strokes of the hand",
                 static_cast<double>(delays.strokes)});
    std::printf("  %s: %zu strokes became %zu presses, %zu reports %zu moves, %zu explained\n", what.c_str(),
                delays.strokes, delays.pressed, delays.sent, delays.seen, delays.moves.size());
}

} // namespace

void Delays::add(const std::vector<SentReport>& reports, const std::vector<CanvasEvent>& events,
                 std::size_t strokeCount) {
    for (const double delay : moveDelays(reports, events))
        moves.push_back(delay);
    for (const double delay : pressDelays(reports, events))
        presses.push_back(delay);
    pressed += countOf(events, CanvasEvent::Kind::press);
    seen += countOf(events, CanvasEvent::Kind::move);
    sent += reports.size();
    strokes += strokeCount;
}

void printDelays(const std::vector<const Contender*>& drivers, std::vector<const Contender*> others) {
    std::erase_if(others, [](const Contender* other) { return other->quiet.strokes == 0; });
    for (const bool load : {false, true})
        for (const bool moves : {true, false})
            printKind(drivers, others, moves, load);
    for (const bool load : {false, true}) {
        for (const Contender* driver : drivers)
            printCounts(*driver, load);
        for (const Contender* other : others)
            printCounts(*other, load);
    }
}

} // namespace lightpen::bench
