// SPDX-License-Identifier: MIT
#include "kernel/support/XClient.h"

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <cstdlib>
#include <span>
#include <stdexcept>

namespace lightpen {

namespace {

template <class Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, std::free};
}

const xcb_screen_t& screenOf(xcb_connection_t* connection) {
    return *xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
}

xcb_keycode_t keyNamed(xcb_connection_t* connection, std::uint32_t name) {
    const xcb_setup_t& setup = *xcb_get_setup(connection);
    const auto count = static_cast<std::uint8_t>(setup.max_keycode - setup.min_keycode + 1);
    const auto map = owned(xcb_get_keyboard_mapping_reply(
        connection, xcb_get_keyboard_mapping(connection, setup.min_keycode, count), nullptr));
    if (!map)
        throw std::runtime_error("the X server has no keyboard");
    const std::span names(xcb_get_keyboard_mapping_keysyms(map.get()),
                          static_cast<std::size_t>(xcb_get_keyboard_mapping_keysyms_length(map.get())));
    for (std::size_t place = 0; place < names.size(); ++place)
        if (names[place] == name)
            return static_cast<xcb_keycode_t>(setup.min_keycode + place / map->keysyms_per_keycode);
    throw std::runtime_error("the X server's keyboard has no such key");
}

} // namespace

XClient::XClient() : connection_(xcb_connect(nullptr, nullptr), xcb_disconnect) {
    if (xcb_connection_has_error(connection_.get()))
        throw std::runtime_error("the X server cannot be reached");
}

void XClient::pressKey(std::uint32_t name) {
    const xcb_keycode_t key = keyNamed(connection_.get(), name);
    for (const std::uint8_t change : {std::uint8_t{XCB_KEY_PRESS}, std::uint8_t{XCB_KEY_RELEASE}})
        if (owned(xcb_request_check(connection_.get(),
                                    xcb_test_fake_input_checked(connection_.get(), change, key,
                                                                XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0))))
            throw std::runtime_error("the X server refuses a key");
}

std::size_t XClient::windowsThatCover(Size size) {
    xcb_connection_t* const connection = connection_.get();
    const auto tree = owned(
        xcb_query_tree_reply(connection, xcb_query_tree(connection, screenOf(connection).root), nullptr));
    if (!tree)
        throw std::runtime_error("the X server does not tell its windows");
    std::size_t count = 0;
    for (const xcb_window_t window :
         std::span(xcb_query_tree_children(tree.get()),
                   static_cast<std::size_t>(xcb_query_tree_children_length(tree.get())))) {
        const auto state = owned(xcb_get_window_attributes_reply(
            connection, xcb_get_window_attributes(connection, window), nullptr));
        const auto place =
            owned(xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
        if (state && place && state->map_state == XCB_MAP_STATE_VIEWABLE && place->x <= 0 && place->y <= 0 &&
            place->x + place->width >= size.width && place->y + place->height >= size.height)
            ++count;
    }
    return count;
}

} // namespace lightpen
