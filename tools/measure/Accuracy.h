// SPDX-License-Identifier: MIT
// How exactly the pointer follows the pen after a calibration. Pure.
#pragma once

#include <string>
#include <vector>

#include "measure/Analysis.h"
#include "platform/Geometry.h"
#include "unit/room/Optics.h"

namespace lightpen {

// One short touch of a screen, from the hand to the pointer.
struct Tap {
    ScreenPoint hand;     // where the pen touched
    CameraPoint reported; // where the unit said that it saw it: whole camera units
    ScreenPoint mapped;   // where the driver took it to be, before that was cut to whole points
    ScreenPoint pointer;  // where the pointer then stood
};

// Forty places all over the screen, in steps that are not even and at fractions of points.
std::vector<ScreenPoint> unevenGrid(Size screen);

// How far the taps came out from the hand, in points.
struct Distances {
    Spread mapped;
    Spread pointer;
};

// What a series of taps says of a calibration.
struct Accuracy {
    Distances reached;
    // What a mapping in double precision would have reached with the same reports, had the calibration been
    // without any error: the camera's own view, turned round. What is left is the reports' whole numbers.
    Distances limit;
};
Accuracy accuracyOf(const std::vector<Tap>& taps, const Optics& optics);

// One measurement.
struct AccuracyRow {
    std::string pose;
    std::string session; // "by hand", "automatic"
    double noise = 0;    // of the sensor, in camera units
    Accuracy accuracy;
};

// What was measured, as lines of text for a terminal.
std::string tableOf(const std::vector<AccuracyRow>& rows);

// What a sensor without noise must allow, in points: it is about where whole camera units put the limit when
// the picture fills half of the camera's width or more.
struct AccuracyAims {
    double mappedMedian = 0.6;   // at most
    double mappedWorst = 2;      // below
    double pointerMedian = 1.15; // at most
    double pointerWorst = 2.6;   // below
};
// One sentence for each aim that a measurement without noise has missed; empty when all are met.
std::vector<std::string> missedAims(const std::vector<AccuracyRow>& rows, const AccuracyAims& aims = {});

} // namespace lightpen
