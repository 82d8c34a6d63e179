// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QWidget>

#include "device/PreviewImage.h"

namespace lightpen {

// Shows the camera's picture as large as fits: each pixel of it is a square of whole pixels of the screen,
// without smoothing, so that what one sees is what the camera saw. A thin frame marks the picture's edge.
// Main thread.
class PreviewImageView final : public QWidget {
public:
    explicit PreviewImageView(QWidget* parent = nullptr);

    // The picture from now on; none clears it.
    void setImage(PreviewImageRef image);
    // Null while there is none.
    PreviewImageRef image() const { return image_; }

    // Where the picture stands in a place of this size, in pixels of the screen; at its own size in a place
    // that is too small for it.
    static QRect placeOfPicture(const QSize& room);
    // The size in points of a view that shows each pixel of the picture as so many pixels of a screen which
    // has this many a point.
    static QSize sizeFor(int factor, double pixelsPerPoint);
    // The width in points at which a view in this room, also in points, holds the picture and nothing beside
    // it.
    int widthThatFills(const QSize& room) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    PreviewImageRef image_; // owns the bytes that picture_ shows
    QImage picture_;
};

} // namespace lightpen
