// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "platform/Geometry.h"

namespace lightpen {

// How far off the pen is, found by touching nine crosses on the picture. Pure values; places and lengths are
// in points, counted from the upper left corner of the picture.
class PenTrial {
public:
    static constexpr std::size_t kCrosses = 9;
    // How far off a pen may be that needs no new calibration: in the median, and at the worst cross. A hand
    // alone misses by two or three.
    static constexpr double kGoodMedian = 5;
    static constexpr double kGoodWorst = 12;

    // The distances from the crosses to their touches.
    struct Outcome {
        std::size_t touched = 0; // crosses; at least one
        double median = 0;       // of an even number the mean of the middle two
        double worst = 0;
        bool isGood() const { return median <= kGoodMedian && worst <= kGoodWorst; }
        friend bool operator==(const Outcome&, const Outcome&) = default;
    };

    // On a picture of this size nothing has been touched yet.
    explicit PenTrial(Size picture = {});

    // The picture's size.
    Size picture() const { return picture_; }
    // Where the crosses stand, row by row from the upper left; whole points.
    const std::array<ScreenPoint, kCrosses>& crosses() const { return crosses_; }
    // Takes a touch as one of the cross that is nearest, in place of an earlier one, and answers which cross
    // that is. None for a place that is nearer to the middle between two crosses than to any cross, or not
    // finite, and on a picture without area.
    std::optional<std::size_t> touch(ScreenPoint place);
    // Where this cross was touched; none where it was not.
    std::optional<ScreenPoint> touchOf(std::size_t cross) const { return touches_.at(cross); }
    // Whether each cross has its touch.
    bool isComplete() const;
    // None before the first touch.
    std::optional<Outcome> outcome() const;
    // How many times as long as they are the ways from crosses to touches are shown, so that one sees a small
    // one: 1 to 20, and no way then reaches the next cross.
    int enlargement() const;

private:
    double reach() const;

    Size picture_;
    std::array<ScreenPoint, kCrosses> crosses_{};
    std::array<std::optional<ScreenPoint>, kCrosses> touches_;
};

} // namespace lightpen
