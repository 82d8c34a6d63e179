// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/IOReturn.h"

namespace lightpen {

// How much of the desktop's own interface (panels, docks) is shown.
using SystemUIMode = std::uint32_t;
inline constexpr SystemUIMode kUIModeNormal = 0;
inline constexpr SystemUIMode kUIModeAllHidden = 3;

// What the user may not do meanwhile; bits.
using SystemUIOptions = std::uint32_t;
inline constexpr SystemUIOptions kUIOptionDisableSystemMenu = 1U << 2;
inline constexpr SystemUIOptions kUIOptionDisableProcessSwitch = 1U << 3;
inline constexpr SystemUIOptions kUIOptionDisableHide = 1U << 6;

// Posted in the process when the screen stops being the user's: it is locked or about to be, another user's
// session is shown, the machine goes to sleep. And when it is the user's again.
inline constexpr std::string_view kScreenWasCovered = "kScreenWasCovered";
inline constexpr std::string_view kScreenWasUncovered = "kScreenWasUncovered";

using CGDirectDisplayID = std::uint32_t;

// What a full-screen session takes over from the desktop, and gives back. Whatever is taken over goes back to
// the desktop at the latest when the program ends, however it ends. Main thread.
class SystemUI {
public:
    virtual ~SystemUI() = default;
    // What SetSystemUIMode set last; kUIModeNormal and no options before that.
    virtual void GetSystemUIMode(SystemUIMode& mode, SystemUIOptions& options) const = 0;
    // kIOReturnUnsupported when the desktop lets nobody do it; the values are then kept all the same, so that
    // they can be read back.
    virtual IOReturn SetSystemUIMode(SystemUIMode mode, SystemUIOptions options) = 0;

    // The display of the main screen.
    virtual CGDirectDisplayID CGMainDisplayID() const = 0;
    // Hides the cursor while it is over the display. Calls do not add up: one show ends any number of hides,
    // and a show without a hide does nothing.
    virtual IOReturn CGDisplayHideCursor(CGDirectDisplayID display) = 0;
    virtual IOReturn CGDisplayShowCursor(CGDirectDisplayID display) = 0;

    // Brings the program before the others, also when another one is in use.
    virtual void activateIgnoringOtherApps() = 0;

    // Whether the screen is not the user's now, so that nothing may be shown above what is there.
    virtual bool isScreenCovered() = 0;
};

} // namespace lightpen
