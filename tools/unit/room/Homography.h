// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>

namespace lightpen {

// A point of either plane.
struct PlanePoint {
    double x = 0;
    double y = 0;
};

// A projective mapping of one plane onto another, in double precision:
//   x' = (m0 x + m1 y + m2) / w,  y' = (m3 x + m4 y + m5) / w,  w = m6 x + m7 y + m8
class Homography {
public:
    using Corners = std::array<PlanePoint, 4>;

    // The mapping that takes the corners of a rectangle, from the origin on and around it by its right side,
    // to these; none when three of them lie on a line or the rectangle has no area.
    static std::optional<Homography> ofRectangle(double width, double height, const Corners& to);

    // The mapped point; w is 0 at the horizon, where the result is not finite.
    PlanePoint map(PlanePoint point) const;
    // The divisor of map: its sign tells the sides of the horizon apart.
    double depth(PlanePoint point) const;
    // The mapping back.
    Homography inverse() const;

private:
    explicit Homography(const std::array<double, 9>& m) : m_(m) {}
    std::array<double, 9> m_;
};

} // namespace lightpen
