// SPDX-License-Identifier: MIT
#include "emulated/CameraPainting.h"

#include <algorithm>

#include <QLinearGradient>
#include <QPolygonF>
#include <QRadialGradient>
#include <QTransform>

#include "unit/wire/PenReports.h"

namespace lightpen {

namespace {

constexpr QRgb kRoom = 0xFF12151AU;
constexpr QRgb kPlainScreen = 0xFF8A9099U;
constexpr QRgb kScreenEdge = 0xFF5C6B7AU;
constexpr QRgb kPen = 0xFF7FD4FFU;
constexpr QRgb kStrayLight = 0xFFFFA53BU;
// In camera units.
constexpr double kGlow = 90;
constexpr double kCore = 22;
// How much of the display comes through the filter.
constexpr double kThroughFilter = 0.45;

QColor color(QRgb value) {
    return QColor::fromRgba(value);
}

void paintLight(QPainter& painter, CameraPoint place, const QRectF& frame, QRgb hue) {
    const QPointF middle = drawnAt(place, frame);
    const double unit = frame.width() / kCameraWidth;
    QRadialGradient glow(middle, kGlow * unit);
    QColor faint = color(hue);
    faint.setAlpha(0);
    glow.setColorAt(0, Qt::white);
    glow.setColorAt(0.25, color(hue));
    glow.setColorAt(1, faint);
    painter.setPen(Qt::NoPen);
    painter.setBrush(glow);
    painter.drawEllipse(middle, kGlow * unit, kGlow * unit);
    painter.setBrush(Qt::white);
    painter.drawEllipse(middle, std::max(kCore * unit, 2.0), std::max(kCore * unit, 2.0));
}

void paintDisplay(QPainter& painter, const QPolygonF& screen, const QImage& display, bool filterOut) {
    painter.setPen(QPen(color(kScreenEdge), 1.5));
    painter.setBrush(display.isNull() ? QBrush(color(kPlainScreen)) : QBrush(Qt::black));
    painter.drawPolygon(screen);
    QTransform toCamera;
    const QPolygonF corners({{0.0, 0.0},
                             {double(display.width()), 0.0},
                             {double(display.width()), double(display.height())},
                             {0.0, double(display.height())}});
    if (display.isNull() || !QTransform::quadToQuad(corners, screen, toCamera))
        return;
    painter.save();
    painter.setOpacity(filterOut ? 1 : kThroughFilter);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setTransform(toCamera, true);
    painter.drawImage(QPointF(), display);
    painter.restore();
}

} // namespace

QRectF cameraFrame(QSizeF area) {
    const QSizeF size =
        QSizeF(kCameraWidth, kCameraHeight).scaled(area.expandedTo({1, 1}), Qt::KeepAspectRatio);
    return {(area.width() - size.width()) / 2, (area.height() - size.height()) / 2, size.width(),
            size.height()};
}

QPointF drawnAt(CameraPoint place, const QRectF& frame) {
    return {frame.x() + place.x * frame.width() / kCameraWidth,
            frame.y() + place.y * frame.height() / kCameraHeight};
}

CameraPoint cameraPlace(QPointF point, const QRectF& frame) {
    return {(point.x() - frame.x()) * kCameraWidth / frame.width(),
            (point.y() - frame.y()) * kCameraHeight / frame.height()};
}

void paintCameraView(QPainter& painter, const QRectF& frame, const Scene& scene, const QImage& display,
                     bool filterOut) {
    painter.save();
    painter.setClipRect(frame);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(frame, color(kRoom));
    if (scene.screen) {
        QPolygonF corners;
        for (const CameraPoint& corner : *scene.screen)
            corners << drawnAt(corner, frame);
        paintDisplay(painter, corners, display, filterOut);
    }
    if (scene.strayLight)
        paintLight(painter, *scene.strayLight, frame, kStrayLight);
    if (scene.pen)
        paintLight(painter, *scene.pen, frame, kPen);
    painter.restore();
}

} // namespace lightpen
