// SPDX-License-Identifier: MIT
#include "measure/Accuracy.h"

#include <array>
#include <cmath>

namespace lightpen {

namespace {

// The parts of the screen at which the columns and rows of the grid stand.
constexpr std::array kColumns = {0.013, 0.107, 0.268, 0.391, 0.523, 0.684, 0.829, 0.986};
constexpr std::array kRows = {0.021, 0.213, 0.437, 0.706, 0.974};
// Columns and rows are not straight either: places stand off by so many points, which they take in turn.
constexpr std::array kShifts = {0.31, -2.77, 1.64, 3.18, -0.92, -3.49, 2.25};

ScreenPoint cut(ScreenPoint point) {
    return {std::trunc(point.x), std::trunc(point.y)};
}

std::string figures(const Spread& spread) {
    return formatted("  %6.2f %5.2f %5.2f", spread.median, spread.percentile95, spread.worst);
}

std::string figures(const Distances& distances) {
    return figures(distances.mapped) + figures(distances.pointer);
}

} // namespace

std::vector<ScreenPoint> unevenGrid(Size screen) {
    std::vector<ScreenPoint> points;
    for (const double row : kRows)
        for (const double column : kColumns) {
            const double shiftX = kShifts[points.size() % kShifts.size()];
            const double shiftY = kShifts[(3 * points.size() + 1) % kShifts.size()];
            points.push_back({column * screen.width + shiftX, row * screen.height + shiftY});
        }
    return points;
}

Accuracy accuracyOf(const std::vector<Tap>& taps, const Optics& optics) {
    std::vector<double> mapped;
    std::vector<double> pointer;
    std::vector<double> limitMapped;
    std::vector<double> limitPointer;
    for (const Tap& tap : taps) {
        const ScreenPoint exact = optics.unproject(tap.reported);
        mapped.push_back(distance(tap.hand, tap.mapped));
        pointer.push_back(distance(tap.hand, tap.pointer));
        limitMapped.push_back(distance(tap.hand, exact));
        limitPointer.push_back(distance(tap.hand, cut(exact)));
    }
    return {{spreadOf(mapped), spreadOf(pointer)}, {spreadOf(limitMapped), spreadOf(limitPointer)}};
}

std::string tableOf(const std::vector<AccuracyRow>& rows) {
    std::string table = formatted("  %-39s  %-40s%s\n", "From the hand to where it comes out, in", "reached",
                                  "limit of the camera's whole numbers") +
                        formatted("  %-39s  %-20s%-20s%-20s%s\n", "points (median, 95 of 100, worst)",
                                  "mapped point", "pointer", "mapped point", "pointer");
    for (const AccuracyRow& row : rows)
        table += formatted("  %-18s %-10s ", row.pose.c_str(), row.session.c_str()) +
                 (row.noise > 0 ? formatted("noise %.1f", row.noise) : "no noise ") +
                 figures(row.accuracy.reached) + figures(row.accuracy.limit) + "\n";
    return table;
}

std::vector<std::string> missedAims(const std::vector<AccuracyRow>& rows, const AccuracyAims& aims) {
    std::vector<std::string> sentences;
    const auto check = [&](const AccuracyRow& row, const char* what, double figure, double aim, bool met) {
        if (!met)
            sentences.push_back(row.pose + ", " + row.session + ": " + what +
                                formatted(" is %.3f, the aim is %.2f.", figure, aim));
    };
    for (const AccuracyRow& row : rows) {
        if (row.noise > 0)
            continue;
        const auto& [mapped, pointer] = row.accuracy.reached;
        if (mapped.count == 0)
            sentences.push_back(row.pose + ", " + row.session + ": nothing was measured.");
        check(row, "the mapped point's median", mapped.median, aims.mappedMedian,
              mapped.median <= aims.mappedMedian);
        check(row, "the mapped point's worst", mapped.worst, aims.mappedWorst,
              mapped.worst < aims.mappedWorst);
        check(row, "the pointer's median", pointer.median, aims.pointerMedian,
              pointer.median <= aims.pointerMedian);
        check(row, "the pointer's worst", pointer.worst, aims.pointerWorst,
              pointer.worst < aims.pointerWorst);
    }
    return sentences;
}

} // namespace lightpen
