// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "linux_desktop/pointer/UinputPointer.h"

namespace lightpen {

// The guest's ordinary mouse, which a desktop finds like any other. Needs root; throws when the kernel
// refuses it.
class Mouse {
public:
    Mouse() {
        std::string problem;
        device_ = UinputPointer::create(kUinputPath, problem);
        if (!device_)
            throw std::runtime_error(problem);
    }

    // Moves to this place of a desktop that covers the rectangle, then clicks the left button.
    void click(PixelPoint place, const PixelRect& desktop) {
        const IOGPoint point{static_cast<std::int16_t>(place.x), static_cast<std::int16_t>(place.y)};
        using Button = PointerDevice::Button;
        device_->send(PointerDevice::Place{place, PointerGeometry({}, 1, desktop).axisAt(point)},
                      Button::none, false);
        for (const bool down : {true, false})
            device_->send(std::nullopt, Button::left, down);
    }

private:
    std::unique_ptr<UinputPointer> device_;
};

} // namespace lightpen
