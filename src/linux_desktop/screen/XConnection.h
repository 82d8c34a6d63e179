// SPDX-License-Identifier: MIT
// A connection of our own to the X server, and what the server answers there.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace lightpen {

// What the library gives out, to be freed.
template <class Reply>
std::unique_ptr<Reply, void (*)(void*)> owned(Reply* reply) {
    return {reply, std::free};
}

// Errors of the server are results on it and never end the process, which is why this is xcb and not Xlib.
using XConnection = std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)>;

// Connects to the display of that name, null for the one of the environment; null when there is none. The
// screen is the number of the display's own one.
inline XConnection connectToX(const char* display, int* screen = nullptr) {
    XConnection connection(xcb_connect(display, screen), xcb_disconnect);
    if (xcb_connection_has_error(connection.get()))
        connection.reset();
    return connection;
}

// The root window of the screen of that number, of the last one where there are fewer.
inline xcb_window_t rootOf(xcb_connection_t* connection, int screen = 0) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (; screen > 0 && screens.rem > 1; --screen)
        xcb_screen_next(&screens);
    return screens.data->root;
}

// The number of a name on this server; XCB_ATOM_NONE when it cannot be had.
inline xcb_atom_t atomOf(xcb_connection_t* connection, std::string_view name) {
    const auto request = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const auto reply = owned(xcb_intern_atom_reply(connection, request, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

// The window that this property of a window names; XCB_WINDOW_NONE when it names none.
inline xcb_window_t windowIn(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property) {
    const auto reply = owned(xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, window, property, XCB_ATOM_WINDOW, 0, 1), nullptr));
    xcb_window_t named = XCB_WINDOW_NONE;
    if (reply && xcb_get_property_value_length(reply.get()) == sizeof named)
        std::memcpy(&named, xcb_get_property_value(reply.get()), sizeof named);
    return named;
}

} // namespace lightpen
