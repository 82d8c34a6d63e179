// SPDX-License-Identifier: MIT
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "linux_desktop/pointer/PointerGeometry.h"

namespace lightpen {

// Another program on the display, which shows windows of one colour.
class ScreenPainter {
public:
    explicit ScreenPainter(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {}
    ~ScreenPainter() { xcb_disconnect(connection_); }
    ScreenPainter(const ScreenPainter&) = delete;
    ScreenPainter& operator=(const ScreenPainter&) = delete;

    // Each of these is done when it returns.

    // A window in front of all others, or in front of its parent.
    xcb_window_t show(PixelRect place, std::uint32_t colour, xcb_window_t parent = XCB_NONE) {
        const xcb_screen_t& screen = *xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        const xcb_window_t window = xcb_generate_id(connection_);
        const std::uint32_t values[] = {colour, 1};
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window,
                          parent == XCB_NONE ? screen.root : parent, static_cast<std::int16_t>(place.x),
                          static_cast<std::int16_t>(place.y), static_cast<std::uint16_t>(place.width),
                          static_cast<std::uint16_t>(place.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          screen.root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(connection_, window);
        finish();
        return window;
    }
    void move(xcb_window_t window, std::uint32_t x, std::uint32_t y) {
        const std::uint32_t values[] = {x, y};
        xcb_configure_window(connection_, window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values);
        finish();
    }
    void hide(xcb_window_t window) {
        xcb_destroy_window(connection_, window);
        finish();
    }
    void movePointer(std::int16_t x, std::int16_t y) {
        const xcb_screen_t& screen = *xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        xcb_warp_pointer(connection_, XCB_NONE, screen.root, 0, 0, 0, 0, x, y);
        finish();
    }

private:
    // When the server has answered it has done everything before.
    void finish() {
        const std::unique_ptr<xcb_get_input_focus_reply_t, void (*)(void*)> reply(
            xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr), std::free);
    }

    xcb_connection_t* connection_;
};

} // namespace lightpen
