// SPDX-License-Identifier: MIT
#include "linux_desktop/panel/XTray.h"

#include <string>
#include <utility>

namespace lightpen {

std::unique_ptr<XTray> XTray::connect(const char* display) {
    int screen = 0;
    XConnection connection = connectToX(display, &screen);
    return connection ? std::unique_ptr<XTray>(new XTray(std::move(connection), screen)) : nullptr;
}

XTray::XTray(XConnection connection, int screen)
    : connection_(std::move(connection)), managerAtom_(atomOf(connection_.get(), "MANAGER")),
      trayAtom_(atomOf(connection_.get(), "_NET_SYSTEM_TRAY_S" + std::to_string(screen))) {
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

} // namespace lightpen
