// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

#include "measure/desktop/XClient.h"

namespace lightpen {

struct NeighbourWindow {
    std::int16_t x = 0;
    std::int16_t y = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::uint32_t colour = 0; // 0xRRGGBB
};

// Another program on the same X server: it has windows and a panel, presses keys, moves the pointer and looks
// at what is shown.
class XNeighbour final : public XClient {
public:
    // Keycodes of the server's own keyboard.
    static constexpr std::uint8_t kEscape = 9;
    static constexpr std::uint8_t kBackspace = 22;
    static constexpr std::uint8_t kTab = 23;
    static constexpr std::uint8_t kReturn = 36;
    static constexpr std::uint8_t kA = 38;
    static constexpr std::uint8_t kZ = 52;
    static constexpr std::uint8_t kAlt = 64;
    static constexpr std::uint8_t kDown = 116;
    static constexpr std::uint8_t kDelete = 119;

    using XClient::XClient;

    // An ordinary window, mapped.
    xcb_window_t openWindow(const NeighbourWindow& window);
    // A panel along the left part of the upper edge, which keeps its strip free; a dock to a window manager.
    xcb_window_t openPanel(const NeighbourWindow& window);
    // A panel that no window manager sees.
    xcb_window_t openFreePanel(const NeighbourWindow& window);
    // The same, but not shown.
    xcb_window_t makeFreePanel(const NeighbourWindow& window);
    // One that nobody sees, and which takes clicks.
    xcb_window_t openInvisible(const NeighbourWindow& window);
    void raise(xcb_window_t window);
    void move(xcb_window_t window, std::int16_t x, std::int16_t y);
    void resize(xcb_window_t window, std::uint16_t width, std::uint16_t height);
    void close(xcb_window_t window);
    // Whether the server shows it, were it not for windows above it.
    bool isViewable(xcb_window_t window) { return viewable(window); }

    // Whose window has the keyboard focus.
    using XClient::focus;
    void setFocus(xcb_window_t window);
    // What is shown there, 0xRRGGBB; the cursor is not in it.
    std::uint32_t pixelAt(std::int16_t x, std::int16_t y);
    // Gives the root a cursor, which windows show that have none of their own.
    void setRootCursor();
    // How many presses of a button arrived in this program's windows since the last call.
    int takeClicks();
    // Holds the whole keyboard, as an open menu does; false when somebody else does.
    bool grabKeyboard();
    void ungrabKeyboard();
    bool keyboardIsFree();
    // Begins or ends the server's own screen saver.
    void forceScreenSaver(bool on);
    // Says on the root, and on this window of its own, that it is the window manager; hears what is asked of
    // one.
    void becomeManager(xcb_window_t window);
    // The next message of this name to the window manager, and drops what came before it.
    std::optional<xcb_client_message_event_t> takeMessage(const char* name);
    // How many keys were pressed in this program's windows since the last call.
    int takeKeys();

private:
    xcb_window_t create(const NeighbourWindow& window, bool overrideRedirect);
    xcb_window_t show(xcb_window_t window);
    void setProperty(xcb_window_t window, const char* name, xcb_atom_t type, const std::uint32_t* values,
                     std::uint32_t count);
    void countInput();

    int keys_ = 0;
    int clicks_ = 0;
};

} // namespace lightpen
