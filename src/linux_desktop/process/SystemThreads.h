// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Threads.h"

namespace lightpen {

// Threads of the machine. A thread that asks for the highest priority gets exact timers and, where the user
// may have it, real-time scheduling from the kernel or from RealtimeKit, else a better nice value.
class SystemThreads final : public Threads {
public:
    void detachNewThread(std::function<void()> entry) override;
    // Takes a fraction of a second at most, also when the system bus does not answer.
    bool setThreadPriority(double priority) override;
};

} // namespace lightpen
