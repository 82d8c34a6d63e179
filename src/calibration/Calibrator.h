// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <memory>

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

// Maps camera points to the screen by the planar projective transformation that carries a quadrilateral's
// corners onto a rectangle's. One thread may set a calibrator up; once it is shared it is only mapped with,
// by any thread.
class Calibrator {
public:
    // A new calibrator, made as below; never null.
    static std::shared_ptr<Calibrator> calibratorWithSourceQuadPoints(const _KVRQuadPoints& sourcePoints,
                                                                      const ScreenRect& destinationRect);
    // There is no calibrator without a quadrilateral: always null.
    static std::shared_ptr<Calibrator> init() { return nullptr; }

    // Solves the coefficients at once. A degenerate quadrilateral (three corners on a line, equal corners)
    // gives coefficients that are not finite, without an error.
    Calibrator(const _KVRQuadPoints& sourcePoints, const ScreenRect& destinationRect);

    // Solves the coefficients for the points and the rectangle of now.
    void calculateConstant();
    // The screen point for a camera point, neither rounded nor cut to the rectangle, and one log line of it.
    ScreenPoint mapPointFrom(CameraPoint point) const;
    // The same without the log line.
    ScreenPoint transformed(CameraPoint point) const;
    // Always true: whoever has several calibrators chooses between them.
    bool pointInside(CameraPoint) const { return true; }

    // The coefficients a to h, of w = g x + h y + 1, X = (a x + b y + c) / w, Y = (d x + e y + f) / w.
    const std::array<float, 8>& vector() const { return vector_; }

    // None of these solves the coefficients anew.
    void setSourcePoints(const _KVRQuadPoints& points) { sourcePoints_ = points; }
    _KVRQuadPoints sourcePoints() const { return sourcePoints_; }
    // In points of the screen.
    void setDestinationRect(const ScreenRect& rect) { destinationRect_ = rect; }
    ScreenRect destinationRect() const { return destinationRect_; }
    // Stored and returned only.
    void setMode(std::int32_t mode) { mode_ = mode; }
    std::int32_t mode() const { return mode_; }

private:
    ScreenRect destinationRect_;
    _KVRQuadPoints sourcePoints_;
    std::int32_t mode_ = 0;
    std::array<float, 8> vector_{};
    // Vertical edges need no special case; the flags stay false and nothing reads them.
    [[maybe_unused]] bool isLeftBoundsVertical = false;
    [[maybe_unused]] bool isRightBoundsVertical = false;
    [[maybe_unused]] bool isTopBoundsVertical = false;
    [[maybe_unused]] bool isBottomBoundsVertical = false;
};

// Here, since out of line the compiler's way with the arguments costs five times the arithmetic.
inline ScreenPoint Calibrator::transformed(CameraPoint point) const {
    const auto [a, b, c, d, e, f, g, h] = std::array<double, 8>{
        vector_[0], vector_[1], vector_[2], vector_[3], vector_[4], vector_[5], vector_[6], vector_[7]};
    // The denominator alone is rounded to single precision.
    const auto w = static_cast<float>(g * point.x + h * point.y + 1.0);
    return {(a * point.x + b * point.y + c) / static_cast<double>(w),
            (d * point.x + e * point.y + f) / static_cast<double>(w)};
}

} // namespace lightpen
