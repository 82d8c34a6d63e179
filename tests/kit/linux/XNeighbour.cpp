// SPDX-License-Identifier: MIT
#include "kit/linux/XNeighbour.h"

#include <xcb/xtest.h>

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <utility>

namespace lightpen {

namespace {

template <class Reply>
std::unique_ptr<Reply, void (*)(void*)> owned(Reply* reply) {
    return {reply, std::free};
}

} // namespace

XNeighbour::XNeighbour(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_))
        throw std::runtime_error("no X server");
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
}

XNeighbour::~XNeighbour() {
    xcb_disconnect(connection_);
}

xcb_window_t XNeighbour::create(const NeighbourWindow& window, bool overrideRedirect) {
    const xcb_window_t id = xcb_generate_id(connection_);
    const std::uint32_t values[] = {window.colour, overrideRedirect ? 1U : 0U,
                                    XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_BUTTON_PRESS};
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, id, screen_->root, window.x, window.y, window.width,
                      window.height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    // The user's own place and size, which a window manager leaves alone.
    const std::uint32_t hints[18] = {1 | 2};
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, id, XCB_ATOM_WM_NORMAL_HINTS,
                        XCB_ATOM_WM_SIZE_HINTS, 32, static_cast<std::uint32_t>(std::size(hints)), hints);
    return id;
}

xcb_window_t XNeighbour::openWindow(const NeighbourWindow& window) {
    const auto id = create(window, false);
    xcb_map_window(connection_, id);
    sync();
    return id;
}

xcb_window_t XNeighbour::openPanel(const NeighbourWindow& window) {
    const auto id = create(window, false);
    const std::uint32_t dock = atom("_NET_WM_WINDOW_TYPE_DOCK");
    setProperty(id, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, &dock, 1);
    // left, right, top, bottom, and where each begins and ends
    const std::uint32_t struts[12] = {0, 0, window.height, 0, 0, 0, 0, 0, 0, window.width - 1U, 0, 0};
    setProperty(id, "_NET_WM_STRUT", XCB_ATOM_CARDINAL, struts, 4);
    setProperty(id, "_NET_WM_STRUT_PARTIAL", XCB_ATOM_CARDINAL, struts, 12);
    xcb_map_window(connection_, id);
    sync();
    return id;
}

xcb_window_t XNeighbour::openFreePanel(const NeighbourWindow& window) {
    const auto id = create(window, true);
    xcb_map_window(connection_, id);
    sync();
    return id;
}

void XNeighbour::raise(xcb_window_t window) {
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection_, window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    sync();
}

void XNeighbour::close(xcb_window_t window) {
    xcb_destroy_window(connection_, window);
    sync();
}

bool XNeighbour::isViewable(xcb_window_t window) {
    const auto reply = owned(xcb_get_window_attributes_reply(
        connection_, xcb_get_window_attributes(connection_, window), nullptr));
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
}

xcb_window_t XNeighbour::focus() {
    const auto reply =
        owned(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    return reply ? reply->focus : xcb_window_t{XCB_WINDOW_NONE};
}

void XNeighbour::setFocus(xcb_window_t window) {
    xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    sync();
}

std::uint32_t XNeighbour::pixelAt(std::int16_t x, std::int16_t y) {
    const auto reply = owned(xcb_get_image_reply(
        connection_,
        xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, screen_->root, x, y, 1, 1, ~std::uint32_t{0}),
        nullptr));
    std::uint32_t pixel = 0;
    if (!reply || xcb_get_image_data_length(reply.get()) < static_cast<int>(sizeof pixel))
        throw std::runtime_error("no such pixel");
    std::memcpy(&pixel, xcb_get_image_data(reply.get()), sizeof pixel);
    return pixel & 0xFFFFFF;
}

void XNeighbour::fake(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y) {
    xcb_test_fake_input(connection_, type, detail, XCB_CURRENT_TIME, XCB_NONE, x, y, 0);
    sync();
}

void XNeighbour::movePointer(std::int16_t x, std::int16_t y) {
    fake(XCB_MOTION_NOTIFY, 0, x, y);
}

void XNeighbour::setRootCursor() {
    constexpr std::uint16_t kCross = 34;
    const std::string name = "cursor";
    const xcb_font_t font = xcb_generate_id(connection_);
    xcb_open_font(connection_, font, static_cast<std::uint16_t>(name.size()), name.c_str());
    const xcb_cursor_t cursor = xcb_generate_id(connection_);
    xcb_create_glyph_cursor(connection_, cursor, font, font, kCross, kCross + 1, 0xFFFF, 0, 0, 0xFFFF, 0xFFFF,
                            0);
    xcb_change_window_attributes(connection_, screen_->root, XCB_CW_CURSOR, &cursor);
    sync();
}

void XNeighbour::pressKey(std::uint8_t keycode) {
    holdKey(keycode, true);
    holdKey(keycode, false);
}

void XNeighbour::holdKey(std::uint8_t keycode, bool down) {
    fake(down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, keycode);
}

bool XNeighbour::grabKeyboard() {
    const auto reply =
        owned(xcb_grab_keyboard_reply(connection_,
                                      xcb_grab_keyboard(connection_, 0, screen_->root, XCB_CURRENT_TIME,
                                                        XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                      nullptr));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

void XNeighbour::ungrabKeyboard() {
    xcb_ungrab_keyboard(connection_, XCB_CURRENT_TIME);
    sync();
}

bool XNeighbour::keyboardIsFree() {
    const bool free = grabKeyboard();
    ungrabKeyboard();
    return free;
}

void XNeighbour::becomeManager(xcb_window_t window) {
    for (const xcb_window_t holder : {screen_->root, window})
        setProperty(holder, "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, &window, 1);
    const xcb_atom_t supported = atom("_NET_ACTIVE_WINDOW");
    setProperty(screen_->root, "_NET_SUPPORTED", XCB_ATOM_ATOM, &supported, 1);
    const std::uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_, screen_->root, XCB_CW_EVENT_MASK, &events);
    sync();
}

std::optional<xcb_client_message_event_t> XNeighbour::takeMessage(const char* name) {
    const xcb_atom_t type = atom(name);
    while (const auto event = owned(xcb_poll_for_event(connection_))) {
        if ((event->response_type & 0x7F) != XCB_CLIENT_MESSAGE)
            continue;
        const auto& message = *reinterpret_cast<const xcb_client_message_event_t*>(event.get());
        if (message.type == type)
            return message;
    }
    return std::nullopt;
}

void XNeighbour::click() {
    constexpr std::uint8_t kLeft = 1;
    fake(XCB_BUTTON_PRESS, kLeft);
    fake(XCB_BUTTON_RELEASE, kLeft);
}

void XNeighbour::countInput() {
    sync();
    while (const auto event = owned(xcb_poll_for_event(connection_))) {
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

xcb_atom_t XNeighbour::atom(const char* name) {
    const auto length = static_cast<std::uint16_t>(std::strlen(name));
    const auto reply =
        owned(xcb_intern_atom_reply(connection_, xcb_intern_atom(connection_, 0, length, name), nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void XNeighbour::setProperty(xcb_window_t window, const char* name, xcb_atom_t type,
                             const std::uint32_t* values, std::uint32_t count) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atom(name), type, 32, count, values);
}

void XNeighbour::sync() {
    focus();
}

} // namespace lightpen
