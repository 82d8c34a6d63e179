// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

namespace lightpen {

// Finds out whether a panel shows status items that are announced on the session bus. Main thread.
class StatusNotifierHosts {
public:
    // The handler is called from the main loop each time there may have come one; search() then says.
    explicit StatusNotifierHosts(std::function<void()> found);
    ~StatusNotifierHosts();
    StatusNotifierHosts(const StatusNotifierHosts&) = delete;
    StatusNotifierHosts& operator=(const StatusNotifierHosts&) = delete;

    // Asks whether there is one now, and waits for the answer for at most half a second. A later answer, and
    // a panel that comes later, calls the handler. Without a session bus there is none.
    bool search();

private:
    class Watch;
    std::unique_ptr<Watch> watch_;
};

} // namespace lightpen
