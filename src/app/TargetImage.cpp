// SPDX-License-Identifier: MIT
#include "app/TargetImage.h"

#include <QGuiApplication>
#include <QPainter>

namespace lightpen {

namespace {

constexpr double kSide = 64;
constexpr double kRing = 26;       // radius of the ring's middle
constexpr double kLine = 3;        // width of all lines
constexpr double kGap = 6;         // from the middle to where the cross-hair begins
constexpr double kDisc = 20;       // radius of the camera's disc
constexpr QRgb kInk = 0xFF1B5E20U; // dark green, readable on white
constexpr QRgb kDot = 0xFFC62828U; // red, where the pen is to touch

// Everything is symmetrical about the middle, which is the point that is calibrated.
void drawForPerson(QPainter& painter) {
    painter.setPen(QPen(QColor::fromRgba(kInk), kLine, Qt::SolidLine, Qt::FlatCap));
    painter.drawEllipse(QPointF(), kRing, kRing);
    for (int quarter = 0; quarter < 4; ++quarter) {
        painter.drawLine(QPointF(kGap, 0), QPointF(kSide / 2, 0));
        painter.rotate(90);
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgba(kDot));
    painter.drawEllipse(QPointF(), kLine, kLine);
}

void drawForCamera(QPainter& painter) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawEllipse(QPointF(), kDisc, kDisc);
}

} // namespace

QPixmap targetImage(TargetImage image) {
    const double ratio = qGuiApp->devicePixelRatio();
    QPixmap pixmap((QSizeF(kSide, kSide) * ratio).toSize());
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(kSide / 2, kSide / 2);
    if (image == TargetImage::automatic)
        drawForCamera(painter);
    else
        drawForPerson(painter);
    return pixmap;
}

} // namespace lightpen
