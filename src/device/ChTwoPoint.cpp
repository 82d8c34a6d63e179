// SPDX-License-Identifier: MIT
#include "device/ChTwoPoint.h"

#include <QKeyEvent>
#include <QRegion>

#include "device/SharedState.h"
#include "device/VirtualKeyCodes.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

// In the bottom-left corner.
constexpr WindowRect kKeyWindowRect{{0, 0}, {20, 20}};
constexpr int kLastLatinKey = 0xFF;

} // namespace

// The window must take keys without being seen. As a tool window it has no entry in the task bar. Its
// background is transparent. Where the desktop cannot draw that, the mask hides it: the mask lies outside of
// the window, so that nothing is drawn and no click is taken. Showing it does not activate the program; the
// keyboard is asked for separately.
ChTwoPoint::ChTwoPoint(const WindowRect& contentRect)
    : QWidget(nullptr,
              Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::NoDropShadowWindowHint) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground);
    setFocusPolicy(Qt::StrongFocus);
    placeOnMainScreen(*this, contentRect);
    setMask(QRegion(-1, -1, 1, 1));
}

void ChTwoPoint::keyDown(std::uint16_t keyCode) {
    switch (keyCode) {
    case kVirtualKeyZ:
        sharedState.keyZPressed = 1;
        break;
    case kVirtualKeyDelete:
        sharedState.keyDeletePressed = 1;
        break;
    case kVirtualKeyC:
        sharedState.keyCPressed = 1;
        break;
    case kVirtualKeyEscape:
        sharedState.keyEscapePressed = 1;
        break;
    default:
        break;
    }
    logLine("Event n:111 keyCode : (%d , %d , %d , %d)", sharedState.keyZPressed.load(),
            sharedState.keyDeletePressed.load(), sharedState.keyCPressed.load(),
            sharedState.keyEscapePressed.load());
}

void ChTwoPoint::makeKeyAndOrderFront() {
    show();
    raise();
    activateWindow();
    setFocus(Qt::OtherFocusReason);
}

void ChTwoPoint::borrowKeyboard() {
    if (hadKeyboard_)
        return;
    borrowing_ = true;
    makeKeyAndOrderFront();
}

// A window that goes away gives the keyboard up; shown again, it does not ask for it.
void ChTwoPoint::giveKeyboardBack() {
    if (!borrowing_)
        return;
    hide();
    show();
    borrowing_ = false;
}

void ChTwoPoint::focusInEvent(QFocusEvent* event) {
    hadKeyboard_ = hadKeyboard_ || !borrowing_;
    QWidget::focusInEvent(event);
}

void ChTwoPoint::focusOutEvent(QFocusEvent* event) {
    sharedState.forgetKeys();
    QWidget::focusOutEvent(event);
}

// A keyboard of Russian, Thai or Greek letters has no Z. There the key counts that stands in the same place.
void ChTwoPoint::keyPressEvent(QKeyEvent* event) {
    event->accept();
    const std::uint16_t code = virtualKeyCode(event->key());
    const bool placeCounts = code == kNoVirtualKey && event->key() > kLastLatinKey;
    keyDown(placeCounts ? virtualKeyCodeAtPlace(event->nativeScanCode()) : code);
}

std::shared_ptr<PairingKeyWindow> newPairingKeyWindow() {
    if (!canShowWindows())
        return nullptr;
    // The point thread may hold the last reference; a widget is destroyed on the main thread all the same.
    std::shared_ptr<ChTwoPoint> window(new ChTwoPoint(kKeyWindowRect),
                                       [](ChTwoPoint* unused) { unused->deleteLater(); });
    window->setLevel(WindowLevel::cursor);
    return window;
}

} // namespace lightpen
