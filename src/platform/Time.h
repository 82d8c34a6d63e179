// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

namespace lightpen {

using Microseconds = std::chrono::microseconds;

// Time as the system sees it; a test's clock only moves when somebody sleeps on it. Any thread.
class Clock {
public:
    virtual ~Clock() = default;
    // Monotonic, from an unspecified start.
    virtual Microseconds now() = 0;
    // Blocks the calling thread for at least the duration.
    virtual void sleep(Microseconds duration) = 0;
};

} // namespace lightpen
