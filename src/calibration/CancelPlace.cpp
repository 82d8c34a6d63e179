// SPDX-License-Identifier: MIT
#include "calibration/CancelPlace.h"

#include <algorithm>

#include <QFontMetrics>
#include <QPainter>

namespace lightpen {

namespace {

// In points. The lowest targets end 43 points above the edge.
constexpr int kBottomMargin = 8;
constexpr int kHeight = 28;
constexpr int kLeastWidth = 160; // of a place that is easy to hit, and not taken for a target
constexpr double kCornerRadius = 6;

} // namespace

CancelPlace::CancelPlace(QWidget& view) : SessionLabel(view) {
    setFocusPolicy(Qt::NoFocus); // the keys are the window's
    setCursor(Qt::PointingHandCursor);
}

void CancelPlace::place() {
    const QWidget& view = *parentWidget();
    const QRect shown = view.rect() & QRect(view.mapFrom(window(), QPoint()), window()->size());
    const int width = std::max(kLeastWidth, fontMetrics().horizontalAdvance(text()) + 2 * kSidePadding);
    setGeometry(shown.x() + (shown.width() - width) / 2, shown.y() + shown.height() - kBottomMargin - kHeight,
                width, kHeight);
}

void CancelPlace::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isDown() ? kGround.darker(110) : kGround);
    painter.drawRoundedRect(rect(), kCornerRadius, kCornerRadius);
    painter.setPen(kText);
    painter.drawText(rect(), Qt::AlignCenter, text());
}

} // namespace lightpen
