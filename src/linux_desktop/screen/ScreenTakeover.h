// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include <QObject>
#include <QPointer>
#include <QSocketNotifier>
#include <QTimer>
#include <QWindow>

#include "linux_desktop/screen/XFullScreen.h"

namespace lightpen {

// While it lives, the program's window that covers a screen has the keyboard and stays on top, under X11. The
// keyboard is grabbed, not just given the focus: the window manager's own keys (switching programs, menus) go
// to the window too, and the server gives everything back when the program is gone. Without a window manager
// nobody would hand the focus back either, so it is left where it was. Main thread.
class ScreenTakeover final : public QObject {
public:
    // Remembers who has the focus. The connection outlives this. As long as the function answers true, the
    // window is not raised and gets no keyboard.
    explicit ScreenTakeover(
        XFullScreen& screen, std::function<bool()> isCovered = [] { return false; });
    // Gives the keyboard back.
    ~ScreenTakeover() override;

    // Brings the covering window before other programs' windows once more; each new one is brought there
    // anyway, since a window manager may doubt that the user has asked for it.
    void activate();

    // Public for Qt; looks for the window that covers its screen.
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void consider(QWindow& window);
    void take(QWindow& window);
    void letGo();
    void settle();
    void holdKeyboard();
    void dropKeyboard();
    void leaveFocusWhereItWas();
    void readNews();

    XFullScreen& screen_;
    const std::function<bool()> isCovered_;
    const XFullScreen::Window focusBefore_;
    QPointer<QWindow> window_;
    QSocketNotifier notifier_;
    QTimer retry_;
    QTimer raise_;
    bool holdsKeyboard_ = false;
};

} // namespace lightpen
