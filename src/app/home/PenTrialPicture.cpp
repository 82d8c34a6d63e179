// SPDX-License-Identifier: MIT
#include "app/home/PenTrialPicture.h"

#include <algorithm>

#include <QLineF>
#include <QPainter>
#include <QPalette>
#include <QPen>
#include <QPolygonF>

#include "app/home/PenTrial.h"

namespace lightpen {

namespace {

// As a part of the picture's height.
constexpr double kArm = 1.0 / 45;
constexpr double kHead = 1.0 / 80;
constexpr double kDot = 1.0 / 300;
constexpr double kLine = 2; // pixels of the screen, in any scale
constexpr double kHeadAngle = 25;
// Seen on a light ground and on a dark one.
constexpr QRgb kArrow = qRgb(0xe0, 0x30, 0x20);

QPen lineOf(const QColor& colour) {
    QPen pen(colour, kLine, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    pen.setCosmetic(true);
    return pen;
}

void drawCross(QPainter& painter, QPointF place, double arm) {
    painter.drawLine(place - QPointF(arm, 0), place + QPointF(arm, 0));
    painter.drawLine(place - QPointF(0, arm), place + QPointF(0, arm));
}

// A short arrow has a head that is no longer than itself.
void drawArrow(QPainter& painter, const QLineF& way, double head) {
    painter.drawLine(way);
    const double length = std::min(head, way.length());
    if (!(length > 0))
        return;
    for (const double angle : {kHeadAngle, -kHeadAngle}) {
        QLineF side(way.p2(), way.p1());
        side.setAngle(side.angle() + angle);
        side.setLength(length);
        painter.drawLine(side);
    }
}

} // namespace

void paintPenTrial(QPainter& painter, const PenTrial& trial, const QPalette& palette) {
    const double height = trial.picture().height;
    const int enlargement = trial.enlargement();
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    for (std::size_t i = 0; i < PenTrial::kCrosses; ++i) {
        const QPointF cross(trial.crosses()[i].x, trial.crosses()[i].y);
        painter.setPen(lineOf(palette.color(QPalette::Text)));
        drawCross(painter, cross, height * kArm);
        const auto touch = trial.touchOf(i);
        if (!touch)
            continue;
        const QPointF touched(touch->x, touch->y);
        painter.setPen(lineOf(QColor(kArrow)));
        painter.setBrush(QColor(kArrow));
        painter.drawEllipse(touched, height * kDot, height * kDot);
        drawArrow(painter, QLineF(cross, cross + (touched - cross) * enlargement), height * kHead);
    }
    painter.restore();
}

} // namespace lightpen
