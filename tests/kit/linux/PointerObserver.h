// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include "kit/Eventually.h"
#include "measure/desktop/XClient.h"

namespace lightpen {

struct PointerState {
    int x = -1;
    int y = -1;
    bool left = false;
    bool right = false;
    friend bool operator==(const PointerState&, const PointerState&) = default;
};

// What the server says about the pointer to somebody else.
class PointerObserver final : public XClient {
public:
    using XClient::XClient;

    PointerState state() {
        const auto reply = ownedReply(
            xcb_query_pointer_reply(connection(), xcb_query_pointer(connection(), screen().root), nullptr));
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
};

} // namespace lightpen
