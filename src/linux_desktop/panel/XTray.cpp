// SPDX-License-Identifier: MIT
#include "linux_desktop/panel/XTray.h"

#include <xcb/xcb.h>

#include <cstdlib>
#include <string>
#include <utility>

namespace lightpen {

namespace {

template <class Reply>
std::unique_ptr<Reply, void (*)(void*)> owned(Reply* reply) {
    return {reply, std::free};
}

xcb_atom_t atom(xcb_connection_t* connection, const std::string& name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const auto reply = owned(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

xcb_window_t rootOf(xcb_connection_t* connection, int screen) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (; screen > 0 && screens.rem > 1; --screen)
        xcb_screen_next(&screens);
    return screens.data->root;
}

} // namespace

std::unique_ptr<XTray> XTray::connect(const char* display) {
    int screen = 0;
    Connection connection(xcb_connect(display, &screen), xcb_disconnect);
    if (xcb_connection_has_error(connection.get()))
        return nullptr;
    return std::unique_ptr<XTray>(new XTray(std::move(connection), screen));
}

XTray::XTray(Connection connection, int screen)
    : connection_(std::move(connection)), managerAtom_(atom(connection_.get(), "MANAGER")),
      trayAtom_(atom(connection_.get(), "_NET_SYSTEM_TRAY_S" + std::to_string(screen))) {
    // Who takes over such a selection tells the root window's listeners. The server must know of this one
    // before anybody relies on it: another program's announcement may come at once.
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    const auto request = xcb_change_window_attributes_checked(
        connection_.get(), rootOf(connection_.get(), screen), XCB_CW_EVENT_MASK, &events);
    owned(xcb_request_check(connection_.get(), request));
}

bool XTray::present() {
    const auto reply = owned(xcb_get_selection_owner_reply(
        connection_.get(), xcb_get_selection_owner(connection_.get(), trayAtom_), nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

int XTray::descriptor() const {
    return xcb_get_file_descriptor(connection_.get());
}

bool XTray::arrived() {
    bool announced = false;
    while (const auto event = owned(xcb_poll_for_event(connection_.get()))) {
        if ((event->response_type & 0x7F) != XCB_CLIENT_MESSAGE)
            continue;
        const auto& message = *reinterpret_cast<const xcb_client_message_event_t*>(event.get());
        announced |= message.type == managerAtom_ && message.data.data32[1] == trayAtom_;
    }
    return announced;
}

bool XTray::alive() const {
    return xcb_connection_has_error(connection_.get()) == 0;
}

} // namespace lightpen
