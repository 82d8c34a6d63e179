// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QPainter>
#include <QRectF>

#include "platform/Geometry.h"
#include "unit/wire/Vision.h"

namespace lightpen {

// Where the camera's view is drawn within an area: as large as it fits, in its own proportions.
QRectF cameraFrame(QSizeF area);
// Camera places and where they are drawn.
QPointF drawnAt(CameraPoint place, const QRectF& frame);
CameraPoint cameraPlace(QPointF point, const QRectF& frame);

// Draws what lies before the camera: a dark room, in it the screen with what it displays (grey without a
// picture of it), the pen's light and a stray light. Through the infrared filter the display is faint.
void paintCameraView(QPainter& painter, const QRectF& frame, const Scene& scene, const QImage& display,
                     bool filterOut);

} // namespace lightpen
