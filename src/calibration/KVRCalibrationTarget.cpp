// SPDX-License-Identifier: MIT
#include "calibration/KVRCalibrationTarget.h"

#include <cmath>

#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <QStyleOptionButton>

namespace lightpen {

namespace {

constexpr double kFrameWidth = 2;
constexpr double kDefaultLineWidth = 1;
constexpr double kBarWidth = 2;

QColor qtColor(const Color& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

// A line along the inner side of the rectangle's edges, as one shape: where it covers part of a pixel, it
// does so once.
void frameRect(QPainter& painter, const QRectF& rect, double lineWidth, const QColor& color) {
    QPainterPath path;
    path.setFillRule(Qt::OddEvenFill);
    path.addRect(rect);
    const QRectF inner = rect.adjusted(lineWidth, lineWidth, -lineWidth, -lineWidth);
    if (inner.isValid())
        path.addRect(inner);
    painter.fillPath(path, color);
}

// What a widget can cover; a frame beyond is of no screen.
bool canBeCovered(const QRectF& rect) {
    constexpr double limit = QWIDGETSIZE_MAX;
    const auto fits = [=](double value) { return std::isfinite(value) && std::fabs(value) < limit; };
    return fits(rect.x()) && fits(rect.y()) && fits(rect.width()) && fits(rect.height());
}

} // namespace

KVRCalibrationTarget::KVRCalibrationTarget(const WindowRect& frame, std::uint32_t bezelStyle)
    : frame_(std::make_shared<SharedFrame>(frame)), bezelStyle_(bezelStyle) {
    // Keys and clicks belong to the window.
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    placeInSuperview();
}

void KVRCalibrationTarget::setFrame(const WindowRect& frame) {
    *frame_ = frame;
    placeInSuperview();
}

void KVRCalibrationTarget::addToSuperview(QWidget& superview) {
    setParent(&superview);
    placeInSuperview();
    show();
}

void KVRCalibrationTarget::removeFromSuperview() {
    if (parentWidget())
        setParent(nullptr);
}

void KVRCalibrationTarget::placeInSuperview() {
    const auto [origin, size] = frame();
    const double height = parentWidget() ? parentWidget()->height() : 0;
    const QRectF exact(origin.x, height - origin.y - size.height, size.width, size.height);
    if (!canBeCovered(exact))
        return;
    const QRect covered = exact.toAlignedRect();
    drawingOrigin_ = exact.topLeft() - covered.topLeft();
    setGeometry(covered);
    update();
}

void KVRCalibrationTarget::setBackgroundColor(std::optional<Color> color) {
    backgroundColor_ = color;
    update();
}

void KVRCalibrationTarget::setBezelStyle(std::uint32_t bezelStyle) {
    bezelStyle_ = bezelStyle;
    update();
}

void KVRCalibrationTarget::setImage(const QPixmap& image) {
    setIcon(image);
    setIconSize(image.deviceIndependentSize().toSize());
}

void KVRCalibrationTarget::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.translate(drawingOrigin_);
    const Size size = frame().size;
    drawRect(painter, {0, 0, size.width, size.height});
}

void KVRCalibrationTarget::drawRect(QPainter& painter, const QRectF& rect) {
    if (bezelStyle_ != 0) {
        QStyleOptionButton option;
        initStyleOption(&option);
        option.rect = rect.toRect();
        style()->drawControl(QStyle::CE_PushButton, &option, &painter, this);
        return;
    }
    const QColor green = qtColor(kGreenColor);
    const double w = rect.width(), h = rect.height();
    const auto inset = [&](double dx, double dy) { return rect.adjusted(dx, dy, -dx, -dy); };
    if (backgroundColor_)
        painter.fillRect(rect, qtColor(*backgroundColor_));
    frameRect(painter, rect, kFrameWidth, green);
    frameRect(painter, inset((w - kBarWidth) / 2, (h - kBarWidth) / 4), kDefaultLineWidth, green);
    frameRect(painter, inset((w - kBarWidth) / 4, (h - kBarWidth) / 2), kDefaultLineWidth, green);
}

} // namespace lightpen
