// SPDX-License-Identifier: MIT
#include "measure/desktop/XClient.h"

#include <xcb/xtest.h>

#include <algorithm>
#include <stdexcept>

namespace lightpen {

XClient::XClient(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_)) {
        xcb_disconnect(connection_);
        throw std::runtime_error("no X server " + display);
    }
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
}

void XClient::fake(std::uint8_t type, std::uint8_t detail, int x, int y) {
    xcb_test_fake_input(connection_, type, detail, XCB_CURRENT_TIME, XCB_NONE, static_cast<std::int16_t>(x),
                        static_cast<std::int16_t>(y), 0);
    sync();
}

void XClient::movePointer(int x, int y) {
    fake(XCB_MOTION_NOTIFY, 0, x, y);
}

void XClient::click(std::uint8_t button) {
    fake(XCB_BUTTON_PRESS, button);
    fake(XCB_BUTTON_RELEASE, button);
}

void XClient::click(int x, int y, std::uint8_t button) {
    movePointer(x, y);
    click(button);
}

void XClient::pressKey(std::uint8_t keycode) {
    holdKey(keycode, true);
    holdKey(keycode, false);
}

void XClient::holdKey(std::uint8_t keycode, bool down) {
    fake(down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, keycode);
}

xcb_atom_t XClient::atom(const std::string& name) {
    const auto reply = ownedReply(xcb_intern_atom_reply(
        connection_, xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
        nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void XClient::sendMessage(xcb_window_t receiver, std::uint32_t mask, xcb_window_t window,
                          const std::string& type, const std::array<std::uint32_t, 5>& data) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom(type);
    std::copy(data.begin(), data.end(), message.data.data32);
    xcb_send_event(connection_, 0, receiver, mask, reinterpret_cast<const char*>(&message));
    sync();
}

xcb_window_t XClient::focus() {
    const auto reply =
        ownedReply(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    return reply ? reply->focus : xcb_window_t{XCB_WINDOW_NONE};
}

bool XClient::viewable(xcb_window_t window) {
    const auto reply = ownedReply(xcb_get_window_attributes_reply(
        connection_, xcb_get_window_attributes(connection_, window), nullptr));
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
}

} // namespace lightpen
