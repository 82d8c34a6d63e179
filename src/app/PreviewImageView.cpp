// SPDX-License-Identifier: MIT
#include "app/PreviewImageView.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QMargins>
#include <QPainter>
#include <QPalette>
#include <QPen>
#include <QPolygonF>

#include "device/PenPipeline.h"

namespace lightpen {

namespace {

constexpr QSize kPicture{int{kPreviewWidth}, int{kPreviewHeight}};
constexpr int kUsualFactor = 3;
constexpr QMargins kFrame(1, 1, 1, 1); // in pixels of the screen
// A light line in a dark one is seen on every grey.
constexpr QRgb kOutline = qRgb(0xff, 0xd0, 0x20);
constexpr int kOutlineWidth = 2; // in pixels of the screen

} // namespace

PreviewImageView::PreviewImageView(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void PreviewImageView::setImage(PreviewImageRef image) {
    image_ = std::move(image);
    picture_ = image_ ? QImage(image_->rgba.data(), kPicture.width(), kPicture.height(),
                               int{PreviewImage::kBytesPerRow}, QImage::Format_RGBA8888)
                      : QImage();
    update();
}

void PreviewImageView::setWaitingText(const QString& text) {
    waitingText_ = text;
    update();
}

void PreviewImageView::setOutline(const Outline& outline) {
    outline_ = outline;
    update();
}

QRect PreviewImageView::placeOfPicture(const QSize& room) {
    const QSize inside = room.shrunkBy(kFrame);
    const int factor =
        std::max(1, std::min(inside.width() / kPicture.width(), inside.height() / kPicture.height()));
    QRect place({}, kPicture * factor);
    place.moveTo((room.width() - place.width()) / 2, (room.height() - place.height()) / 2);
    return place;
}

QSize PreviewImageView::sizeFor(int factor, double pixelsPerPoint) {
    const QSizeF size = QSizeF((kPicture * factor).grownBy(kFrame)) / pixelsPerPoint;
    return {int(std::ceil(size.width())), int(std::ceil(size.height()))};
}

int PreviewImageView::widthThatFills(const QSize& room) const {
    const double ratio = devicePixelRatioF();
    const QRect place = placeOfPicture((QSizeF(room) * ratio).toSize());
    return int(std::ceil(place.marginsAdded(kFrame).width() / ratio));
}

QSize PreviewImageView::sizeHint() const {
    return sizeFor(kUsualFactor, 1);
}

QSize PreviewImageView::minimumSizeHint() const {
    return sizeFor(1, 1);
}

// In pixels of the screen rather than points: at a scale of 1.5 whole points are no whole pixels.
void PreviewImageView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const double ratio = devicePixelRatioF();
    painter.scale(1 / ratio, 1 / ratio);
    const QRect place = placeOfPicture((QSizeF(size()) * ratio).toSize());
    painter.fillRect(place.marginsAdded(kFrame), palette().color(QPalette::Mid));
    painter.fillRect(place, Qt::black);
    if (image_)
        painter.drawImage(place, picture_);
    drawOutline(painter, place);
    if (image_)
        return;
    // Words are in points.
    painter.resetTransform();
    painter.setPen(Qt::lightGray);
    const QRectF points(QPointF(place.topLeft()) / ratio, QSizeF(place.size()) / ratio);
    painter.drawText(points, Qt::AlignCenter | Qt::TextWordWrap, waitingText_);
}

// The picture shows the camera's whole range.
void PreviewImageView::drawOutline(QPainter& painter, const QRect& place) const {
    if (!outline_)
        return;
    QPolygonF polygon;
    for (const CameraPoint& point : *outline_)
        polygon << QPointF(place.x() + point.x * place.width() / kCameraMaximumX,
                           place.y() + point.y * place.height() / kCameraMaximumY);
    painter.save();
    painter.setClipRect(place);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::black, 2 * kOutlineWidth));
    painter.drawPolygon(polygon);
    painter.setPen(QPen(QColor(kOutline), kOutlineWidth));
    painter.drawPolygon(polygon);
    painter.restore();
}

} // namespace lightpen
