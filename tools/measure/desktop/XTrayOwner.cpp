// SPDX-License-Identifier: MIT
#include "measure/desktop/XTrayOwner.h"

namespace lightpen {

namespace {

constexpr const char* kSelection = "_NET_SYSTEM_TRAY_S0";
constexpr std::uint32_t kRequestDock = 0;
constexpr std::uint32_t kEmbeddedNotify = 0;

} // namespace

bool XTrayOwner::taken() {
    const auto owner = ownedReply(xcb_get_selection_owner_reply(
        connection(), xcb_get_selection_owner(connection(), atom(kSelection)), nullptr));
    return !owner || owner->owner != XCB_WINDOW_NONE;
}

void XTrayOwner::appear(Place place, std::uint32_t colour) {
    window_ = xcb_generate_id(connection());
    const std::uint32_t values[] = {colour, 1, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY};
    xcb_create_window(connection(), XCB_COPY_FROM_PARENT, window_, screen().root, place.x, place.y,
                      place.width, place.height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(connection(), window_);
    xcb_set_selection_owner(connection(), window_, atom(kSelection), XCB_CURRENT_TIME);
    announce(kSelection);
}

void XTrayOwner::disappear() {
    xcb_destroy_window(connection(), window_);
    sync();
}

void XTrayOwner::announce(const std::string& selection) {
    sendMessage(screen().root, XCB_EVENT_MASK_STRUCTURE_NOTIFY, screen().root, "MANAGER",
                {XCB_CURRENT_TIME, atom(selection), window_});
}

void XTrayOwner::handleEvents() {
    const xcb_atom_t opcode = atom("_NET_SYSTEM_TRAY_OPCODE");
    while (const auto event = ownedReply(xcb_poll_for_event(connection()))) {
        const auto kind = event->response_type & 0x7FU;
        if (kind == XCB_DESTROY_NOTIFY)
            forget(reinterpret_cast<const xcb_destroy_notify_event_t*>(event.get())->window);
        const auto& message = *reinterpret_cast<const xcb_client_message_event_t*>(event.get());
        if (kind == XCB_CLIENT_MESSAGE && message.type == opcode && message.window == window_ &&
            message.data.data32[1] == kRequestDock)
            embed(message.data.data32[2]);
    }
}

void XTrayOwner::takeIn(xcb_window_t icon, Place place) {
    xcb_change_save_set(connection(), XCB_SET_MODE_INSERT, icon);
    xcb_reparent_window(connection(), icon, window_, place.x, place.y);
    const std::uint32_t size[] = {place.width, place.height};
    xcb_configure_window(connection(), icon, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
    sendMessage(icon, XCB_EVENT_MASK_NO_EVENT, icon, "_XEMBED",
                {XCB_CURRENT_TIME, kEmbeddedNotify, 0, window_});
    xcb_map_window(connection(), icon);
    sync();
}

} // namespace lightpen
