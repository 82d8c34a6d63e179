// SPDX-License-Identifier: MIT
#include "unit/room/Homography.h"

#include <cmath>
#include <utility>

namespace lightpen {

namespace {

constexpr std::size_t kUnknowns = 8;
using Row = std::array<double, kUnknowns + 1>; // coefficients and right side
using System = std::array<Row, kUnknowns>;

// Twice the area of the triangle.
double area(PlanePoint a, PlanePoint b, PlanePoint c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

bool threeOnALine(const Homography::Corners& p) {
    constexpr double kThin = 1e-9;
    return std::abs(area(p[0], p[1], p[2])) < kThin || std::abs(area(p[0], p[1], p[3])) < kThin ||
           std::abs(area(p[0], p[2], p[3])) < kThin || std::abs(area(p[1], p[2], p[3])) < kThin;
}

void eliminate(System& system, std::size_t column) {
    std::size_t pivot = column;
    for (std::size_t row = column + 1; row < kUnknowns; ++row)
        if (std::abs(system[row][column]) > std::abs(system[pivot][column]))
            pivot = row;
    std::swap(system[column], system[pivot]);
    for (std::size_t row = column + 1; row < kUnknowns; ++row) {
        const double factor = system[row][column] / system[column][column];
        for (std::size_t k = column; k <= kUnknowns; ++k)
            system[row][k] -= factor * system[column][k];
    }
}

std::array<double, kUnknowns> solve(System system) {
    for (std::size_t column = 0; column < kUnknowns; ++column)
        eliminate(system, column);
    std::array<double, kUnknowns> solution{};
    for (std::size_t row = kUnknowns; row-- > 0;) {
        double value = system[row][kUnknowns];
        for (std::size_t k = row + 1; k < kUnknowns; ++k)
            value -= system[row][k] * solution[k];
        solution[row] = value / system[row][row];
    }
    return solution;
}

} // namespace

std::optional<Homography> Homography::between(const Corners& from, const Corners& to) {
    if (threeOnALine(from) || threeOnALine(to))
        return std::nullopt;
    System system{};
    for (std::size_t corner = 0; corner < from.size(); ++corner) {
        const auto [x, y] = from[corner];
        const auto [u, v] = to[corner];
        system[2 * corner] = {x, y, 1, 0, 0, 0, -x * u, -y * u, u};
        system[2 * corner + 1] = {0, 0, 0, x, y, 1, -x * v, -y * v, v};
    }
    const auto h = solve(system);
    const Homography found({h[0], h[1], h[2], h[3], h[4], h[5], h[6], h[7], 1});
    // A mapping that takes the origin to the horizon has no such form.
    for (const double coefficient : h)
        if (!std::isfinite(coefficient))
            return std::nullopt;
    return found;
}

double Homography::depth(PlanePoint p) const {
    return m_[6] * p.x + m_[7] * p.y + m_[8];
}

PlanePoint Homography::map(PlanePoint p) const {
    const double w = depth(p);
    return {(m_[0] * p.x + m_[1] * p.y + m_[2]) / w, (m_[3] * p.x + m_[4] * p.y + m_[5]) / w};
}

Homography Homography::inverse() const {
    const auto& [a, b, c, d, e, f, g, h, i] = m_;
    return Homography({e * i - f * h, c * h - b * i, b * f - c * e, f * g - d * i, a * i - c * g,
                       c * d - a * f, d * h - e * g, b * g - a * h, a * e - b * d});
}

} // namespace lightpen
