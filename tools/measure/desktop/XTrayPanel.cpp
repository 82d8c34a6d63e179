// SPDX-License-Identifier: MIT
#include "measure/desktop/XTrayPanel.h"

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace lightpen {

namespace {

constexpr std::uint32_t kColour = 0x2B303B, kWallpaper = 0x3A6EA5;
constexpr std::uint32_t kIconSize = 22;
constexpr int kFromRightEdge = 60;
constexpr std::uint32_t kRequestDock = 0;
constexpr std::uint32_t kEmbeddedNotify = 0;

template <class Reply>
std::unique_ptr<Reply, void (*)(void*)> owned(Reply* reply) {
    return {reply, std::free};
}

} // namespace

XTrayPanel::XTrayPanel(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_)) {
        xcb_disconnect(connection_);
        throw std::runtime_error("no X server " + display);
    }
    const xcb_screen_t& screen = *xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    root_ = screen.root;
    width_ = screen.width_in_pixels;
    xcb_change_window_attributes(connection_, root_, XCB_CW_BACK_PIXEL, &kWallpaper);
    xcb_clear_area(connection_, 0, root_, 0, 0, 0, 0);
    panel_ = xcb_generate_id(connection_);
    const std::uint32_t values[] = {kColour, 1, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY};
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, panel_, root_, 0, 0, screen.width_in_pixels, kHeight,
                      0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(connection_, panel_);
    const xcb_atom_t selection = atom("_NET_SYSTEM_TRAY_S0");
    const auto owner = owned(
        xcb_get_selection_owner_reply(connection_, xcb_get_selection_owner(connection_, selection), nullptr));
    if (!owner || owner->owner != XCB_WINDOW_NONE) {
        xcb_disconnect(connection_);
        throw std::runtime_error("there is a tray on " + display);
    }
    xcb_set_selection_owner(connection_, panel_, selection, XCB_CURRENT_TIME);
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = root_;
    message.type = atom("MANAGER");
    message.data.data32[0] = XCB_CURRENT_TIME;
    message.data.data32[1] = selection;
    message.data.data32[2] = panel_;
    xcb_send_event(connection_, 0, root_, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(connection_);
}

XTrayPanel::~XTrayPanel() {
    xcb_disconnect(connection_);
}

int XTrayPanel::iconX() const {
    return width_ - kFromRightEdge + static_cast<int>(kIconSize) / 2;
}

void XTrayPanel::handleEvents() {
    const xcb_atom_t opcode = atom("_NET_SYSTEM_TRAY_OPCODE");
    while (const auto event = owned(xcb_poll_for_event(connection_))) {
        const auto kind = event->response_type & 0x7FU;
        if (kind == XCB_DESTROY_NOTIFY &&
            reinterpret_cast<const xcb_destroy_notify_event_t*>(event.get())->window == icon_)
            icon_ = 0;
        const auto& message = *reinterpret_cast<const xcb_client_message_event_t*>(event.get());
        if (kind == XCB_CLIENT_MESSAGE && message.type == opcode && message.data.data32[1] == kRequestDock)
            embed(message.data.data32[2]);
    }
}

void XTrayPanel::embed(std::uint32_t icon) {
    icon_ = icon;
    constexpr auto kTop = static_cast<std::int16_t>((kHeight - static_cast<int>(kIconSize)) / 2);
    xcb_change_save_set(connection_, XCB_SET_MODE_INSERT, icon);
    xcb_reparent_window(connection_, icon, panel_, static_cast<std::int16_t>(width_ - kFromRightEdge), kTop);
    const std::uint32_t size[] = {kIconSize, kIconSize};
    xcb_configure_window(connection_, icon, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = icon;
    message.type = atom("_XEMBED");
    message.data.data32[0] = XCB_CURRENT_TIME;
    message.data.data32[1] = kEmbeddedNotify;
    message.data.data32[3] = panel_;
    xcb_send_event(connection_, 0, icon, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&message));
    xcb_map_window(connection_, icon);
    xcb_flush(connection_);
}

std::uint32_t XTrayPanel::atom(const std::string& name) {
    const auto reply = owned(xcb_intern_atom_reply(
        connection_, xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
        nullptr));
    return reply ? reply->atom : static_cast<std::uint32_t>(XCB_ATOM_NONE);
}

} // namespace lightpen
