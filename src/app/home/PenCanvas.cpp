// SPDX-License-Identifier: MIT
#include "app/home/PenCanvas.h"

#include <algorithm>

#include <QMouseEvent>
#include <QPainter>
#include <QPen>

#include "app/home/PenTrialPicture.h"

namespace lightpen {

namespace {

constexpr double kLineWidth = 3;
constexpr QSize kUsual{480, 270};
constexpr QSize kLeast{160, 90};
constexpr int kMargin = 12; // around the hint

} // namespace

PenCanvas::PenCanvas(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setCursor(Qt::CrossCursor);
}

void PenCanvas::setHint(const QString& hint) {
    hint_ = hint;
    update();
}

void PenCanvas::showTrial(const std::optional<PenTrial>& trial) {
    trial_ = trial;
    update();
}

void PenCanvas::clear() {
    lines_.clear();
    places_ = 0;
    drawing_ = false;
    showTrial(std::nullopt);
}

QSize PenCanvas::sizeHint() const {
    return kUsual;
}

QSize PenCanvas::minimumSizeHint() const {
    return kLeast;
}

// A single place is a dot.
void PenCanvas::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return QWidget::mousePressEvent(event);
    drawing_ = true;
    lines_.emplace_back();
    extendLine(event->position());
}

void PenCanvas::mouseMoveEvent(QMouseEvent* event) {
    if (drawing_)
        extendLine(event->position());
}

void PenCanvas::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        drawing_ = false;
}

void PenCanvas::extendLine(const QPointF& place) {
    QPolygonF& line = lines_.back();
    const QPointF before = line.isEmpty() ? place : line.back();
    const bool wasEmpty = lines_.size() == 1 && line.isEmpty();
    line << place;
    ++places_;
    bool dropped = false;
    for (; places_ > kMostPlaces && lines_.size() > 1; dropped = true) {
        places_ -= static_cast<std::size_t>(lines_.front().size());
        lines_.pop_front();
    }
    if (places_ > kMostPlaces) { // one endless line
        line.remove(0, line.size() / 2);
        places_ = static_cast<std::size_t>(line.size());
        dropped = true;
    }
    if (wasEmpty || dropped)
        update();
    else
        update(QRectF(before, place).normalized().marginsAdded({4, 4, 4, 4}).toAlignedRect());
}

// As large as fits, in the middle.
void PenCanvas::paintTrial(QPainter& painter) const {
    const Size picture = trial_->picture();
    if (!(picture.width > 0 && picture.height > 0))
        return;
    const double scale = std::min(width() / picture.width, height() / picture.height);
    painter.save();
    painter.translate((width() - scale * picture.width) / 2, (height() - scale * picture.height) / 2);
    painter.scale(scale, scale);
    paintPenTrial(painter, *trial_, palette());
    painter.restore();
}

void PenCanvas::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Mid));
    painter.fillRect(rect().adjusted(1, 1, -1, -1), palette().color(QPalette::Base));
    if (trial_)
        paintTrial(painter);
    else if (lines_.empty()) {
        painter.setPen(palette().color(QPalette::Text));
        painter.drawText(rect().adjusted(kMargin, kMargin, -kMargin, -kMargin),
                         int{Qt::AlignCenter} | int{Qt::TextWordWrap}, hint_);
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(
        QPen(palette().color(QPalette::Text), kLineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    for (const QPolygonF& line : lines_) {
        if (line.size() == 1)
            painter.drawPoint(line.front());
        else
            painter.drawPolyline(line);
    }
}

} // namespace lightpen
