// SPDX-License-Identifier: MIT
// What is measured goes into one file, from which scripts/measure makes its document.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace lightpen {

// What a figure is to keep below, or at: its own value, its ratio to the other, or the difference from it.
enum class Goal { none, value, ratio, difference };

struct Figure {
    std::string what;
    std::string unit; // of both values; empty for a count
    double ours = 0;
    std::string against = {}; // whose the other value is; empty when there is none
    double theirs = 0;
    Goal goal = Goal::none;
    double limit = 0; // of the goal, itself included
};

// Appends a line to the file that LIGHTPEN_FIGURES names. Without that name, nothing.
inline void writeFigureLine(const std::string& line) {
    const char* const name =
        std::getenv("LIGHTPEN_FIGURES"); // NOLINT(concurrency-mt-unsafe): nobody sets any
    std::FILE* const file = name ? std::fopen(name, "a") : nullptr;
    if (!file)
        return;
    std::fputs((line + '\n').c_str(), file);
    std::fclose(file);
}

inline void writeFigure(const Figure& figure) {
    static constexpr const char* kGoals[] = {"none", "value", "ratio", "difference"};
    writeFigureLine("figure\t" + figure.what + '\t' + figure.unit + '\t' + std::to_string(figure.ours) +
                    '\t' + figure.against + '\t' + std::to_string(figure.theirs) + '\t' +
                    kGoals[static_cast<int>(figure.goal)] + '\t' + std::to_string(figure.limit));
}

// A sentence below the figures.
inline void writeRemark(const std::string& text) {
    writeFigureLine("remark\t" + text);
}

// Microseconds for the picture of how they are spread, one row of it; quiet and under load share a row.
inline void writeDelays(const std::string& row, bool underLoad, const std::vector<double>& microseconds) {
    std::string line = "delays\t" + row + '\t' + (underLoad ? "load" : "quiet");
    for (const double delay : microseconds)
        line += '\t' + std::to_string(delay);
    writeFigureLine(line);
}

} // namespace lightpen
