// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "kit/ChildProcess.h"
#include "kit/TemporaryDirectory.h"
#include "kit/Xvfb.h"
#include "platform/Geometry.h"

namespace lightpen {

// An X server with a screen in memory that follows the kernel's input devices through udev and libinput, as a
// desktop's does. No window manager. Needs root, udev and a machine where it takes nobody's devices: a guest.
class Xorg {
public:
    // Throws, with what the server logged, when it does not start.
    Xorg();

    // The name that goes into DISPLAY, such as ":0".
    const std::string& display() const { return display_; }
    // Its size in pixels.
    static constexpr Size kScreen{1280, 720};
    void enter() const { enterDisplay(display_); }

    // How often the server has taken a device of this name into use.
    std::size_t timesAdded(const std::string& device) const;
    // Waits until that is more often than before; false when it is not within ten seconds.
    bool awaitAdded(const std::string& device, std::size_t before = 0) const;
    // What the server wrote.
    std::string log() const;

private:
    TemporaryDirectory folder_;
    std::unique_ptr<ChildProcess> server_;
    std::string display_;
};

} // namespace lightpen
