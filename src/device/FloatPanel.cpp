// SPDX-License-Identifier: MIT
#include "device/FloatPanel.h"

#include <QCloseEvent>
#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPalette>

namespace lightpen {

namespace {

// Often enough that nothing stays on top of the panel for long, and rarely enough that two programs which
// both want to be on top do not spend the machine on it.
constexpr int kStayOnTopMilliseconds = 100;

} // namespace

// A window manager would put it below a full-screen window that has the focus, so none is asked.
FloatPanel::FloatPanel(const WindowRect& contentRect)
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                           Qt::NoDropShadowWindowHint | Qt::BypassWindowManagerHint),
      empty_(contentRect.size.width < 1 || contentRect.size.height < 1) {
    QPalette black = palette();
    black.setColor(QPalette::Window, Qt::black);
    setPalette(black);
    setFocusPolicy(Qt::StrongFocus);
    placeOnMainScreen(*this, contentRect);
    stayOnTop_.setInterval(kStayOnTopMilliseconds);
    connect(&stayOnTop_, &QTimer::timeout, this, [this] { raiseNow(); });
}

void FloatPanel::setContentView(std::unique_ptr<PanelView> view) {
    delete contentView_;
    contentView_ = view.release();
    contentView_->setParent(this);
    contentView_->setGeometry(rect());
    contentView_->show();
}

bool FloatPanel::ignoresMouseEvents() const {
    return windowFlags().testFlag(Qt::WindowTransparentForInput);
}

void FloatPanel::setIgnoresMouseEvents(bool ignores) {
    setWindowFlag(Qt::WindowTransparentForInput, ignores);
}

void FloatPanel::makeKeyAndOrderFront() {
    if (empty_)
        return;
    show();
    raise();
    activateWindow();
    setFocus(Qt::OtherFocusReason);
    // Elsewhere than under X11 no client has a say in the order of windows.
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        stayOnTop_.start();
}

// Qt keeps what it asks of the X server until it has more to say; whoever asks where the pointer is makes it
// say so.
void FloatPanel::raiseNow() {
    raise();
    QCursor::pos(screen());
}

void FloatPanel::orderOut() {
    stayOnTop_.stop();
    hide();
}

void FloatPanel::keyPressEvent(QKeyEvent* event) {
    event->accept();
    keyDown(0);
}

void FloatPanel::closeEvent(QCloseEvent* event) {
    event->ignore();
}

std::shared_ptr<FloatPanel> newFloatPanel(const WindowRect& contentRect) {
    return canShowWindows() ? std::make_shared<FloatPanel>(contentRect) : nullptr;
}

} // namespace lightpen
