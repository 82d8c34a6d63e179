// SPDX-License-Identifier: MIT
#pragma once

class QPainter;
class QRectF;

namespace lightpen {

// Draws "wArc", the check view's marker, into this place: a white arc, open at the lower left, around a red
// dot. It is drawn rather than kept as a picture, so that it is as sharp as the screen.
void drawMarker(QPainter& painter, const QRectF& place);

} // namespace lightpen
