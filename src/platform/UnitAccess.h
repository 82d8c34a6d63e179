// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace lightpen {

// Posted in the process when any of it has changed.
inline constexpr std::string_view kUnitAccessDidChange = "kUnitAccessDidChange";

// Why a camera unit that is plugged in may be missing in the registry. Main thread.
struct UnitAccess {
    // Whether the user is the one at the machine, and the machine awake; no unit is listed otherwise.
    bool hasTheSeat = true;
    // The command, to be run in a terminal, that lets the user open a unit which he may not open now. Empty
    // while there is no such unit.
    std::string permissionCommand = {};
    friend bool operator==(const UnitAccess&, const UnitAccess&) = default;
};

} // namespace lightpen
