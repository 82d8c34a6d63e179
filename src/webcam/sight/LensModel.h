// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <span>

#include "platform/Geometry.h"

namespace lightpen::webcam {

// Places in a camera's picture, as GreyView counts them.
struct PictureSpace;
using PicturePoint = Point<PictureSpace>;

// A dot that was seen, and where on the screen it was shown.
struct SeenDot {
    PicturePoint seen;
    ScreenPoint shown;
};

// How a lens bends straight lines, by one number: a place at the distance r from the picture's centre belongs
// at r (1 + k r^2), with r in halves of the picture's diagonal. A barrel has a positive k. A value; any
// thread.
class LensModel {
public:
    // What an estimate takes for possible.
    static constexpr double kMost = 0.5;

    // A lens that bends nothing.
    LensModel() = default;
    // For pictures of this size. A size that is not positive, or a k that is not finite or beyond kMost,
    // makes a lens that bends nothing.
    LensModel(int width, int height, double k);

    double k() const { return k_; }
    // Where a lens that bends nothing would have shown it.
    PicturePoint undistorted(PicturePoint point) const;

private:
    double k_ = 0;
    double centreX_ = 0;
    double centreY_ = 0;
    double halfDiagonal_ = 1;
};

struct LensEstimate {
    LensModel lens; // bends nothing unless known
    // Whether the dots tell k: there are more than four, they do not lie on a line, a plane explains them
    // with k, and better so than with the k before.
    bool known = false;
    double straightError =
        0; // rms distance of the dots from where a plane and no lens put them, pixels of the picture
    double error = 0; // the same with the lens
};

// The lens that explains best, beside a screen that is a plane, where the dots were seen in pictures of this
// size. The k before is what is believed of the lens up to now; 0 for one that bends nothing.
LensEstimate estimateLens(std::span<const SeenDot> dots, int width, int height, double before = 0);

} // namespace lightpen::webcam
