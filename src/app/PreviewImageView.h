// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>

#include <QImage>
#include <QString>
#include <QWidget>

#include "device/PreviewImage.h"
#include "platform/Geometry.h"

class QPainter;

namespace lightpen {

// Shows the camera's picture as large as fits. Each of its pixels is a square of whole pixels of the screen,
// without smoothing, so that one sees what the camera saw. A thin frame marks the picture's edge. Main
// thread.
class PreviewImageView final : public QWidget {
public:
    explicit PreviewImageView(QWidget* parent = nullptr);

    // The picture from now on; null clears the view.
    void setImage(PreviewImageRef image);
    // Null without a picture.
    PreviewImageRef image() const { return image_; }
    // What stands in the place of a picture that is not there.
    void setWaitingText(const QString& text);
    // What the camera sees at these four places is joined by a line that leads around; none takes it away.
    using Outline = std::optional<std::array<CameraPoint, 4>>;
    void setOutline(const Outline& outline);
    const Outline& outline() const { return outline_; }

    // Where the picture stands in a room of this size, in pixels of the screen. In a room that is too small
    // it has its own size.
    static QRect placeOfPicture(const QSize& room);
    // The size in points of a view that shows each pixel of the picture as `factor` pixels of the screen.
    static QSize sizeFor(int factor, double pixelsPerPoint);
    // The width of the picture with its frame in a room of this size, both in points.
    int widthThatFills(const QSize& room) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void drawOutline(QPainter& painter, const QRect& place) const;

    PreviewImageRef image_; // owns the bytes that picture_ shows
    QImage picture_;
    QString waitingText_;
    Outline outline_;
};

} // namespace lightpen
