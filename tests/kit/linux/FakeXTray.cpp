// SPDX-License-Identifier: MIT
#include "kit/linux/FakeXTray.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace lightpen {

namespace {

template <class Reply>
std::unique_ptr<Reply, void (*)(void*)> owned(Reply* reply) {
    return {reply, std::free};
}

} // namespace

FakeXTray::FakeXTray(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_)) {
        xcb_disconnect(connection_);
        throw std::runtime_error("no X server");
    }
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    selection_ = atom("_NET_SYSTEM_TRAY_S0");
}

FakeXTray::~FakeXTray() {
    xcb_disconnect(connection_);
}

xcb_atom_t FakeXTray::atom(const std::string& name) {
    const auto reply = owned(xcb_intern_atom_reply(
        connection_, xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
        nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void FakeXTray::appear() {
    window_ = xcb_generate_id(connection_);
    const std::uint32_t unmanaged = 1;
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen_->root, 0, 0, kSide, kSide, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual, XCB_CW_OVERRIDE_REDIRECT,
                      &unmanaged);
    xcb_map_window(connection_, window_);
    xcb_set_selection_owner(connection_, window_, selection_, XCB_CURRENT_TIME);
    announce(selection_);
}

void FakeXTray::disappear() {
    xcb_destroy_window(connection_, window_);
    announce(XCB_ATOM_NONE); // for its round trip
}

void FakeXTray::announceSomethingElse() {
    announce(atom("_NET_SYSTEM_TRAY_S7"));
}

void FakeXTray::announce(xcb_atom_t selection) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = screen_->root;
    message.type = atom("MANAGER");
    message.data.data32[0] = XCB_CURRENT_TIME;
    message.data.data32[1] = selection;
    message.data.data32[2] = window_;
    xcb_send_event(connection_, 0, screen_->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    owned(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

xcb_window_t FakeXTray::nextDockRequest() {
    constexpr std::uint32_t kRequestDock = 0;
    const xcb_atom_t opcode = atom("_NET_SYSTEM_TRAY_OPCODE");
    while (const auto event = owned(xcb_poll_for_event(connection_))) {
        const auto& message = *reinterpret_cast<const xcb_client_message_event_t*>(event.get());
        if ((event->response_type & 0x7F) == XCB_CLIENT_MESSAGE && message.type == opcode &&
            message.window == window_ && message.data.data32[1] == kRequestDock)
            return message.data.data32[2];
    }
    return XCB_WINDOW_NONE;
}

int FakeXTray::takeDockRequests() {
    int requests = 0;
    while (nextDockRequest() != XCB_WINDOW_NONE)
        ++requests;
    return requests;
}

void FakeXTray::embed() {
    const std::uint32_t size[] = {kSide, kSide};
    for (auto item = nextDockRequest(); item != XCB_WINDOW_NONE; item = nextDockRequest()) {
        xcb_reparent_window(connection_, item, window_, 0, 0);
        xcb_configure_window(connection_, item, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
        xcb_map_window(connection_, item);
    }
    xcb_flush(connection_);
}

} // namespace lightpen
