// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Geometry.h"

namespace lightpen {

// Where on the screen the check view's panel stands: in the middle, leaving a quarter free to each side, a
// third below and a sixth above.
ScreenRect checkPanelPlace(const ScreenRect& screen);

// Where a window of the wanted size, its frame included, stands so that it is on the free part of the screen
// and the check view's panel does not cover it. Below the panel where it fits, then beside it; where it fits
// nowhere it is cut to the free place that leaves most of it.
ScreenRect previewPlace(const ScreenRect& screen, const Size& wanted, const ScreenRect& freePart);
// The same where the whole screen is free.
ScreenRect previewPlace(const ScreenRect& screen, const Size& wanted);

} // namespace lightpen
