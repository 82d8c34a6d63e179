// SPDX-License-Identifier: MIT
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <string>

namespace lightpen {

// The X server's tray, as a panel keeps it: it owns the selection and counts who wants to be embedded.
class FakeXTray {
public:
    // Not there yet.
    explicit FakeXTray(const std::string& display);
    ~FakeXTray();
    FakeXTray(const FakeXTray&) = delete;
    FakeXTray& operator=(const FakeXTray&) = delete;

    void appear();
    void disappear();
    // Says in the way of a tray that another selection has an owner.
    void announceSomethingElse();
    // How often windows have asked to be embedded in the present tray since the last call. Qt may ask twice.
    int takeDockRequests();
    // Embeds every window that has asked for it, at the screen's upper left corner in the tray's size.
    void embed();
    static constexpr std::uint16_t kSide = 24; // of the tray, in pixels

private:
    // The window that asks to be embedded, from the events that have come; none when none does.
    xcb_window_t nextDockRequest();
    xcb_atom_t atom(const std::string& name);
    void announce(xcb_atom_t selection);

    xcb_connection_t* connection_;
    xcb_screen_t* screen_ = nullptr;
    xcb_window_t window_ = XCB_WINDOW_NONE;
    xcb_atom_t selection_ = XCB_ATOM_NONE;
};

} // namespace lightpen
