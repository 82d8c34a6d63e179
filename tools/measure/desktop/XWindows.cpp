// SPDX-License-Identifier: MIT
#include "measure/desktop/XWindows.h"

#include <cstring>
#include <stdexcept>

namespace lightpen {

namespace {

constexpr std::uint32_t kLongestProperty = 1024; // in words

} // namespace

std::vector<ShownWindow> XWindows::shown(std::uint32_t processId) {
    std::vector<ShownWindow> found;
    collect(screen().root, processId, found);
    return found;
}

// A window manager puts a program's windows into its own.
void XWindows::collect(std::uint32_t window, std::uint32_t processId, std::vector<ShownWindow>& found) {
    if (window != screen().root) {
        if (const auto one = read(window, processId)) {
            found.push_back(*one);
            return;
        }
    }
    for (const xcb_window_t child : childrenOf(window))
        collect(child, processId, found);
}

std::vector<xcb_window_t> XWindows::childrenOf(std::uint32_t window) {
    const auto tree =
        ownedReply(xcb_query_tree_reply(connection(), xcb_query_tree(connection(), window), nullptr));
    if (!tree)
        return {};
    const xcb_window_t* const first = xcb_query_tree_children(tree.get());
    return {first, first + xcb_query_tree_children_length(tree.get())};
}

std::optional<ShownWindow> XWindows::read(std::uint32_t window, std::uint32_t processId) {
    if (numbers(window, "_NET_WM_PID") != std::vector<std::uint32_t>{processId})
        return std::nullopt;
    const auto geometry =
        ownedReply(xcb_get_geometry_reply(connection(), xcb_get_geometry(connection(), window), nullptr));
    const auto place = ownedReply(xcb_translate_coordinates_reply(
        connection(), xcb_translate_coordinates(connection(), window, screen().root, 0, 0), nullptr));
    if (!geometry || !place || !viewable(window))
        return std::nullopt;
    return ShownWindow{
        window, text(window, "_NET_WM_NAME"), place->dst_x, place->dst_y, geometry->width, geometry->height};
}

std::optional<ShownWindow> XWindows::focused(std::uint32_t processId) {
    return read(focus(), processId);
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
    sendMessage(window.id, XCB_EVENT_MASK_NO_EVENT, window.id, "WM_PROTOCOLS",
                {atom("WM_DELETE_WINDOW"), XCB_CURRENT_TIME});
}

void XWindows::hide(const ShownWindow& window) {
    xcb_unmap_window(connection(), window.id);
    sync();
}

std::size_t XWindows::thatCover(int width, int height) {
    const auto windows = childrenOf(screen().root);
    if (windows.empty())
        throw std::runtime_error("the X server does not tell its windows");
    std::size_t count = 0;
    for (const xcb_window_t window : windows) {
        const auto place =
            ownedReply(xcb_get_geometry_reply(connection(), xcb_get_geometry(connection(), window), nullptr));
        if (place && viewable(window) && place->x <= 0 && place->y <= 0 && place->x + place->width >= width &&
            place->y + place->height >= height)
            ++count;
    }
    return count;
}

XWindows::Property XWindows::property(std::uint32_t window, const char* name, std::uint8_t format) {
    auto reply = ownedReply(xcb_get_property_reply(
        connection(),
        xcb_get_property(connection(), 0, window, atom(name), XCB_ATOM_ANY, 0, kLongestProperty), nullptr));
    if (reply && reply->format != format)
        reply.reset();
    return reply;
}

std::vector<std::uint32_t> XWindows::numbers(std::uint32_t window, const char* name) {
    const auto reply = property(window, name, 32);
    std::vector<std::uint32_t> values(reply ? reply->value_len : 0);
    if (!values.empty())
        std::memcpy(values.data(), xcb_get_property_value(reply.get()), values.size() * sizeof values[0]);
    return values;
}

std::string XWindows::text(std::uint32_t window, const char* name) {
    const auto reply = property(window, name, 8);
    return reply
               ? std::string(static_cast<const char*>(xcb_get_property_value(reply.get())), reply->value_len)
               : std::string();
}

} // namespace lightpen
