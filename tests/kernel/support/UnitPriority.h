// SPDX-License-Identifier: MIT
#pragma once

#include <sched.h>

#include <stdexcept>

namespace lightpen {

// While it lives, the threads that this thread starts go before every ordinary program. The thread of an
// emulated unit does so, since a unit is a device: it sends its reports whatever the machine is busy with.
// Needs root.
class UnitPriority {
public:
    UnitPriority() { setPolicy(SCHED_FIFO, 1); }
    ~UnitPriority() { setPolicy(SCHED_OTHER, 0); }
    UnitPriority(const UnitPriority&) = delete;
    UnitPriority& operator=(const UnitPriority&) = delete;

private:
    static void setPolicy(int policy, int priority) {
        const sched_param parameters{priority};
        if (sched_setscheduler(0, policy, &parameters) != 0)
            throw std::runtime_error("the scheduler refuses");
    }
};

} // namespace lightpen
