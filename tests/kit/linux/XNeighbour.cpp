// SPDX-License-Identifier: MIT
#include "kit/linux/XNeighbour.h"

#include <cstring>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace lightpen {

xcb_window_t XNeighbour::create(const NeighbourWindow& window, bool overrideRedirect) {
    const xcb_window_t id = xcb_generate_id(connection());
    const std::uint32_t values[] = {window.colour, overrideRedirect ? 1U : 0U,
                                    XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_BUTTON_PRESS};
    xcb_create_window(connection(), XCB_COPY_FROM_PARENT, id, screen().root, window.x, window.y, window.width,
                      window.height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    // The user's own place and size, which a window manager leaves alone.
    const std::uint32_t hints[18] = {1 | 2};
    xcb_change_property(connection(), XCB_PROP_MODE_REPLACE, id, XCB_ATOM_WM_NORMAL_HINTS,
                        XCB_ATOM_WM_SIZE_HINTS, 32, static_cast<std::uint32_t>(std::size(hints)), hints);
    return id;
}

xcb_window_t XNeighbour::show(xcb_window_t window) {
    xcb_map_window(connection(), window);
    sync();
    return window;
}

xcb_window_t XNeighbour::openWindow(const NeighbourWindow& window) {
    return show(create(window, false));
}

xcb_window_t XNeighbour::openPanel(const NeighbourWindow& window) {
    const auto id = create(window, false);
    const std::uint32_t dock = atom("_NET_WM_WINDOW_TYPE_DOCK");
    setProperty(id, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, &dock, 1);
    // left, right, top, bottom, and where each begins and ends
    const std::uint32_t struts[12] = {0, 0, window.height, 0, 0, 0, 0, 0, 0, window.width - 1U, 0, 0};
    setProperty(id, "_NET_WM_STRUT", XCB_ATOM_CARDINAL, struts, 4);
    setProperty(id, "_NET_WM_STRUT_PARTIAL", XCB_ATOM_CARDINAL, struts, 12);
    return show(id);
}

xcb_window_t XNeighbour::openFreePanel(const NeighbourWindow& window) {
    return show(create(window, true));
}

xcb_window_t XNeighbour::makeFreePanel(const NeighbourWindow& window) {
    const auto id = create(window, true);
    sync();
    return id;
}

xcb_window_t XNeighbour::openInvisible(const NeighbourWindow& window) {
    const xcb_window_t id = xcb_generate_id(connection());
    const std::uint32_t overrideRedirect = 1;
    xcb_create_window(connection(), 0, id, screen().root, window.x, window.y, window.width, window.height, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT,
                      &overrideRedirect);
    xcb_map_window(connection(), id);
    sync();
    return id;
}

void XNeighbour::move(xcb_window_t window, std::int16_t x, std::int16_t y) {
    const std::int32_t place[] = {x, y};
    xcb_configure_window(connection(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, place);
    sync();
}

void XNeighbour::resize(xcb_window_t window, std::uint16_t width, std::uint16_t height) {
    const std::uint32_t size[] = {width, height};
    xcb_configure_window(connection(), window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
    sync();
}

void XNeighbour::forceScreenSaver(bool on) {
    xcb_force_screen_saver(connection(), on ? XCB_SCREEN_SAVER_ACTIVE : XCB_SCREEN_SAVER_RESET);
    sync();
}

void XNeighbour::raise(xcb_window_t window) {
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    sync();
}

void XNeighbour::close(xcb_window_t window) {
    xcb_destroy_window(connection(), window);
    sync();
}

void XNeighbour::setFocus(xcb_window_t window) {
    xcb_set_input_focus(connection(), XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    sync();
}

std::uint32_t XNeighbour::pixelAt(std::int16_t x, std::int16_t y) {
    const auto reply = ownedReply(xcb_get_image_reply(
        connection(),
        xcb_get_image(connection(), XCB_IMAGE_FORMAT_Z_PIXMAP, screen().root, x, y, 1, 1, ~std::uint32_t{0}),
        nullptr));
    std::uint32_t pixel = 0;
    if (!reply || xcb_get_image_data_length(reply.get()) < static_cast<int>(sizeof pixel))
        throw std::runtime_error("no such pixel");
    std::memcpy(&pixel, xcb_get_image_data(reply.get()), sizeof pixel);
    return pixel & 0xFFFFFF;
}

void XNeighbour::setRootCursor() {
    constexpr std::uint16_t kCross = 34;
    const std::string name = "cursor";
    const xcb_font_t font = xcb_generate_id(connection());
    xcb_open_font(connection(), font, static_cast<std::uint16_t>(name.size()), name.c_str());
    const xcb_cursor_t cursor = xcb_generate_id(connection());
    xcb_create_glyph_cursor(connection(), cursor, font, font, kCross, kCross + 1, 0xFFFF, 0, 0, 0xFFFF,
                            0xFFFF, 0);
    xcb_change_window_attributes(connection(), screen().root, XCB_CW_CURSOR, &cursor);
    sync();
}

bool XNeighbour::grabKeyboard() {
    const auto reply =
        ownedReply(xcb_grab_keyboard_reply(connection(),
                                           xcb_grab_keyboard(connection(), 0, screen().root, XCB_CURRENT_TIME,
                                                             XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                           nullptr));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

void XNeighbour::ungrabKeyboard() {
    xcb_ungrab_keyboard(connection(), XCB_CURRENT_TIME);
    sync();
}

bool XNeighbour::keyboardIsFree() {
    const bool free = grabKeyboard();
    ungrabKeyboard();
    return free;
}

void XNeighbour::becomeManager(xcb_window_t window) {
    for (const xcb_window_t holder : {screen().root, window})
        setProperty(holder, "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, &window, 1);
    const xcb_atom_t supported = atom("_NET_ACTIVE_WINDOW");
    setProperty(screen().root, "_NET_SUPPORTED", XCB_ATOM_ATOM, &supported, 1);
    const std::uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection(), screen().root, XCB_CW_EVENT_MASK, &events);
    sync();
}

std::optional<xcb_client_message_event_t> XNeighbour::takeMessage(const char* name) {
    const xcb_atom_t type = atom(name);
    while (const auto event = ownedReply(xcb_poll_for_event(connection()))) {
        if ((event->response_type & 0x7F) != XCB_CLIENT_MESSAGE)
            continue;
        const auto& message = *reinterpret_cast<const xcb_client_message_event_t*>(event.get());
        if (message.type == type)
            return message;
    }
    return std::nullopt;
}

void XNeighbour::countInput() {
    sync();
    while (const auto event = ownedReply(xcb_poll_for_event(connection()))) {
        keys_ += (event->response_type & 0x7F) == XCB_KEY_PRESS ? 1 : 0;
        clicks_ += (event->response_type & 0x7F) == XCB_BUTTON_PRESS ? 1 : 0;
    }
}

int XNeighbour::takeClicks() {
    countInput();
    return std::exchange(clicks_, 0);
}

int XNeighbour::takeKeys() {
    countInput();
    return std::exchange(keys_, 0);
}

void XNeighbour::setProperty(xcb_window_t window, const char* name, xcb_atom_t type,
                             const std::uint32_t* values, std::uint32_t count) {
    xcb_change_property(connection(), XCB_PROP_MODE_REPLACE, window, atom(name), type, 32, count, values);
}

} // namespace lightpen
