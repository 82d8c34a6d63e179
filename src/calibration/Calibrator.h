// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>

#include "platform/Geometry.h"

namespace lightpen {

// The camera's view of the four targets around one cell of the target grid, clockwise.
struct _KVRQuadPoints {
    CameraPoint topLeft;
    CameraPoint topRight;
    CameraPoint bottomRight;
    CameraPoint bottomLeft;
    friend bool operator==(const _KVRQuadPoints&, const _KVRQuadPoints&) = default;
};

// The planar projective transformation itself, as a value: the coefficients a to h, of w = g x + h y + 1,
// X = (a x + b y + c) / w, Y = (d x + e y + f) / w.
struct Projection {
    std::array<float, 8> vector{};

    // The screen point for a camera point, neither rounded nor cut to the rectangle.
    ScreenPoint transformed(CameraPoint point) const;
    // The same, and one log line of it.
    ScreenPoint mapPointFrom(CameraPoint point) const;
};

// Maps camera points to the screen by the planar projective transformation that carries a quadrilateral's
// corners onto a rectangle's. One thread may set a calibrator up; once it is shared it is only mapped with,
// by any thread.
class Calibrator {
public:
    // A new calibrator, as the constructor makes it; never null.
    static std::shared_ptr<Calibrator> calibratorWithSourceQuadPoints(const _KVRQuadPoints& sourcePoints,
                                                                      const ScreenRect& destinationRect);
    // Solves the coefficients at once. A degenerate quadrilateral (three corners on a line, equal corners)
    // gives coefficients that are not finite, without an error.
    Calibrator(const _KVRQuadPoints& sourcePoints, const ScreenRect& destinationRect);

    // Solves the coefficients for the points and the rectangle of now.
    void calculateConstant();
    // As the projection does.
    ScreenPoint mapPointFrom(CameraPoint point) const { return projection_.mapPointFrom(point); }
    ScreenPoint transformed(CameraPoint point) const { return projection_.transformed(point); }
    // The same for each point of a block, but for the last few bits: one division serves both coordinates.
    // There is room for as many results.
    void transformed(std::span<const CameraPoint> points, std::span<ScreenPoint> results) const;
    // Always true: the choice between several calibrators is the caller's.
    bool pointInside(CameraPoint) const { return true; }

    const Projection& projection() const { return projection_; }
    const std::array<float, 8>& vector() const { return projection_.vector; }

    _KVRQuadPoints sourcePoints() const { return sourcePoints_; }
    // In points of the screen.
    ScreenRect destinationRect() const { return destinationRect_; }

private:
    ScreenRect destinationRect_;
    _KVRQuadPoints sourcePoints_;
    Projection projection_;

    // --- Kept by name: the program neither calls these operations nor uses these values.

public:
    // Always null, since a calibrator needs its quadrilateral.
    static std::shared_ptr<Calibrator> init() { return nullptr; }
    // Neither setter solves the coefficients anew.
    void setSourcePoints(const _KVRQuadPoints& points) { sourcePoints_ = points; }
    void setDestinationRect(const ScreenRect& rect) { destinationRect_ = rect; }
    void setMode(std::int32_t mode) { mode_ = mode; }
    std::int32_t mode() const { return mode_; }

private:
    std::int32_t mode_ = 0;
    // Always false: vertical edges need no special case.
    [[maybe_unused]] bool isLeftBoundsVertical = false;
    [[maybe_unused]] bool isRightBoundsVertical = false;
    [[maybe_unused]] bool isTopBoundsVertical = false;
    [[maybe_unused]] bool isBottomBoundsVertical = false;
};

// Inline: a call costs five times the arithmetic.
inline ScreenPoint Projection::transformed(CameraPoint point) const {
    const auto [a, b, c, d, e, f, g, h] = std::array<double, 8>{vector[0], vector[1], vector[2], vector[3],
                                                                vector[4], vector[5], vector[6], vector[7]};
    // The denominator alone is rounded to single precision.
    const auto w = static_cast<float>(g * point.x + h * point.y + 1.0);
    return {(a * point.x + b * point.y + c) / static_cast<double>(w),
            (d * point.x + e * point.y + f) / static_cast<double>(w)};
}

} // namespace lightpen
