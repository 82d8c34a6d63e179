// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Platform.h"

namespace lightpen {

// Runs the main loop until the condition is true, the patience is over or the program is to end. Returns
// whether the condition is true. Main thread.
template <class Condition>
bool waitUntil(Platform& platform, Condition condition, Microseconds patience) {
    constexpr Microseconds kSlice = std::chrono::milliseconds(20);
    const Microseconds end = platform.clock.now() + patience;
    while (!condition() && platform.clock.now() < end && !platform.runLoop.terminating())
        platform.runLoop.runFor(kSlice);
    return condition();
}

} // namespace lightpen
