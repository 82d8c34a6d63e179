// SPDX-License-Identifier: MIT
#include "measure/canvas/BoardPainter.h"

#include <QFont>
#include <QPainter>
#include <QPainterPath>
#include <QRectF>

namespace lightpen {

namespace {

const QColor kPaper(0xFC, 0xFC, 0xFA);
const QColor kGrid(0xE4, 0xE8, 0xEE);
const QColor kInk(0x1F, 0x4F, 0xA8);
const QColor kHand(0xD9, 0x4A, 0x3D);
const QColor kClick(0xE0, 0x8A, 0x1E);
const QColor kSide(0x2E, 0x8B, 0x6F);
const QColor kText(0x5A, 0x63, 0x70);

constexpr int kGridSpacing = 40;
constexpr double kInkWidth = 6;

QFont textFont(int pixels, bool bold = false) {
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixels);
    font.setBold(bold);
    return font;
}

void paintPaper(QPainter& painter, QSize size) {
    painter.fillRect(QRect(QPoint(), size), kPaper);
    painter.setPen(Qt::NoPen);
    painter.setBrush(kGrid);
    for (int x = kGridSpacing; x < size.width(); x += kGridSpacing)
        for (int y = kGridSpacing; y < size.height(); y += kGridSpacing)
            painter.drawEllipse(QPointF(x, y), 1.3, 1.3);
}

// A curve through the middles of the pieces, so that sixty points a second look like one line.
QPainterPath inkPath(const std::vector<QPointF>& points) {
    QPainterPath path(points.front());
    for (std::size_t i = 1; i + 1 < points.size(); ++i)
        path.quadTo(points[i], (points[i] + points[i + 1]) / 2);
    path.lineTo(points.back());
    return path;
}

bool isDot(const std::vector<QPointF>& points) {
    constexpr double kDotSize = 4;
    QRectF bounds(points.front(), points.front());
    for (const QPointF& point : points)
        bounds |= QRectF(point, point).adjusted(-0.5, -0.5, 0.5, 0.5);
    return bounds.width() < kDotSize && bounds.height() < kDotSize;
}

void paintInk(QPainter& painter, const Board& board) {
    for (const auto& stroke : board.strokes) {
        if (stroke.empty())
            continue;
        if (isDot(stroke)) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(kInk);
            painter.drawEllipse(stroke.front(), kInkWidth * 0.75, kInkWidth * 0.75);
            continue;
        }
        painter.setPen(QPen(kInk, kInkWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(inkPath(stroke));
    }
}

// Thin crosses, so that the ink under them shows how far off it is.
void paintHand(QPainter& painter, const Board& board) {
    constexpr double kArm = 13;
    painter.setPen(QPen(kHand, 1));
    for (const QPointF& point : board.hand) {
        painter.drawLine(point - QPointF(kArm, 0), point + QPointF(kArm, 0));
        painter.drawLine(point - QPointF(0, kArm), point + QPointF(0, kArm));
    }
}

void paintRightClicks(QPainter& painter, const Board& board) {
    painter.setFont(textFont(15, true));
    for (const QPointF& point : board.rightClicks) {
        painter.setPen(QPen(kClick, 3));
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse(point, 16, 16);
        painter.drawText(point + QPointF(26, 5), QStringLiteral("right click"));
    }
}

// A tab at the middle of the side, with how often its notification came.
void paintSide(QPainter& painter, QSize size, std::size_t side, int count) {
    constexpr int kLong = 200;
    constexpr int kThick = 30;
    const QString names[] = {QStringLiteral("left"), QStringLiteral("right"), QStringLiteral("above"),
                             QStringLiteral("below")};
    const QPointF middles[] = {
        QPointF(kThick / 2.0, size.height() / 2.0), QPointF(size.width() - kThick / 2.0, size.height() / 2.0),
        QPointF(size.width() / 2.0, kThick / 2.0), QPointF(size.width() / 2.0, size.height() - kThick / 2.0)};
    const double turns[] = {-90, 90, 0, 0};
    painter.save();
    painter.translate(middles[side]);
    painter.rotate(turns[side]);
    const QRectF tab(-kLong / 2.0, -kThick / 2.0, kLong, kThick);
    painter.setPen(Qt::NoPen);
    painter.setBrush(kSide);
    painter.drawRoundedRect(tab.adjusted(0, 4, 0, -4), 11, 11);
    painter.setPen(Qt::white);
    painter.setFont(textFont(13, true));
    painter.drawText(tab, Qt::AlignCenter,
                     QStringLiteral("touched %1: %2 signals").arg(names[side]).arg(count));
    painter.restore();
}

void paintSides(QPainter& painter, QSize size, const Board& board) {
    for (std::size_t side = 0; side < std::size(kSideNotifications); ++side) {
        const auto entry = board.notifications.find(kSideNotifications[side]);
        if (entry != board.notifications.end())
            paintSide(painter, size, side, entry->second);
    }
}

void paintLegend(QPainter& painter, QSize size, const Board& board) {
    constexpr int kMargin = 44;
    const QRect line(kMargin, size.height() - 72, size.width() - 2 * kMargin, 24);
    painter.setFont(textFont(14));
    painter.setPen(kText);
    painter.drawText(line, Qt::AlignLeft | Qt::AlignVCenter,
                     QStringLiteral("%1 presses   %2 releases   %3 right clicks")
                         .arg(board.presses)
                         .arg(board.releases)
                         .arg(board.rightClicks.size()));
}

} // namespace

void paintBoard(QPainter& painter, QSize size, const Board& board) {
    painter.setRenderHint(QPainter::Antialiasing);
    paintPaper(painter, size);
    paintInk(painter, board);
    paintHand(painter, board);
    paintRightClicks(painter, board);
    paintSides(painter, size, board);
    paintLegend(painter, size, board);
}

} // namespace lightpen
