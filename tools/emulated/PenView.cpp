// SPDX-License-Identifier: MIT
#include "emulated/PenView.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPolygonF>

#include "emulated/CameraPainting.h"

namespace lightpen {

namespace {

constexpr QRgb kDrawn = 0xFFFFE066U;

} // namespace

PenView::PenView(UnitControl& control, Clock& clock) : control_(control), clock_(clock), sight_(look()) {
    setObjectName(QStringLiteral("view"));
    setCursor(Qt::CrossCursor);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAccessibleName(QStringLiteral("Camera view"));
}

PenView::Sight PenView::look() const {
    return {control_.unit().scene(), control_.unit().firmware()->settings().filterOut};
}

void PenView::setDisplay(const QImage& display) {
    display_ = display;
    update();
}

void PenView::refresh() {
    Sight now = look();
    const bool same = now.scene.pen == sight_.scene.pen && now.scene.strayLight == sight_.scene.strayLight &&
                      now.scene.screen == sight_.scene.screen && now.filterOut == sight_.filterOut;
    if (same)
        return;
    sight_ = std::move(now);
    update();
}

void PenView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().window());
    const QRectF frame = cameraFrame(size());
    paintCameraView(painter, frame, sight_.scene, display_, sight_.filterOut);
    QPolygonF drawn;
    for (const DrawnGesture::Place& place : gesture_.path())
        drawn << drawnAt(place.point, frame);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor::fromRgba(kDrawn), 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(drawn);
}

CameraPoint PenView::placeOf(const QMouseEvent& event) const {
    return cameraPlace(event.position(), cameraFrame(size()));
}

void PenView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !control_.handRests())
        return;
    gesture_.press(placeOf(*event), clock_.now());
    update();
}

void PenView::mouseMoveEvent(QMouseEvent* event) {
    if (!gesture_.underWay())
        return;
    gesture_.move(placeOf(*event), clock_.now());
    update();
}

// A gesture of somebody else's may have begun while this one was drawn; then this one is lost.
void PenView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    if (const auto hand = gesture_.release(placeOf(*event), clock_.now(), control_.unit().optics()))
        control_.play(*hand);
    update();
}

} // namespace lightpen
