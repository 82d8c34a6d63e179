// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "kit/linux/XNeighbour.h"

namespace lightpen {

// A program that calls itself a window manager, keeps what it is asked for, and does nothing about it.
class FakeWindowManager {
public:
    struct Activation {
        xcb_window_t window = 0;
        std::uint32_t source = 0;
        friend bool operator==(const Activation&, const Activation&) = default;
    };

    explicit FakeWindowManager(const std::string& display) : program_(display) {
        const auto window = program_.openFreePanel({-10, -10, 1, 1, 0});
        program_.becomeManager(window);
    }
    // The oldest request that was not taken yet.
    std::optional<Activation> takeActivation() {
        const auto message = program_.takeMessage("_NET_ACTIVE_WINDOW");
        if (!message)
            return std::nullopt;
        return Activation{message->window, message->data.data32[0]};
    }

private:
    XNeighbour program_;
};

} // namespace lightpen
