// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

#include "platform/Geometry.h"
#include "platform/Time.h"
#include "unit/room/Homography.h"

namespace lightpen {

// How the camera sees the screen. Immutable after set-up, so that any thread may ask.
class Optics {
public:
    // The camera points of a screen's corners.
    struct Corners {
        CameraPoint topLeft;
        CameraPoint topRight;
        CameraPoint bottomRight;
        CameraPoint bottomLeft;
    };
    // How far beyond the reported range the lens still sees a spot, in camera units.
    static constexpr double kLensMargin = 320;

    // None when three of the corners lie on a line or the screen has no area. The size is in screen points.
    static std::optional<Optics> fromCorners(Size screen, const Corners& corners);
    // Three set-ups that leave room around the screen, which fills more than half of the camera's width. The
    // size must have an area; else it is taken as 1 x 1.
    static Optics straight(Size screen);       // the camera beside the lens of the projector
    static Optics strongKeystone(Size screen); // far below and to the left, so that no side is parallel
    static Optics rotated(Size screen);        // turned by 15 degrees clockwise, and nothing else

    // The sensor's noise: the standard deviation of each coordinate in camera units. The same seed gives the
    // same noise at the same time.
    Optics& setNoise(double sigma, std::uint64_t seed);

    // A lens that draws what lies a half diagonal of the range from its middle so much nearer to the middle,
    // as a part of that distance, and what is nearer by the third power less. At most a tenth.
    Optics& setBarrel(double part);

    // The exact camera point of a screen point, inside the range or not.
    CameraPoint project(ScreenPoint point) const;
    // The exact screen point of a camera point.
    ScreenPoint unproject(CameraPoint point) const;
    // The camera points of the screen's corners, as a lens without a barrel shows them.
    const Corners& corners() const { return corners_; }
    // Where the camera sees a light at this screen point, with noise; none when it lies beyond the lens'
    // view. The result may lie up to kLensMargin outside the reported range.
    std::optional<CameraPoint> see(ScreenPoint point, Microseconds time) const;

private:
    Optics(const Homography& toCamera, Size screen, const Corners& corners);
    CameraPoint noise(Microseconds time) const;
    CameraPoint bent(CameraPoint straight) const;

    Homography toCamera_;
    Homography toScreen_;
    Corners corners_;
    double facing_; // the depth of the screen's middle: what lies behind the camera has the other sign
    double barrel_ = 0;
    double sigma_ = 0;
    std::uint64_t seed_ = 0;
};

} // namespace lightpen
