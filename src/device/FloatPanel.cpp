// SPDX-License-Identifier: MIT
#include "device/FloatPanel.h"

#include <cmath>

#include <QApplication>
#include <QCloseEvent>
#include <QCursor>
#include <QKeyEvent>
#include <QPalette>
#include <QScreen>

#include "platform/Platform.h"

namespace lightpen {

namespace {

// Often enough that nothing stays on top of the panel for long, and rarely enough that two programs which
// both want to be on top do not spend the machine on it.
constexpr int kStayOnTopMilliseconds = 100;

} // namespace

bool canShowWindows() {
    return dynamic_cast<QApplication*>(QCoreApplication::instance()) != nullptr;
}

QScreen* screenNamed(const std::string& name) {
    for (QScreen* screen : QGuiApplication::screens())
        if (screen->name().toStdString() == name)
            return screen;
    return nullptr;
}

QScreen* mainScreen() {
    const auto main = Platform::current().desktop.mainScreen();
    QScreen* screen = main ? screenNamed(main->name) : nullptr;
    return screen ? screen : QGuiApplication::primaryScreen();
}

// Without a window manager a full-screen window keeps its size, so it gets the screen's size first.
void coverMainScreen(QWidget& window) {
    window.setWindowState(Qt::WindowNoState);
    if (QScreen* screen = mainScreen()) {
        window.setScreen(screen);
        window.setGeometry(screen->geometry());
    }
    window.showFullScreen();
}

QRect placeOfScreen(const QWidget& window, const QScreen* screen) {
    if (!screen || QGuiApplication::platformName() != QLatin1String("xcb"))
        return window.rect();
    return {window.mapFromGlobal(screen->geometry().topLeft()), screen->geometry().size()};
}

WindowRect checkPanelRect(Size screen) {
    return {{std::trunc(screen.width * 0.25), std::trunc(screen.height / 3)},
            {std::trunc(screen.width * 0.5), std::trunc(screen.height * 0.5)}};
}

// y is turned over here: windows count it from the screen's upper edge.
void placeOnMainScreen(QWidget& window, const WindowRect& rect) {
    QScreen* screen = mainScreen();
    const auto frame = Platform::current().desktop.mainScreenFrame();
    const double height = frame ? frame->size.height : 0;
    const QPoint corner = screen ? screen->geometry().topLeft() : QPoint();
    if (screen)
        window.setScreen(screen);
    window.setFixedSize(qRound(rect.size.width), qRound(rect.size.height));
    window.move(corner.x() + qRound(rect.origin.x),
                corner.y() + qRound(height - rect.origin.y - rect.size.height));
    window.setWindowTitle(QStringLiteral("LightPenNX7"));
}

// The panel bypasses the window manager, which would put it below a full-screen window that has the focus.
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
    // Qt holds its requests to the X server back for a while. Asking where the pointer is sends them now.
    connect(&stayOnTop_, &QTimer::timeout, this, [this] {
        if (Platform::current().systemUI.isScreenCovered())
            return;
        raise();
        QCursor::pos(screen());
    });
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
    if (empty_ || Platform::current().systemUI.isScreenCovered())
        return;
    show();
    raise();
    activateWindow();
    setFocus(Qt::OtherFocusReason);
    // Elsewhere than under X11 no client has a say in the order of windows.
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        stayOnTop_.start();
}

void FloatPanel::orderOut() {
    stayOnTop_.stop();
    hide();
}

// A compositor may give a window another size all the same.
void FloatPanel::resizeEvent(QResizeEvent*) {
    if (contentView_)
        contentView_->setGeometry(rect());
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
