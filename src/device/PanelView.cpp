// SPDX-License-Identifier: MIT
#include "device/PanelView.h"

#include <QIcon>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QString>

#include "device/SharedState.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

// What the panel shows of the camera's picture.
constexpr double kShownWidth = 1410;
constexpr double kShownHeight = 860;
constexpr double kMarkerSide = 10;

QSize imageSize(const Size& size) {
    return QSize(qRound(size.width), qRound(size.height)).expandedTo({0, 0});
}

QPixmap markerPicture(QSize size, double ratio) {
    const auto file = Platform::current().shell.bundle.pathForResource("wArc", "svg");
    return file ? QIcon(QString::fromStdString(*file)).pixmap(size, ratio) : QPixmap();
}

} // namespace

WindowPoint panelPoint(CameraPoint spot, Size panel, CameraPoint firstCorner, CameraPoint lastCorner) {
    if (lastCorner.x > firstCorner.x && lastCorner.y > firstCorner.y)
        return {spot.x * (panel.width / kShownWidth), spot.y * (panel.height / -kShownHeight) + panel.height};
    return {spot.x * (panel.width / -kShownWidth) + panel.width, spot.y * (panel.height / kShownHeight)};
}

PanelView::PanelView(const WindowRect& frame)
    : image(imageSize(frame.size), QImage::Format_ARGB32_Premultiplied) {
    image.fill(Qt::transparent);
    // The picture covers all of the view, so that nothing else need be drawn below it.
    setAttribute(Qt::WA_OpaquePaintEvent);
    setGeometry(qRound(frame.origin.x), qRound(frame.origin.y), image.width(), image.height());
}

void PanelView::drawCircleAtPoint(WindowPoint point) {
    if (image.isNull())
        return;
    QPainter painter(&image);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(QPointF(point.x, image.height() - point.y), radius, radius);
}

void PanelView::mouseDown() {
    sharedState.keyEscapePressed = 1;
}

void PanelView::drawRect(QPainter& painter, const QRect& dirty) {
    painter.fillRect(dirty, Qt::black);

    const CameraPoint first = sharedState.firstRecordPoints.load().first;
    const CameraPoint last = sharedState.secondRecordPoints.load().second;
    const Size panel{double(sharedState.checkViewWidth), double(sharedState.checkViewHeight)};
    const WindowPoint point = panelPoint(sharedState.checkViewPoint, panel, first, last);
    logLine("Event n:256 sptScreenP1: (%.2f,%.2f)C1(%.2f,%.2f)C4(%.2f,%.2f)", point.x, point.y, first.x,
            first.y, last.x, last.y);

    // A compositor may have given the view another size.
    const Size view{double(width()), double(height())};
    const WindowPoint corner = panelPoint(sharedState.checkViewPoint, view, first, last);
    const QRectF place(corner.x, view.height - corner.y - kMarkerSide, kMarkerSide, kMarkerSide);
    if (const double ratio = painter.device()->devicePixelRatioF(); ratio != markerRatio_) {
        marker_ = markerPicture(place.size().toSize(), ratio);
        markerRatio_ = ratio;
    }
    painter.drawPixmap(place, marker_, QRectF(marker_.rect()));
}

void PanelView::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    drawRect(painter, event->rect());
}

void PanelView::mousePressEvent(QMouseEvent* event) {
    event->accept();
    mouseDown();
}

void PanelView::mouseMoveEvent(QMouseEvent* event) {
    event->accept();
    mouseDragged();
}

void PanelView::mouseReleaseEvent(QMouseEvent* event) {
    event->accept();
    mouseUp();
}

} // namespace lightpen
