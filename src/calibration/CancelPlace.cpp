// SPDX-License-Identifier: MIT
#include "calibration/CancelPlace.h"

#include <algorithm>

#include <QEvent>
#include <QFontMetrics>
#include <QPainter>

namespace lightpen {

namespace {

// In points. The lowest targets end 43 points above the edge.
constexpr int kBottomMargin = 8;
constexpr int kHeight = 28;
constexpr int kLeastWidth = 160; // of a place that is easy to hit, and not taken for a target
constexpr int kSidePadding = 14;
constexpr int kTextPixels = 14;
constexpr double kCornerRadius = 6;
// Quiet beside the target, and legible all the same.
const QColor kGround(0xD6, 0xD6, 0xD6);
const QColor kText(0x40, 0x40, 0x40);

} // namespace

CancelPlace::CancelPlace(QWidget& view) : QAbstractButton(&view) {
    QFont smaller = font();
    smaller.setPixelSize(kTextPixels);
    setFont(smaller);
    setFocusPolicy(Qt::NoFocus); // the keys are the window's
    setCursor(Qt::PointingHandCursor);
    view.installEventFilter(this);
    hide();
}

void CancelPlace::setLabel(const QString& label) {
    setText(label);
    place();
    setVisible(!label.isEmpty());
}

void CancelPlace::place() {
    const QWidget& view = *parentWidget();
    const QRect shown = view.rect() & QRect(view.mapFrom(window(), QPoint()), window()->size());
    const int width = std::max(kLeastWidth, fontMetrics().horizontalAdvance(text()) + 2 * kSidePadding);
    setGeometry(shown.x() + (shown.width() - width) / 2, shown.y() + shown.height() - kBottomMargin - kHeight,
                width, kHeight);
}

bool CancelPlace::eventFilter(QObject*, QEvent* event) {
    if (event->type() == QEvent::Resize)
        place();
    return false;
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
