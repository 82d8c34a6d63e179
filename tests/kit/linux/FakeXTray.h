// SPDX-License-Identifier: MIT
#pragma once

#include <utility>
#include <vector>

#include "measure/desktop/XTrayOwner.h"

namespace lightpen {

// A tray at the screen's upper left corner that comes, goes and takes in icons when a test says so.
class FakeXTray final : public XTrayOwner {
public:
    using XTrayOwner::XTrayOwner;

    static constexpr std::uint16_t kSide = 24; // of the tray, in pixels

    void appear() {
        waiting_.clear();
        XTrayOwner::appear({0, 0, kSide, kSide}, 0);
    }
    // Says in the way of a tray that another selection has an owner.
    void announceSomethingElse() { announce("_NET_SYSTEM_TRAY_S7"); }
    // How often windows have asked to be embedded in the present tray since the last call. Qt may ask twice.
    std::size_t takeDockRequests() { return takeWaiting().size(); }
    // Embeds every window that has asked for it, in the tray's size.
    void embed() {
        for (const xcb_window_t icon : takeWaiting())
            takeIn(icon, {0, 0, kSide, kSide});
    }

private:
    void embed(xcb_window_t icon) override { waiting_.push_back(icon); }
    std::vector<xcb_window_t> takeWaiting() {
        handleEvents();
        return std::exchange(waiting_, {});
    }

    std::vector<xcb_window_t> waiting_;
};

} // namespace lightpen
