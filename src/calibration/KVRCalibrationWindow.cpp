// SPDX-License-Identifier: MIT
#include "calibration/KVRCalibrationWindow.h"

#include <utility>

#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QMoveEvent>
#include <QPalette>
#include <QScreen>

#include "calibration/CancelPlace.h"
#include "calibration/KVRCalibrationTarget.h"
#include "calibration/TouchHint.h"
#include "device/EventGeneratorNX7.h"
#include "device/FloatPanel.h"
#include "device/VirtualKeyCodes.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

KVRCalibrationWindow::KVRCalibrationWindow()
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
      contentView_(new QWidget(this)), cancelPlace_(new CancelPlace(*contentView_)),
      touchHint_(new TouchHint(*this)) {
    setFocusPolicy(Qt::StrongFocus);
    connect(cancelPlace_, &QAbstractButton::clicked, this, &KVRCalibrationWindow::cancelCalibration);
}

KVRCalibrationWindow::~KVRCalibrationWindow() {
    // A copy, since a target that is removed leaves the view's own list.
    for (QObject* child : QObjectList(contentView_->children()))
        if (auto* target = dynamic_cast<KVRCalibrationTarget*>(child))
            target->removeFromSuperview();
}

void KVRCalibrationWindow::setCalibrationScreen(const std::optional<Screen>& screen) {
    calibrationScreen_ = screen;
    const Size size = screen ? screen->frame.size : Size();
    setContentPlace({0, 0, qRound(size.width), qRound(size.height)});
}

QScreen* KVRCalibrationWindow::screenOfSession() const {
    return calibrationScreen_ ? screenNamed(calibrationScreen_->name) : nullptr;
}

Size KVRCalibrationWindow::contentSize() const {
    return {double(contentView_->width()), double(contentView_->height())};
}

void KVRCalibrationWindow::setContentPlace(const QRect& place) {
    contentView_->setGeometry(place);
    for (QObject* child : contentView_->children())
        if (auto* target = dynamic_cast<KVRCalibrationTarget*>(child))
            target->placeInSuperview();
}

void KVRCalibrationWindow::moveEvent(QMoveEvent* event) {
    QWidget::moveEvent(event);
    takePlaceOfWindow();
}

void KVRCalibrationWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    takePlaceOfWindow();
}

void KVRCalibrationWindow::takePlaceOfWindow() {
    if (!isVisible() || size().isEmpty())
        return;
    const QRect place = placeOfScreen(*this, screenOfSession()), before = contentView_->geometry();
    if (place != before)
        setContentPlace(place);
    cancelPlace_->place();
    if (place.size() != before.size() && onResize)
        onResize();
}

bool KVRCalibrationWindow::shows(const WindowRect& part) const {
    if (!screenOfSession())
        return true;
    // A compositor does not tell where a window is that it does not show on the full screen.
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        return isFullScreen();
    const QRectF place = contentView_->geometry();
    const QRectF shown(place.x() + part.origin.x,
                       place.y() + place.height() - part.origin.y - part.size.height, part.size.width,
                       part.size.height);
    return QRectF(rect()).contains(shown & place);
}

void KVRCalibrationWindow::setBackgroundColor(const Color& color) {
    QPalette colours = palette();
    colours.setColor(QPalette::Window,
                     QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                                      static_cast<float>(color.blue)));
    setPalette(colours);
    setAutoFillBackground(true);
}

void KVRCalibrationWindow::setWayOut(const std::optional<std::string>& label) {
    cancelPlace_->setLabel(QString::fromStdString(label.value_or(std::string())));
    clickCancels_ = !label;
    pressed_ = false;
}

void KVRCalibrationWindow::setTouchHint(const std::string& hint) {
    touchHint_->setHint(QString::fromStdString(hint));
}

// Without a window manager a full-screen window keeps its size, so it gets the screen's size first.
void KVRCalibrationWindow::makeKeyAndOrderFront() {
    QScreen* screen = screenOfSession();
    setWindowState(Qt::WindowNoState);
    if (screen) {
        setScreen(screen);
        setGeometry(screen->geometry());
        showFullScreen();
    } else {
        setGeometry(contentView_->geometry());
        show();
    }
    takePlaceOfWindow(); // of a window that was shown before, and keeps its size
    raise();
    activateWindow();
    setFocus(Qt::OtherFocusReason);
}

void KVRCalibrationWindow::display() {
    contentView_->repaint();
}

void KVRCalibrationWindow::closeWindow() {
    if (windowWillClose_)
        windowWillClose_({std::string(kWindowWillClose), this, {}});
    hide();
}

void KVRCalibrationWindow::keyDown(std::uint16_t keyCode) {
    logLine("KVRC n:28 keyCode : %d", keyCode);
    if (keyCode == kVirtualKeyEscape)
        cancelCalibration();
}

void KVRCalibrationWindow::cancelCalibration() {
    if (EventGeneratorNX7::sharedEventGeneratorNX7()->exitCalib())
        return;
    Platform::current().notifications.post({std::string(kCalibrationDidCanceled), this, {}});
}

void KVRCalibrationWindow::keyPressEvent(QKeyEvent* event) {
    event->accept();
    keyDown(virtualKeyCode(event->key()));
}

// Only of a mouse: the pen's touches are the session's meanwhile, and no pointer output is made of them. The
// click that has begun the session may still have its release to come, so the press counts too.
void KVRCalibrationWindow::mousePressEvent(QMouseEvent* event) {
    event->accept();
    pressed_ = clickCancels_;
}

void KVRCalibrationWindow::mouseReleaseEvent(QMouseEvent* event) {
    event->accept();
    if (std::exchange(pressed_, false))
        cancelCalibration();
}

void KVRCalibrationWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    cancelCalibration();
}

} // namespace lightpen
