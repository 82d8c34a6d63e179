// SPDX-License-Identifier: MIT
#include "measure/desktop/XWindows.h"

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace lightpen {

namespace {

constexpr std::uint32_t kLongestProperty = 1024; // in words

template <class Reply>
std::unique_ptr<Reply, void (*)(void*)> owned(Reply* reply) {
    return {reply, std::free};
}

} // namespace

XWindows::XWindows(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_)) {
        xcb_disconnect(connection_);
        throw std::runtime_error("no X server " + display);
    }
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
}

XWindows::~XWindows() {
    xcb_disconnect(connection_);
}

std::vector<ShownWindow> XWindows::shown(std::uint32_t processId) {
    std::vector<ShownWindow> found;
    collect(root_, processId, found);
    return found;
}

// A window manager puts a program's windows into its own.
void XWindows::collect(std::uint32_t window, std::uint32_t processId, std::vector<ShownWindow>& found) {
    if (window != root_) {
        if (const auto one = read(window, processId)) {
            found.push_back(*one);
            return;
        }
    }
    const auto tree = owned(xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr));
    if (!tree)
        return; // it has just gone
    const xcb_window_t* const children = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i)
        collect(children[i], processId, found);
}

std::optional<ShownWindow> XWindows::read(std::uint32_t window, std::uint32_t processId) {
    if (numbers(window, "_NET_WM_PID") != std::vector<std::uint32_t>{processId})
        return std::nullopt;
    const auto attributes = owned(xcb_get_window_attributes_reply(
        connection_, xcb_get_window_attributes(connection_, window), nullptr));
    const auto geometry =
        owned(xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
    const auto place = owned(xcb_translate_coordinates_reply(
        connection_, xcb_translate_coordinates(connection_, window, root_, 0, 0), nullptr));
    if (!attributes || !geometry || !place || attributes->map_state != XCB_MAP_STATE_VIEWABLE)
        return std::nullopt;
    return ShownWindow{
        window, text(window, "_NET_WM_NAME"), place->dst_x, place->dst_y, geometry->width, geometry->height};
}

std::optional<ShownWindow> XWindows::focused(std::uint32_t processId) {
    const auto focus =
        owned(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    return focus ? read(focus->focus, processId) : std::nullopt;
}

std::vector<int> XWindows::frame(const ShownWindow& window) {
    std::vector<int> edges{window.x, window.y, window.x + window.width, window.y + window.height};
    const auto extents = numbers(window.id, "_NET_FRAME_EXTENTS"); // left, right, top, bottom
    if (extents.size() != 4)
        return edges;
    edges[0] -= static_cast<int>(extents[0]);
    edges[2] += static_cast<int>(extents[1]);
    edges[1] -= static_cast<int>(extents[2]);
    edges[3] += static_cast<int>(extents[3]);
    return edges;
}

void XWindows::close(const ShownWindow& window) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window.id;
    message.type = atom("WM_PROTOCOLS");
    message.data.data32[0] = atom("WM_DELETE_WINDOW");
    message.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(connection_, 0, window.id, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&message));
    sync();
}

void XWindows::hide(const ShownWindow& window) {
    xcb_unmap_window(connection_, window.id);
    sync();
}

void XWindows::click(int x, int y, std::uint8_t button) {
    xcb_test_fake_input(connection_, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root_,
                        static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
    for (const std::uint8_t type : {std::uint8_t{XCB_BUTTON_PRESS}, std::uint8_t{XCB_BUTTON_RELEASE}})
        xcb_test_fake_input(connection_, type, button, XCB_CURRENT_TIME, root_, 0, 0, 0);
    sync();
}

void XWindows::pressKey(std::uint8_t keycode) {
    for (const std::uint8_t type : {std::uint8_t{XCB_KEY_PRESS}, std::uint8_t{XCB_KEY_RELEASE}})
        xcb_test_fake_input(connection_, type, keycode, XCB_CURRENT_TIME, root_, 0, 0, 0);
    sync();
}

std::vector<std::uint32_t> XWindows::numbers(std::uint32_t window, const char* property) {
    const auto reply = owned(xcb_get_property_reply(
        connection_,
        xcb_get_property(connection_, 0, window, atom(property), XCB_ATOM_CARDINAL, 0, kLongestProperty),
        nullptr));
    if (!reply || reply->format != 32)
        return {};
    std::vector<std::uint32_t> values(reply->value_len);
    if (!values.empty())
        std::memcpy(values.data(), xcb_get_property_value(reply.get()), values.size() * sizeof values[0]);
    return values;
}

std::string XWindows::text(std::uint32_t window, const char* property) {
    const auto reply = owned(xcb_get_property_reply(
        connection_,
        xcb_get_property(connection_, 0, window, atom(property), XCB_ATOM_ANY, 0, kLongestProperty),
        nullptr));
    if (!reply || reply->format != 8)
        return {};
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

std::uint32_t XWindows::atom(const char* name) {
    const auto reply = owned(xcb_intern_atom_reply(
        connection_, xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
        nullptr));
    return reply ? reply->atom : static_cast<std::uint32_t>(XCB_ATOM_NONE);
}

void XWindows::sync() {
    owned(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

} // namespace lightpen
