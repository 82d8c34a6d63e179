// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "platform/FileDescriptor.h"
#include "platform/Time.h"

namespace lightpen::webcam {

// Waits for video nodes that come, go or become permitted, without waking up for anything else. One thread
// waits; any may wake it.
class NodeWatch {
public:
    // Watches the nodes of this folder from now on. A log line when that cannot be; every wait is then cut
    // short to two seconds.
    explicit NodeWatch(const std::string& folder = "/dev");

    // What a wait ended with.
    enum class Woken { nodes, byHand, timeOut };
    // Waits until a node has changed since the last wait, somebody wakes it, or the time is over (none waits
    // without end). A change is told once.
    Woken wait(std::optional<Microseconds> timeout);
    // Ends the wait under way, or else the next one. Any thread.
    void wake();

private:
    bool takeChanges();
    bool takeWake();

    FileDescriptor changes_, wakes_;
};

} // namespace lightpen::webcam
