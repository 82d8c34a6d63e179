// SPDX-License-Identifier: MIT
#pragma once

#include "emulated/ScreenCapture.h"

class QScreen;

namespace lightpen {

// Where Qt's screen is among the X server's pixels.
CaptureArea areaOf(const QScreen& screen);

} // namespace lightpen
