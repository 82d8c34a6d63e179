// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace lightpen {

// Threads that run on their own. Any thread.
class Threads {
public:
    virtual ~Threads() = default;
    // Runs the entry on a new thread that nobody joins. A log line, and no run, when there is no thread to be
    // had.
    virtual void detachNewThread(std::function<void()> entry) = 0;
    // Sets the calling thread's priority, 0.0 lowest to 1.0 highest; 1.0 asks for the best the user may have.
    // Returns false when the thread stays at ordinary priority; that is no fault.
    virtual bool setThreadPriority(double priority) = 0;
};

} // namespace lightpen
