// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include <QColor>
#include <QImage>
#include <QPixmap>
#include <QWidget>

#include "platform/Geometry.h"

namespace lightpen {

// The check view's picture: a marker (the application's "wArc") on black where the camera sees its light.
// Points count from the view's bottom-left corner. Main thread.
class PanelView final : public QWidget {
public:
    explicit PanelView(const WindowRect& frame);

    // A click counts as Escape.
    void mouseDown();
    // Draws the part of the view that is dirty, in the widget's own coordinates; the camera's picture fills
    // it whatever its size.
    void drawRect(QPainter& painter, const QRect& dirty);

    // --- There by name, and without effect on what is shown

    static constexpr bool canBecomeKeyWindow() { return true; }
    // Fills a circle into the image, which is not shown.
    void drawCircleAtPoint(WindowPoint point);
    void drawLineFromPoint(WindowPoint, WindowPoint) {}
    void keyDown(std::uint16_t) {}
    void mouseDragged() {}
    void mouseUp() {}
    QColor color = Qt::blue;
    QImage image; // of the view's size, clear at first
    WindowPoint lastLocation;
    std::int32_t radius = 5;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    // Its pixels, for so many to a point. No QIcon, whose plug-in may be gone at the program's end before a
    // panel that is left.
    QPixmap marker_;
    double markerRatio_ = 0;
};

// Where the panel of this size shows a camera point, given the first and the last stored corner. The camera
// is mounted one way up or the other, which the corners tell.
WindowPoint panelPoint(CameraPoint spot, Size panel, CameraPoint firstCorner, CameraPoint lastCorner);

} // namespace lightpen
