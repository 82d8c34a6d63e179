// SPDX-License-Identifier: MIT
#pragma once

#include "measure/desktop/XClient.h"

namespace lightpen {

// An X server's tray, as panels without a message bus keep it: its owner takes in the windows of programs
// that ask. One thread at a time.
class XTrayOwner : public XClient {
public:
    // In pixels of the X screen.
    struct Place {
        std::int16_t x = 0;
        std::int16_t y = 0;
        std::uint16_t width = 0;
        std::uint16_t height = 0;
    };

    // Not there yet.
    using XClient::XClient;
    virtual ~XTrayOwner() = default;

    // Shows the tray's window, in this colour (0xRRGGBB), and says that the tray is there; whose it was
    // before loses it.
    void appear(Place place, std::uint32_t colour);
    void disappear();
    // Says in the way of a tray that this selection has an owner now.
    void announce(const std::string& selection);
    // Whether some program keeps the tray.
    bool taken();

protected:
    // Handles what has come: calls embed for each window that asks for it, and forget for one that is gone.
    void handleEvents();
    virtual void embed(xcb_window_t icon) = 0;
    virtual void forget(xcb_window_t) {}
    // Puts a window into the tray, at this place of it.
    void takeIn(xcb_window_t icon, Place place);

private:
    xcb_window_t window_ = XCB_WINDOW_NONE;
};

} // namespace lightpen
