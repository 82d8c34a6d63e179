// SPDX-License-Identifier: MIT
#include "unit/room/Homography.h"

#include <cmath>

namespace lightpen {

namespace {

// Twice the area of the triangle.
double area(PlanePoint a, PlanePoint b, PlanePoint c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

bool threeOnALine(const Homography::Corners& p) {
    constexpr double kThin = 1e-9;
    return std::abs(area(p[0], p[1], p[2])) < kThin || std::abs(area(p[0], p[1], p[3])) < kThin ||
           std::abs(area(p[0], p[2], p[3])) < kThin || std::abs(area(p[1], p[2], p[3])) < kThin;
}

} // namespace

// With the origin at the first corner the divisor is 1 there, and the other two coefficients of it follow
// from how far the image is from a parallelogram.
std::optional<Homography> Homography::ofRectangle(double width, double height, const Corners& to) {
    if (!(width > 0 && height > 0) || threeOnALine(to))
        return std::nullopt;
    const auto& [a, b, c, d] = to;
    const PlanePoint bent{a.x - b.x + c.x - d.x, a.y - b.y + c.y - d.y};
    const PlanePoint right{b.x - c.x, b.y - c.y};
    const PlanePoint lower{d.x - c.x, d.y - c.y};
    const double size = right.x * lower.y - lower.x * right.y;
    const double g = (bent.x * lower.y - lower.x * bent.y) / size;
    const double h = (right.x * bent.y - bent.x * right.y) / size;
    return Homography({(b.x - a.x + g * b.x) / width, (d.x - a.x + h * d.x) / height, a.x,
                       (b.y - a.y + g * b.y) / width, (d.y - a.y + h * d.y) / height, a.y, g / width,
                       h / height, 1});
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
