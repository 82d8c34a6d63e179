// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include <QSocketNotifier>
#include <QTimer>

#include "linux_desktop/screen/XConnection.h"

namespace lightpen {

// Finds out whether the X screen is locked, from what lockers do there whether they tell anybody or not, and
// follows the server's screen saver. A locker is another program's window past the window manager that hides
// a whole screen. One that was only made counts for a moment: some show it once they have the keyboard.
// One thread, with Qt's loop.
class XLockers {
public:
    // Connects to the display of the environment; null when there is none. The function is called from the
    // loop when the answer has changed.
    static std::unique_ptr<XLockers> connect(std::function<void()> changed);
    XLockers(const XLockers&) = delete;
    XLockers& operator=(const XLockers&) = delete;

    // Whether a locker or the screen saver covers a screen. All that the server did before counts.
    bool cover();

private:
    // How far a window must have come.
    enum class Stage { made, shown };

    XLockers(XConnection connection, std::function<void()> changed);
    bool covers() const;
    void selectEvents();
    void takeEvents();
    void take(const xcb_generic_event_t& event);
    void consider(xcb_window_t window, Stage stage);
    void lookForOthers();
    bool couldLock(xcb_window_t window, Stage stage) const;
    bool isKnown(xcb_window_t window) const;
    xcb_window_t clientOf(xcb_window_t window) const;

    const XConnection connection_;
    const std::function<void()> changed_;
    const xcb_window_t root_;
    const xcb_atom_t supportingWindowAtom_;
    std::uint8_t rootDepth_ = 0;
    int saverEvent_ = -1; // its number; -1 when the server has no such extension
    bool saverIsOn_ = false;
    xcb_window_t locker_ = XCB_WINDOW_NONE;
    QTimer aboutToLock_; // runs for a moment after a locker has made its window
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace lightpen
