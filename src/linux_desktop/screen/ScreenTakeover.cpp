// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/ScreenTakeover.h"

#include <xcb/xcb.h>

#include <utility>

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>

namespace lightpen {

namespace {

// The keyboard may be another's for a moment: a menu that is just closing, a switch of programs under way.
constexpr int kRetryMilliseconds = 50;
// Two programs that both want to be on top must not spend the machine on it.
constexpr int kRaiseMilliseconds = 50;

bool covers(const QWindow& window) {
    return window.isTopLevel() && window.isExposed() && window.screen() &&
           window.geometry().contains(window.screen()->geometry());
}

XFullScreen::Window idOf(const QWindow& window) {
    return static_cast<XFullScreen::Window>(window.winId());
}

} // namespace

ScreenTakeover::ScreenTakeover(XFullScreen& screen, std::function<bool()> isCovered)
    : screen_(screen), isCovered_(std::move(isCovered)), focusBefore_(screen.focus()),
      notifier_(screen.descriptor(), QSocketNotifier::Read) {
    connect(&notifier_, &QSocketNotifier::activated, this, [this] { readNews(); });
    retry_.setSingleShot(true);
    retry_.setInterval(kRetryMilliseconds);
    connect(&retry_, &QTimer::timeout, this, [this] { holdKeyboard(); });
    raise_.setSingleShot(true);
    raise_.setInterval(kRaiseMilliseconds);
    connect(&raise_, &QTimer::timeout, this, [this] {
        if (window_ && !screen_.managed() && !isCovered_())
            screen_.raise(idOf(*window_));
    });
    qGuiApp->installEventFilter(this);
    for (QWindow* window : QGuiApplication::topLevelWindows())
        consider(*window);
}

ScreenTakeover::~ScreenTakeover() {
    letGo();
}

void ScreenTakeover::activate() {
    if (window_ && screen_.managed())
        screen_.activate(idOf(*window_));
}

bool ScreenTakeover::eventFilter(QObject* object, QEvent* event) {
    const auto type = event->type();
    if (object->isWindowType() &&
        (type == QEvent::Expose || type == QEvent::Resize || type == QEvent::Move || type == QEvent::Hide))
        consider(static_cast<QWindow&>(*object));
    return false;
}

// A window that was destroyed under its object says nothing itself; the next one finds that out.
void ScreenTakeover::consider(QWindow& window) {
    if (window_ && !covers(*window_))
        letGo();
    if (!window_ && covers(window))
        take(window);
}

void ScreenTakeover::take(QWindow& window) {
    window_ = &window;
    screen_.watch(idOf(window));
    raise_.start(); // something may have come before there was news of it
    activate();
    settle();
}

// The server has taken the keyboard from a window that is gone or hidden; asking again does no harm.
void ScreenTakeover::letGo() {
    retry_.stop();
    raise_.stop();
    screen_.watch(0);
    dropKeyboard();
    window_ = nullptr;
}

// Qt keeps what it asks of the server until it has more to say.
void ScreenTakeover::dropKeyboard() {
    if (!std::exchange(holdsKeyboard_, false) || !window_ || !window_->handle())
        return;
    window_->setKeyboardGrabEnabled(false);
    if (const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>())
        xcb_flush(x11->connection());
}

void ScreenTakeover::settle() {
    if (!window_)
        return;
    leaveFocusWhereItWas();
    holdKeyboard();
    readNews(); // what came with an answer wakes nobody
}

void ScreenTakeover::leaveFocusWhereItWas() {
    const auto window = idOf(*window_);
    if (focusBefore_ == window || screen_.managed() || screen_.focus() != window)
        return;
    // Grabbed anew afterwards, or Qt would take the window for inactive.
    dropKeyboard();
    screen_.setFocus(focusBefore_);
}

void ScreenTakeover::holdKeyboard() {
    if (window_ && !holdsKeyboard_ && !isCovered_())
        holdsKeyboard_ = window_->setKeyboardGrabEnabled(true);
    if (window_ && !holdsKeyboard_)
        retry_.start();
}

void ScreenTakeover::readNews() {
    const auto news = screen_.takeNews();
    if (!screen_.alive())
        notifier_.setEnabled(false);
    if (!window_)
        return;
    if (news.covered && !raise_.isActive())
        raise_.start();
    if (news.focused) {
        leaveFocusWhereItWas();
        holdKeyboard();
    }
}

} // namespace lightpen
