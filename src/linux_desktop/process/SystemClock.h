// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Time.h"

namespace lightpen {

// The machine's monotonic clock. Any thread.
class SystemClock final : public Clock {
public:
    Microseconds now() override;
    // Signals do not cut the sleep short. A duration of nothing or less returns at once.
    void sleep(Microseconds duration) override;
};

} // namespace lightpen
