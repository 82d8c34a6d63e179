// SPDX-License-Identifier: MIT
#include "webcam/sight/LampShift.h"

#include <algorithm>
#include <cmath>

namespace lightpen::webcam {

namespace {

// A touch moves no further, in camera units.
constexpr double kStill = 40;
// A touch is seen so often: a light that blinks in one picture is seen for two, which are seven looks at
// thirty pictures a second.
constexpr std::size_t kLooks = 10;
// Parts of the mean diagonal. A hand misses a cross by three pixels of a picture that is 1920 wide. A lamp of
// three centimetres that is seen at an angle of 45 degrees is off by a twentieth of a small board.
constexpr double kHand = 0.0015;
constexpr double kMostLamp = 0.05;
// Diagonals that nearly have one direction meet nowhere in particular.
constexpr double kLeastSine = 0.05;

double cross(CameraPoint a, CameraPoint b) {
    return a.x * b.y - a.y * b.x;
}

CameraPoint between(CameraPoint from, CameraPoint to) {
    return {to.x - from.x, to.y - from.y};
}

double length(CameraPoint way) {
    return std::hypot(way.x, way.y);
}

} // namespace

std::optional<CameraPoint> PenTouch::look(std::optional<CameraPoint> pen) {
    if (pen) {
        least_ = looks_ == 0 ? *pen : CameraPoint{std::min(least_.x, pen->x), std::min(least_.y, pen->y)};
        most_ = looks_ == 0 ? *pen : CameraPoint{std::max(most_.x, pen->x), std::max(most_.y, pen->y)};
        sum_ = looks_ == 0 ? *pen : CameraPoint{sum_.x + pen->x, sum_.y + pen->y};
        ++looks_;
        return std::nullopt;
    }
    const auto looks = static_cast<double>(looks_);
    const bool still = length(between(least_, most_)) <= kStill;
    const bool isTouch = ready_ && looks_ >= kLooks && still;
    ready_ = true;
    looks_ = 0;
    return isTouch ? std::optional(CameraPoint{sum_.x / looks, sum_.y / looks}) : std::nullopt;
}

LampFinding findLamp(CameraPoint pen, const std::array<CameraPoint, 4>& points) {
    const auto& [topLeft, topRight, bottomLeft, bottomRight] = points;
    const CameraPoint falling = between(topLeft, bottomRight);
    const CameraPoint rising = between(bottomLeft, topRight);
    const double area = cross(falling, rising);
    const double across = length(falling) * length(rising);
    if (!(std::abs(area) > kLeastSine * across))
        return {};
    const double part = cross(between(topLeft, bottomLeft), rising) / area;
    const CameraPoint middle{topLeft.x + part * falling.x, topLeft.y + part * falling.y};
    const CameraPoint shift = between(middle, pen);
    const double size = (length(falling) + length(rising)) / 2;
    if (!(length(shift) <= kMostLamp * size))
        return {};
    if (length(shift) <= kHand * size)
        return {LampFinding::Kind::none, {}};
    return {LampFinding::Kind::shifted, shift};
}

} // namespace lightpen::webcam
