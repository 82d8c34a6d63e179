// SPDX-License-Identifier: MIT
#include "linux_desktop/pointer/PointerBackend.h"

namespace lightpen {

IOReturn PointerBackend::post(std::uint32_t eventType, IOGPoint location) {
    const std::lock_guard hold(mutex_);
    const PointerButtons::Action action = buttons_.apply(eventType);
    if (action.drop)
        return kIOReturnSuccess;
    const PointerGeometry geometry = geometry_.load();
    if (geometry.known())
        return sendAndRemember(Place{geometry.pixelAt(location), geometry.axisAt(location)}, action);
    // Without a screen nothing can be pointed at, but a button is let go wherever the pointer is.
    if (action.button != Button::none && !action.press)
        return sendAndRemember(std::nullopt, action);
    return kIOReturnNoDevice;
}

void PointerBackend::releaseButtons() {
    const std::lock_guard hold(mutex_);
    for (const std::uint32_t release : {kLeftMouseUp, kRightMouseUp})
        if (const auto action = buttons_.apply(release); !action.drop)
            sendAndRemember(std::nullopt, action);
}

// A release that did not get through is still owed: the button counts as down, so that the next attempt is
// made.
IOReturn PointerBackend::sendAndRemember(std::optional<Place> place, PointerButtons::Action action) {
    const IOReturn result = send(place, action.button, action.press);
    if (result != kIOReturnSuccess && action.button != Button::none && !action.press)
        buttons_.apply(action.button == Button::left ? kLeftMouseDown : kRightMouseDown);
    return result;
}

} // namespace lightpen
