// SPDX-License-Identifier: MIT
#include "measure/desktop/XTrayPanel.h"

#include <stdexcept>

namespace lightpen {

namespace {

constexpr std::uint32_t kColour = 0x2B303B, kWallpaper = 0x3A6EA5;
constexpr std::uint16_t kIconSize = 22;
constexpr int kFromRightEdge = 60;

} // namespace

XTrayPanel::XTrayPanel(const std::string& display) : XTrayOwner(display) {
    if (taken())
        throw std::runtime_error("there is a tray on " + display);
    xcb_change_window_attributes(connection(), screen().root, XCB_CW_BACK_PIXEL, &kWallpaper);
    xcb_clear_area(connection(), 0, screen().root, 0, 0, 0, 0);
    appear({0, 0, screen().width_in_pixels, kHeight}, kColour);
}

int XTrayPanel::iconX() const {
    return screen().width_in_pixels - kFromRightEdge + kIconSize / 2;
}

void XTrayPanel::embed(xcb_window_t icon) {
    icon_ = icon;
    takeIn(icon, {static_cast<std::int16_t>(screen().width_in_pixels - kFromRightEdge),
                  (kHeight - kIconSize) / 2, kIconSize, kIconSize});
}

void XTrayPanel::forget(xcb_window_t window) {
    if (window == icon_)
        icon_ = XCB_WINDOW_NONE;
}

} // namespace lightpen
