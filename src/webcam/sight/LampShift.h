// SPDX-License-Identifier: MIT
// A pen's light that stands off the surface is seen beside the place that its tip touches. How far is found
// by one touch of the picture's middle.
#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "platform/Geometry.h"

namespace lightpen::webcam {

// One touch, as somebody sees it who looks a hundred times a second. A value; not for several threads at
// once.
class PenTouch {
public:
    // Where the pen is seen now; none when it is not. A touch is over at the first look without a pen, and
    // answers its mean place. None before that, for a pen that was down at the first look, and for one that
    // was drawn over the surface.
    std::optional<CameraPoint> look(std::optional<CameraPoint> pen);

private:
    bool ready_ = false; // it was up
    std::size_t looks_ = 0;
    CameraPoint sum_;
    CameraPoint least_;
    CameraPoint most_;
};

// What a touch of the cross in the middle tells.
struct LampFinding {
    enum class Kind {
        shifted,    // the light lies beside the tip
        none,       // by no more than a hand misses a cross
        implausible // by more than any lamp: it was no touch of the cross, or the points are no calibration
    };
    Kind kind = Kind::implausible;
    CameraPoint shift; // from the place that is touched to where the light is seen; 0 for the other kinds
};

// The points are those of a calibration with four targets, row by row; they stand around the middle of the
// picture, which is where their diagonals meet.
LampFinding findLamp(CameraPoint pen, const std::array<CameraPoint, 4>& points);

} // namespace lightpen::webcam
