// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "platform/Shared.h"

namespace lightpen {

// Which menu the status item has; any other value counts as the second.
enum class MenuMode : std::int32_t { full = 1, exitOnly = 2 };

// The controller's process-wide values. Each is a single word. (The wireless flag is among the driver's.)
struct ControllerState {
    // The menu in force, 0 before the first. Written by the start, the unit's arrival and its removal; the
    // last of them may be on the point thread.
    SharedValue<MenuMode> menuMode{MenuMode{0}};
    // The two version bytes of the unit that was last there: high four bits, low four bits. Written by the
    // start and the unit's arrival.
    SharedWord cmosVersion{0};
    SharedWord boardVersion{0};
};

inline ControllerState controllerState;

} // namespace lightpen
