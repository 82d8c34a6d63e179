// SPDX-License-Identifier: MIT
#include "platform/PointerButtons.h"

#include <utility>

#include "platform/PointerEvents.h"

namespace lightpen {

PointerButtons::Action PointerButtons::apply(std::uint32_t eventType) {
    switch (eventType) {
    case kLeftMouseDown:
        leftDown_ = true;
        return {false, Button::left, true};
    case kLeftMouseUp:
        return std::exchange(leftDown_, false) ? Action{false, Button::left, false} : Action{true};
    case kRightMouseDown:
        rightDown_ = true;
        return {false, Button::right, true};
    case kRightMouseUp:
        return std::exchange(rightDown_, false) ? Action{false, Button::right, false} : Action{true};
    case kLeftMouseDragged:
        return {};
    default:
        return {true};
    }
}

} // namespace lightpen
