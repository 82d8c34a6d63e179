// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>

class QPainter;
class QRectF;

namespace lightpen {

// The picture "wArc" of the application's folder; null when that has none.
QIcon markerPicture();
// Draws the check view's marker into this place, as sharp as the screen: the picture or, where that is null,
// a white arc, open at the lower left, around a red dot.
void drawMarker(QPainter& painter, const QRectF& place, const QIcon& picture);

} // namespace lightpen
