// SPDX-License-Identifier: MIT
#pragma once

#include <thread>

#include "platform/Time.h"

namespace lightpen {

// The machine's monotonic clock. Any thread.
class SystemClock final : public Clock {
public:
    Microseconds now() override {
        return std::chrono::duration_cast<Microseconds>(std::chrono::steady_clock::now().time_since_epoch());
    }
    // Signals do not cut the sleep short. A duration of nothing or less returns at once.
    void sleep(Microseconds duration) override { std::this_thread::sleep_for(duration); }
};

} // namespace lightpen
