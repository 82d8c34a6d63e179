// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <chrono>

#include "platform/Threads.h"

namespace lightpen {

// Asks RealtimeKit on the system bus to make a thread of this process real-time, as an ordinary user may.
// Waits for the answer, at most for the given time. False when there is no bus, no RealtimeKit, no permission
// or no answer in time. Any thread.
bool makeThreadRealtime(pid_t thread, std::chrono::milliseconds patience);

// Threads of the machine. A thread that asks for the highest priority gets exact timers and, where the user
// may have it, real-time scheduling from the kernel or from RealtimeKit, else a better nice value.
class SystemThreads final : public Threads {
public:
    void detachNewThread(std::function<void()> entry) override;
    // Takes a fraction of a second at most, also when the system bus does not answer.
    bool setThreadPriority(double priority) override;
};

} // namespace lightpen
