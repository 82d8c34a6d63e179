// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "platform/ReportQueue.h"
#include "platform/Time.h"

namespace lightpen {

// Hands each input report of one HID interface to all of its queues. Thread-safe.
class ReportFanOut {
public:
    // Reports are delivered at their declared length, as the element with this cookie.
    ReportFanOut(Clock& clock, IOHIDElementCookie cookie, std::size_t declaredLength);

    // A new queue that is fed for as long as somebody holds it; the drain as ReportQueue's.
    std::shared_ptr<ReportQueue> addQueue(std::function<void()> drain = {});
    // Gives the report to every started queue. One that is longer than declared is cut, with one log line.
    void deliver(std::span<const std::uint8_t> report);
    // The unit is gone: its last word, one report of zeros ("no light spot"), goes to every started queue,
    // and nothing after it. Later calls do nothing.
    void vanish();
    bool vanished() const;

private:
    void deliverToAll(const IOHIDEventStruct& event);

    Clock& clock_;
    const IOHIDElementCookie cookie_;
    const std::size_t declaredLength_;
    mutable std::mutex mutex_;
    bool vanished_ = false;
    bool cutLogged_ = false;
    std::vector<std::weak_ptr<ReportQueue>> queues_;
};

} // namespace lightpen
