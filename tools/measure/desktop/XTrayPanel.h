// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

struct xcb_connection_t;

namespace lightpen {

// A panel along the upper edge of an X server's screen that keeps the server's tray, as panels without a
// message bus do: a program that finds no other panel puts its status item's window into it and shows its own
// menu there. Behind it the screen gets a plain wallpaper. One icon at a time. One thread at a time.
class XTrayPanel {
public:
    static constexpr int kHeight = 30;

    // There at once. Throws when there is no such display, or a tray already.
    explicit XTrayPanel(const std::string& display);
    ~XTrayPanel();
    XTrayPanel(const XTrayPanel&) = delete;
    XTrayPanel& operator=(const XTrayPanel&) = delete;

    // Takes in a program's icon that waits, and looks whether the one it has is still there; to be called
    // again and again.
    void handleEvents();
    bool hasIcon() const { return icon_ != 0; }
    // The middle of the icon, in pixels of the screen.
    int iconX() const;
    static int iconY() { return kHeight / 2; }

private:
    void embed(std::uint32_t icon);
    std::uint32_t atom(const std::string& name);

    xcb_connection_t* const connection_;
    std::uint32_t root_ = 0;
    std::uint32_t panel_ = 0;
    std::uint32_t icon_ = 0;
    int width_ = 0;
};

} // namespace lightpen
