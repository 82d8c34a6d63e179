// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <span>

#include "platform/IOHID.h"
#include "platform/Time.h"

namespace lightpen {

// Hands each input report of one HID interface to all of its queues. Thread-safe.
class ReportFanOut {
public:
    // Reports are delivered at their declared length, as the element with this cookie.
    ReportFanOut(Clock& clock, IOHIDElementCookie cookie, std::size_t declaredLength);

    // Feeds the queue for as long as somebody holds it; returns it.
    IOHIDQueueRef add(IOHIDQueueRef queue);
    // Gives the report to every started queue. One that is longer than declared is cut, with one log line.
    void deliver(std::span<const std::uint8_t> report);
    // The unit is gone: its last word, one report of zeros ("no light spot"), goes to every started queue,
    // and nothing after it. Later calls do nothing.
    void vanish();
    bool vanished() const;

private:
    void deliverToAll(std::span<const std::uint8_t> report);

    Clock& clock_;
    const IOHIDElementCookie cookie_;
    const std::size_t declaredLength_;
    const std::shared_ptr<FedQueues> fed_ = std::make_shared<FedQueues>(); // its lock is around what follows
    bool vanished_ = false;
    bool cutLogged_ = false;
};

} // namespace lightpen
