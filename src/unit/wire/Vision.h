// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "platform/Geometry.h"
#include "platform/Time.h"
#include "unit/wire/UnitBehaviour.h"

namespace lightpen {

// What lies before the camera at one moment, in camera coordinates.
struct Scene {
    std::optional<CameraPoint> pen = std::nullopt; // the pen's own light
    std::optional<CameraPoint> strayLight =
        std::nullopt; // a foreign infrared light, seen through the filter too
    // The displayed picture, seen only without the filter: its compact bright blobs, and whether the rest of
    // it is dark. A desktop is bright.
    std::vector<CameraPoint> blobs = {};
    bool darkPicture = false;
    // Where the screen is, if there is one: its corners in their order around it. It finds no spot; pictures
    // show it.
    std::optional<std::array<CameraPoint, 4>> screen = std::nullopt;
};

// Finds the one spot in what the camera sees.
class Vision {
public:
    static constexpr Microseconds kFilterMove{500'000};
    static constexpr Microseconds kDarkAfterJump{100'000};
    // A blob that is further from where it was in the last picture than this, in camera units, has jumped.
    static constexpr double kJump = 40;

    // Forgets what was seen; the filter is at its place at once.
    void powerUp(bool filterOut);
    bool filterOut() const { return filterOut_; }
    // Moves the filter; nothing is seen until it has arrived (while dark is set). Returns whether it moved.
    bool moveFilter(bool out, Microseconds now, bool dark);
    // True while the filter moves.
    bool moving(Microseconds now) const { return now < movingUntil_; }
    // When its last move is over; long past before the first.
    Microseconds settledAt() const { return movingUntil_; }

    // The spot in this picture; none when there is none, or several.
    std::optional<CameraPoint> look(const Scene& scene, Microseconds now, const UnitBehaviour& behaviour);

private:
    std::optional<CameraPoint> displayedSpot(const Scene& scene, Microseconds now,
                                             const UnitBehaviour& behaviour);

    bool filterOut_ = false;
    Microseconds movingUntil_{Microseconds::min()};
    Microseconds darkUntil_{Microseconds::min()};
    std::optional<CameraPoint> lastBlob_;
};

} // namespace lightpen
