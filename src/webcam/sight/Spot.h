// SPDX-License-Identifier: MIT
#pragma once

namespace lightpen::webcam {

// A compact bright place of a picture, as GreyView counts places.
struct Spot {
    double x = 0;
    double y = 0;
    double size = 0; // pixels: the diameter of a disc of as many pixels as are brighter than half of its peak
    double peak = 0; // grey levels above what is around it
};

} // namespace lightpen::webcam
