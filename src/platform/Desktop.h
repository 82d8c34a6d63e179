// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "platform/Geometry.h"

namespace lightpen {

// What the system asks about the user's desktop.
class Desktop {
public:
    virtual ~Desktop() = default;
    // The frame of the main screen (the one chosen in the settings, else the primary one) in points; none
    // without a screen. Cached and kept up to date by the main thread, so that any thread may ask at any
    // time.
    virtual std::optional<ScreenRect> mainScreenFrame() const = 0;
};

} // namespace lightpen
