// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace lightpen {

// Which mouse buttons are down, and what an event may therefore do. Pure; every pointer backend asks it.
class PointerButtons {
public:
    // What an event presses or releases.
    enum class Button { none, left, right };
    // What a backend does for one event: move unless dropped, then change the button, if any.
    struct Action {
        bool drop = false;
        Button button = Button::none;
        bool press = false;
        friend bool operator==(const Action&, const Action&) = default;
    };

    // What to do for an event of this type (kLeftMouseDown, ...). The release of a button that is not down
    // and unknown types are dropped; a drag without the button is a move.
    Action apply(std::uint32_t eventType);

private:
    bool leftDown_ = false;
    bool rightDown_ = false;
};

} // namespace lightpen
