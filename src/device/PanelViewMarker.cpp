// SPDX-License-Identifier: MIT
#include "device/PanelViewMarker.h"

#include <QPainter>
#include <QPixmap>
#include <QString>

#include "platform/Platform.h"

namespace lightpen {

namespace {

// In a square of side 1.
constexpr double kLine = 0.2;
constexpr double kDot = 0.14;
constexpr int kDegree = 16; // the painter counts angles in sixteenths
constexpr QRgb kDotColor = 0xFFFF5252U;

void drawArcAroundDot(QPainter& painter, const QRectF& place) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(place.topLeft());
    painter.scale(place.width(), place.height());
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::white, kLine, Qt::SolidLine, Qt::FlatCap));
    const double inset = kLine / 2;
    painter.drawArc(QRectF(0, 0, 1, 1).adjusted(inset, inset, -inset, -inset), -90 * kDegree, 270 * kDegree);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgba(kDotColor));
    painter.drawEllipse(QPointF(0.5, 0.5), kDot, kDot);
    painter.restore();
}

} // namespace

QIcon markerPicture() {
    const auto file = Platform::current().shell.bundle.pathForResource("wArc", "svg");
    return file ? QIcon(QString::fromStdString(*file)) : QIcon();
}

void drawMarker(QPainter& painter, const QRectF& place, const QIcon& picture) {
    const QPixmap pixels = picture.pixmap(place.size().toSize(), painter.device()->devicePixelRatioF());
    if (pixels.isNull())
        drawArcAroundDot(painter, place);
    else
        painter.drawPixmap(place, pixels, QRectF(pixels.rect()));
}

} // namespace lightpen
