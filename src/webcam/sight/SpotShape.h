// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "webcam/sight/GreyView.h"
#include "webcam/sight/Spot.h"

namespace lightpen::webcam {

// What a bright place may look like to be a spot.
struct SpotLimits {
    int level = 0;       // grey levels that its peak is above what is around it, at least
    double width = 0;    // pixels across, at most
    double length = 0;   // pixels along, at most: a light that moves draws a line while the picture is taken
    double flatness = 0; // how many times longer than wide it is, at most
};

// How far from a spot's brightest pixel its surroundings are measured: on the edge of a square that is a
// little wider than a spot may be.
int surroundingsReach(const SpotLimits& limits);

// The spot around the brightest pixel of a place. What is around it is taken off, so slides and shades count
// for nothing. None when the place is too faint, too large, too long, of a single pixel, in the midst of
// noise or of much that is as bright, or cut by the picture's edge through its brightest part. The picture is
// whole, and the pixel in it.
std::optional<Spot> spotAt(const GreyView& picture, int x, int y, const SpotLimits& limits);

} // namespace lightpen::webcam
