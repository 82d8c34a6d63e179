// SPDX-License-Identifier: MIT
#include "app/PreviewImageView.h"

#include <algorithm>
#include <utility>

#include <QPainter>
#include <QPalette>

namespace lightpen {

namespace {

constexpr QSize kPicture{int{kPreviewWidth}, int{kPreviewHeight}};
constexpr int kUsualFactor = 3;
constexpr int kFrame = 1; // on each side, in pixels of the screen

} // namespace

PreviewImageView::PreviewImageView(QWidget* parent) : QWidget(parent) {
    QSizePolicy policy(QSizePolicy::MinimumExpanding, QSizePolicy::MinimumExpanding);
    setSizePolicy(policy);
}

void PreviewImageView::setImage(PreviewImageRef image) {
    image_ = std::move(image);
    picture_ = image_ ? QImage(image_->rgba.data(), kPicture.width(), kPicture.height(),
                               int{PreviewImage::kBytesPerRow}, QImage::Format_RGBA8888)
                      : QImage();
    update();
}

QRect PreviewImageView::placeOfPicture(const QSize& room) {
    const QSize inside = room.shrunkBy({kFrame, kFrame, kFrame, kFrame});
    const int factor =
        std::max(1, std::min(inside.width() / kPicture.width(), inside.height() / kPicture.height()));
    QRect place({}, kPicture * factor);
    place.moveTo((room.width() - place.width()) / 2, (room.height() - place.height()) / 2);
    return place;
}

QSize PreviewImageView::sizeHint() const {
    return kPicture * kUsualFactor + QSize(2 * kFrame, 2 * kFrame);
}

QSize PreviewImageView::minimumSizeHint() const {
    return kPicture + QSize(2 * kFrame, 2 * kFrame);
}

// In pixels of the screen rather than points: at a scale of 1.5 whole factors of points would be none of
// pixels.
void PreviewImageView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const double ratio = devicePixelRatioF();
    painter.scale(1 / ratio, 1 / ratio);
    const QRect place = placeOfPicture((QSizeF(size()) * ratio).toSize());
    painter.fillRect(place.adjusted(-kFrame, -kFrame, kFrame, kFrame), palette().color(QPalette::Mid));
    painter.fillRect(place, Qt::black);
    if (image_)
        painter.drawImage(place, picture_);
}

} // namespace lightpen
