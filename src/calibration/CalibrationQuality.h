// SPDX-License-Identifier: MIT
#pragma once

#include "device/PointList.h"

namespace lightpen {

// How good the four touches of a calibration are, by their shape alone: the smallest part of the
// quadrilateral that the triangle of three neighbouring corners has. A half for a parallelogram, less for a
// keystone, about zero where three corners are close to one line, below zero where the quadrilateral has a
// dent or crosses itself. The points go row by row. Zero for no area, for points that are not finite and for
// any number of points but four.
double leastCornerShare(const PointList& points);

// Below this share a touch that is one camera unit off moves the pen by nine pixels or more somewhere on a
// screen of 1920 by 1080; for a rectangle it is one.
inline constexpr double kLeastGoodShare = 0.12;

} // namespace lightpen
