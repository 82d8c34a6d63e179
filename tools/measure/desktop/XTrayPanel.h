// SPDX-License-Identifier: MIT
#pragma once

#include "measure/desktop/XTrayOwner.h"

namespace lightpen {

// A panel along the upper edge of an X server's screen that keeps the server's tray: a program that finds no
// other panel puts its status item's window into it and shows its own menu there. Behind it the screen gets a
// plain wallpaper. One icon at a time.
class XTrayPanel final : public XTrayOwner {
public:
    static constexpr std::uint16_t kHeight = 30;

    // There at once. Throws when there is no such display, or a tray already.
    explicit XTrayPanel(const std::string& display);

    // Takes in a program's icon that waits, and looks whether the one it has is still there; to be called
    // again and again.
    using XTrayOwner::handleEvents;
    bool hasIcon() const { return icon_ != XCB_WINDOW_NONE; }
    // The middle of the icon, in pixels of the screen.
    int iconX() const;
    static int iconY() { return kHeight / 2; }

private:
    void embed(xcb_window_t icon) override;
    void forget(xcb_window_t window) override;

    xcb_window_t icon_ = XCB_WINDOW_NONE;
};

} // namespace lightpen
