// SPDX-License-Identifier: MIT
#pragma once

#include "linux_desktop/pointer/PointerGeometry.h"
#include "measure/desktop/XClient.h"

namespace lightpen {

// Another program on the display, which shows windows of one colour.
class ScreenPainter final : public XClient {
public:
    using XClient::XClient;

    // A window in front of all others, or in front of its parent.
    xcb_window_t show(PixelRect place, std::uint32_t colour, xcb_window_t parent = XCB_NONE) {
        const xcb_window_t window = xcb_generate_id(connection());
        const std::uint32_t values[] = {colour, 1};
        xcb_create_window(connection(), XCB_COPY_FROM_PARENT, window,
                          parent == XCB_NONE ? screen().root : parent, static_cast<std::int16_t>(place.x),
                          static_cast<std::int16_t>(place.y), static_cast<std::uint16_t>(place.width),
                          static_cast<std::uint16_t>(place.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          screen().root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(connection(), window);
        sync();
        return window;
    }
    void move(xcb_window_t window, std::uint32_t x, std::uint32_t y) {
        const std::uint32_t values[] = {x, y};
        xcb_configure_window(connection(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values);
        sync();
    }
    void hide(xcb_window_t window) {
        xcb_destroy_window(connection(), window);
        sync();
    }
};

} // namespace lightpen
