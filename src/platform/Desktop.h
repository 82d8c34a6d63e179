// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "platform/Geometry.h"
#include "platform/Screen.h"

namespace lightpen {

// Posted in the process when a screen has come, gone, or changed its place, size, scale or rotation, and when
// another one is the main screen.
inline constexpr std::string_view kScreensDidChange = "kScreensDidChange";

// What the system asks about the user's desktop. It alone knows which screen is the main one: the one that
// shows the picture at which the camera looks. Whoever needs it asks, and asks again after kScreensDidChange.
class Desktop {
public:
    virtual ~Desktop() = default;
    // The frame of the main screen (the one that the user has chosen, else the desktop's primary one) in
    // points; none without a screen. Cached and kept up to date by the main thread, so that any thread may
    // ask at any time.
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
