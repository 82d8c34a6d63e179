// SPDX-License-Identifier: MIT
#pragma once

#include <QRect>

namespace lightpen {

// Where the check view's panel stands on this screen, both in Qt's coordinates.
QRect checkPanelPlace(const QRect& screen);

// Where a window of the wanted size, its frame included, stands on the free part of the screen so that the
// check view's panel does not cover it. The first choice is below the panel, then beside it. If it fits
// nowhere it is cut to the place that leaves most of it. In Qt's coordinates.
QRect previewPlace(const QRect& screen, const QSize& wanted, const QRect& freePart);

} // namespace lightpen
