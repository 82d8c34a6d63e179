// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>

#include "linux_desktop/screen/XConnection.h"

namespace lightpen {

// What a program that covers a screen asks of the X server beyond Qt, over a connection of its own: the
// server undoes all of it when that connection ends, however the program ended. One thread.
class XFullScreen final {
public:
    // A window as the server numbers it; 0 is none, 1 the one under the pointer.
    using Window = std::uint32_t;

    // What happened to the watched window since the last look.
    struct News {
        bool covered = false; // something lies on top of it
        bool focused = false; // it was given the keyboard focus, not just the keyboard
    };

    // Connects to the display of that name, null for the one of the environment; null when there is none.
    static std::unique_ptr<XFullScreen> connect(const char* display = nullptr);

    // Hides the cursor on the whole X screen, or ends that; the server counts the calls for each connection.
    // False when it does not know how.
    bool hideCursor();
    void showCursor();

    // Whether a window manager that takes requests (EWMH) runs now.
    bool managed();
    // Who has the keyboard focus.
    Window focus();
    // Gives it to that window; it reverts as the focus that was there did. Returns when the server has done
    // it.
    void setFocus(Window window);
    // Asks the window manager to bring the window to the front as if the user had asked.
    void activate(Window window);
    // Puts the window on top of the others.
    void raise(Window window);

    // Reports on this window instead of another one; 0 for none. Whatever happens after its return is news.
    void watch(Window window);
    // Readable when there may be news.
    int descriptor() const { return xcb_get_file_descriptor(connection_.get()); }
    // False with the connection.
    bool alive() const { return xcb_connection_has_error(connection_.get()) == 0; }
    News takeNews();

private:
    explicit XFullScreen(XConnection connection);
    void selectEvents(Window window, std::uint32_t events);

    const XConnection connection_;
    const Window root_;
    bool hidesCursors_ = false;
    std::uint32_t supportingWindowAtom_ = 0;
    std::uint32_t activeWindowAtom_ = 0;
    Window watched_ = 0;
};

} // namespace lightpen
