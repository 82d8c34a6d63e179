// SPDX-License-Identifier: MIT
#include "webcam/sight/LensModel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <vector>

namespace lightpen::webcam {

namespace {

constexpr std::size_t kUnknowns = 8;
constexpr std::size_t kEnoughDots = 5;
// A pivot that is so small beside the largest entry is none: the dots lie on a line, or nearly.
constexpr double kFlat = 1e-9;
// A plane with a lens leaves no more than this between the dots and their places, as a part of the picture's
// half diagonal: a little more than a pixel of 640 by 480. With more the dots are not what they are said to
// be.
constexpr double kMostError = 0.003;
// How many times more another lens has to explain than one more number does by chance.
constexpr double kBetter = 8;

// Sums of the equations of a plane's mapping, with their right sides. Places are brought near to 0 and 1
// before.
using Equations = std::array<std::array<double, kUnknowns + 1>, kUnknowns>;
using Mapping = std::array<double, kUnknowns>;

// A place of either plane, brought near to 0 and 1.
struct Place {
    double x = 0;
    double y = 0;
};

struct Pair {
    Place shown;
    Place seen; // in halves of the picture's diagonal, from its centre
};

Place straightened(Place seen, double k) {
    const double factor = 1 + k * (seen.x * seen.x + seen.y * seen.y);
    return {seen.x * factor, seen.y * factor};
}

void addEquation(Equations& sums, const Mapping& row, double right) {
    for (std::size_t i = 0; i < kUnknowns; ++i) {
        for (std::size_t j = 0; j < kUnknowns; ++j)
            sums[i][j] += row[i] * row[j];
        sums[i][kUnknowns] += row[i] * right;
    }
}

Equations equationsOf(const std::vector<Pair>& pairs, double k) {
    Equations sums{};
    for (const auto& [shown, seen] : pairs) {
        const Place to = straightened(seen, k);
        addEquation(sums, {shown.x, shown.y, 1, 0, 0, 0, -shown.x * to.x, -shown.y * to.x}, to.x);
        addEquation(sums, {0, 0, 0, shown.x, shown.y, 1, -shown.x * to.y, -shown.y * to.y}, to.y);
    }
    return sums;
}

// None where the equations do not tell all of the unknowns.
std::optional<Mapping> solved(Equations sums) {
    double largest = 0;
    for (std::size_t i = 0; i < kUnknowns; ++i)
        largest = std::max(largest, sums[i][i]);
    for (std::size_t pivot = 0; pivot < kUnknowns; ++pivot) {
        for (std::size_t row = pivot + 1; row < kUnknowns; ++row)
            if (std::abs(sums[row][pivot]) > std::abs(sums[pivot][pivot]))
                std::swap(sums[row], sums[pivot]);
        if (!(std::abs(sums[pivot][pivot]) > kFlat * largest))
            return std::nullopt;
        for (std::size_t row = 0; row < kUnknowns; ++row) {
            const double factor = row == pivot ? 0 : sums[row][pivot] / sums[pivot][pivot];
            for (std::size_t column = pivot; column <= kUnknowns; ++column)
                sums[row][column] -= factor * sums[pivot][column];
        }
    }
    Mapping mapping{};
    for (std::size_t i = 0; i < kUnknowns; ++i)
        mapping[i] = sums[i][kUnknowns] / sums[i][i];
    return mapping;
}

// The sum of the squared distances that are left with this k; none where no plane can be told.
std::optional<double> leftOver(const std::vector<Pair>& pairs, double k) {
    const auto m = solved(equationsOf(pairs, k));
    if (!m)
        return std::nullopt;
    const auto& [a, b, c, d, e, f, g, h] = *m;
    double sum = 0;
    for (const auto& [shown, seen] : pairs) {
        const Place to = straightened(seen, k);
        const double w = g * shown.x + h * shown.y + 1;
        const double dx = (a * shown.x + b * shown.y + c) / w - to.x;
        const double dy = (d * shown.x + e * shown.y + f) / w - to.y;
        sum += dx * dx + dy * dy;
    }
    if (!std::isfinite(sum))
        return std::nullopt;
    return sum;
}

// Narrows the range of k to where the least is left over.
double bestBend(const std::vector<Pair>& pairs) {
    constexpr double kGolden = 0.6180339887498949;
    constexpr int kSteps = 50; // to some 1e-11
    const auto left = [&](double k) { return leftOver(pairs, k).value_or(HUGE_VAL); };
    double low = -LensModel::kMost;
    double high = LensModel::kMost;
    double lower = high - kGolden * (high - low);
    double upper = low + kGolden * (high - low);
    double atLower = left(lower);
    double atUpper = left(upper);
    for (int step = 0; step < kSteps; ++step)
        if (atLower < atUpper) {
            high = upper;
            upper = lower;
            atUpper = atLower;
            lower = high - kGolden * (high - low);
            atLower = left(lower);
        } else {
            low = lower;
            lower = upper;
            atLower = atUpper;
            upper = low + kGolden * (high - low);
            atUpper = left(upper);
        }
    return (low + high) / 2;
}

// The dots with both places near to 0 and 1; empty when there is none, or one is not finite, or the sizes are
// none.
std::vector<Pair> normalised(std::span<const SeenDot> dots, int width, int height) {
    if (dots.empty() || width <= 0 || height <= 0)
        return {};
    const double half = std::hypot(width, height) / 2;
    double meanX = 0;
    double meanY = 0;
    for (const SeenDot& dot : dots) {
        meanX += dot.shown.x / static_cast<double>(dots.size());
        meanY += dot.shown.y / static_cast<double>(dots.size());
    }
    double spread = 0;
    for (const SeenDot& dot : dots)
        spread = std::max({spread, std::abs(dot.shown.x - meanX), std::abs(dot.shown.y - meanY)});
    if (!(spread > 0))
        return {};
    std::vector<Pair> pairs;
    for (const SeenDot& dot : dots) {
        pairs.push_back(
            {{(dot.shown.x - meanX) / spread, (dot.shown.y - meanY) / spread},
             {(dot.seen.x - (width - 1) / 2.0) / half, (dot.seen.y - (height - 1) / 2.0) / half}});
        const auto& [shown, seen] = pairs.back();
        if (!std::isfinite(shown.x + shown.y + seen.x + seen.y))
            return {};
    }
    return pairs;
}

} // namespace

LensModel::LensModel(int width, int height, double k) {
    if (width <= 0 || height <= 0 || !(std::abs(k) <= kMost))
        return;
    k_ = k;
    centreX_ = (width - 1) / 2.0;
    centreY_ = (height - 1) / 2.0;
    halfDiagonal_ = std::hypot(width, height) / 2;
}

PicturePoint LensModel::undistorted(PicturePoint point) const {
    if (k_ == 0)
        return point;
    const double x = point.x - centreX_;
    const double y = point.y - centreY_;
    const double factor = k_ * (x * x + y * y) / (halfDiagonal_ * halfDiagonal_);
    return {point.x + x * factor, point.y + y * factor};
}

LensEstimate estimateLens(std::span<const SeenDot> dots, int width, int height, double before) {
    LensEstimate estimate;
    const std::vector<Pair> pairs = normalised(dots, width, height);
    const auto straight = leftOver(pairs, 0);
    if (!straight)
        return estimate;
    const double half = std::hypot(width, height) / 2;
    const auto count = static_cast<double>(pairs.size());
    estimate.straightError = half * std::sqrt(*straight / count);
    estimate.error = estimate.straightError;
    if (pairs.size() < kEnoughDots)
        return estimate;
    const double k = bestBend(pairs);
    const double left = leftOver(pairs, k).value_or(*straight);
    const double believed = leftOver(pairs, before).value_or(HUGE_VAL);
    const double chance = left / (2 * count - static_cast<double>(kUnknowns + 1));
    const bool inRange = std::abs(k) < LensModel::kMost * 0.99;
    if (!inRange || !(believed - left > kBetter * chance) || left > kMostError * kMostError * count)
        return estimate;
    estimate.lens = LensModel(width, height, k);
    estimate.known = true;
    estimate.error = half * std::sqrt(left / count);
    return estimate;
}

} // namespace lightpen::webcam
