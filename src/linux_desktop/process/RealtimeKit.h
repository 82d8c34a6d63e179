// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <chrono>

namespace lightpen {

// Asks RealtimeKit on the system bus to make a thread of this process real-time, as an ordinary user may.
// Waits for the answer, at most for the given time. False when there is no bus, no RealtimeKit, no permission
// or no answer in time. Any thread.
bool makeThreadRealtime(pid_t thread, std::chrono::milliseconds patience);

} // namespace lightpen
