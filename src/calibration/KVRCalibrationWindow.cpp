// SPDX-License-Identifier: MIT
#include "calibration/KVRCalibrationWindow.h"

#include <utility>

#include <QCloseEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPalette>
#include <QScreen>

#include "calibration/CancelPlace.h"
#include "calibration/KVRCalibrationTarget.h"
#include "device/EventGeneratorNX7.h"
#include "device/FloatPanel.h"
#include "device/VirtualKeyCodes.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

KVRCalibrationWindow::KVRCalibrationWindow()
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
      contentView_(new QWidget(this)), cancelPlace_(new CancelPlace(*contentView_)) {
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
    setContentSize({qRound(size.width), qRound(size.height)});
}

Size KVRCalibrationWindow::contentSize() const {
    return {double(contentView_->width()), double(contentView_->height())};
}

void KVRCalibrationWindow::setContentSize(QSize size) {
    contentView_->setGeometry({QPoint(), size});
    for (QObject* child : contentView_->children())
        if (auto* target = dynamic_cast<KVRCalibrationTarget*>(child))
            target->placeInSuperview();
}

void KVRCalibrationWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    takeSizeOfWindow();
}

void KVRCalibrationWindow::takeSizeOfWindow() {
    if (!isVisible() || size().isEmpty() || size() == contentView_->size())
        return;
    setContentSize(size());
    if (onResize)
        onResize();
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

// Without a window manager a full-screen window keeps its size, so it gets the screen's size first.
void KVRCalibrationWindow::makeKeyAndOrderFront() {
    QScreen* screen = calibrationScreen_ ? screenNamed(calibrationScreen_->name) : nullptr;
    setWindowState(Qt::WindowNoState);
    if (screen) {
        setScreen(screen);
        setGeometry(screen->geometry());
        showFullScreen();
    } else {
        setGeometry(contentView_->geometry());
        show();
    }
    takeSizeOfWindow(); // of a window that was shown before, and keeps its size
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
