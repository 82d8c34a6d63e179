// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include "app/home/HomeTexts.h"

namespace lightpen {

class PenTrial;

// What came of the trial, in lines: how many crosses were touched while some are missing, how far off the pen
// is, in pixels, and what that means. Empty before the first touch. A point is so many pixels wide.
QString penTrialWords(const PenTrial& trial, double pixelsPerPoint, const HomeTexts& text);

} // namespace lightpen
