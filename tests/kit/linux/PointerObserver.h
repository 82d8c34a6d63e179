// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "kit/Eventually.h"

namespace lightpen {

struct PointerState {
    int x = -1;
    int y = -1;
    bool left = false;
    bool right = false;
    friend bool operator==(const PointerState&, const PointerState&) = default;
};

// What the server says about the pointer to somebody else.
class PointerObserver {
public:
    explicit PointerObserver(const std::string& display)
        : connection_(xcb_connect(display.c_str(), nullptr)) {}
    ~PointerObserver() { xcb_disconnect(connection_); }
    PointerObserver(const PointerObserver&) = delete;
    PointerObserver& operator=(const PointerObserver&) = delete;

    PointerState state() {
        const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
        const std::unique_ptr<xcb_query_pointer_reply_t, void (*)(void*)> reply(
            xcb_query_pointer_reply(connection_, xcb_query_pointer(connection_, root), nullptr), std::free);
        if (!reply)
            return {};
        return {reply->root_x, reply->root_y, (reply->mask & XCB_BUTTON_MASK_1) != 0,
                (reply->mask & XCB_BUTTON_MASK_3) != 0};
    }
    // The two connections are served in any order, so the state is awaited.
    testing::AssertionResult becomes(PointerState expected) {
        if (eventually([&] { return state() == expected; }))
            return testing::AssertionSuccess();
        const PointerState now = state();
        return testing::AssertionFailure() << "the pointer is at " << now.x << ", " << now.y << " with left "
                                           << now.left << " and right " << now.right;
    }

private:
    xcb_connection_t* connection_;
};

} // namespace lightpen
