// SPDX-License-Identifier: MIT
#pragma once

class QPainter;
class QPalette;

namespace lightpen {

class PenTrial;

// Draws the crosses, a dot where each was touched, and an arrow from the cross that leads that way, enlarged
// as the trial says. The painter's units are points of the trial's picture; lines have the same width in any
// scale. Main thread.
void paintPenTrial(QPainter& painter, const PenTrial& trial, const QPalette& palette);

} // namespace lightpen
