// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "linux_desktop/pointer/PointerGeometry.h"
#include "platform/PointerButtons.h"

namespace lightpen {

// One way to inject pointer events. The base keeps the rules that all ways share: which buttons are down,
// what is dropped, one event at a time. Any thread.
class PointerBackend {
public:
    // The geometry outlives the backend.
    explicit PointerBackend(const SharedGeometry& geometry) : geometry_(geometry) {}
    virtual ~PointerBackend() = default;
    PointerBackend(const PointerBackend&) = delete;
    PointerBackend& operator=(const PointerBackend&) = delete;

    // Moves the pointer to the point and presses or releases as the event type says (kLeftMouseDown, ...).
    // kIOReturnNoDevice without a desktop, or what the device says.
    IOReturn post(std::uint32_t eventType, IOGPoint location);
    // Releases what is down, where the pointer stands. Each backend's destructor calls it.
    void releaseButtons();

protected:
    using Button = PointerButtons::Button;
    // The place of one event, in the coordinates of every kind of device.
    struct Place {
        PixelPoint pixel;
        AxisPoint axis;
    };

    // Moves to the place, if there is one, then changes the button, if it is one. One call at a time.
    virtual IOReturn send(std::optional<Place> place, Button button, bool press) = 0;

private:
    IOReturn sendAndRemember(std::optional<Place> place, PointerButtons::Action action);

    const SharedGeometry& geometry_;
    std::mutex mutex_;
    PointerButtons buttons_;
};

} // namespace lightpen
