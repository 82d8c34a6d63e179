// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "platform/Geometry.h"
#include "platform/Screen.h"

namespace lightpen {

// What the system asks about the user's desktop.
class Desktop {
public:
    virtual ~Desktop() = default;
    // The frame of the main screen (the one chosen in the settings, else the primary one) in points; none
    // without a screen. Cached and kept up to date by the main thread, so that any thread may ask at any
    // time.
    virtual std::optional<ScreenRect> mainScreenFrame() const = 0;
    // All screens as they are now, the main one first, the others in the desktop's order; empty without a
    // screen. Main thread.
    virtual std::vector<Screen> screens() const = 0;
    // The first of them; empty without a screen. Main thread.
    std::optional<Screen> mainScreen() const {
        const auto all = screens();
        return all.empty() ? std::nullopt : std::optional(all.front());
    }
};

} // namespace lightpen
