// SPDX-License-Identifier: MIT
// How long several programs take from a report to an event of a window, beside each other.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "measure/ReportDelays.h"

namespace lightpen::bench {

// In milliseconds.
struct Delays {
    std::vector<double> moves;
    std::vector<double> presses;
    std::size_t pressed = 0; // presses, explained or not
    std::size_t seen = 0;    // moves, explained or not
    std::size_t sent = 0;    // reports with a spot
    std::size_t strokes = 0;

    // What so many strokes have made of these reports.
    void add(const std::vector<SentReport>& reports, const std::vector<CanvasEvent>& events,
             std::size_t strokeCount);
};

// One program, on a quiet machine and on a busy one.
struct Contender {
    std::string name;
    Delays quiet = {};
    Delays loaded = {};
};

// Prints all of them, and adds the ratios to the figures: the drivers wait for their poll by design, so that
// the others, which wait for nothing, are compared as if they had the same wait. Those that did not run are
// left out.
void printDelays(const std::vector<const Contender*>& drivers, std::vector<const Contender*> others);

} // namespace lightpen::bench
