// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <span>
#include <vector>

#include "platform/IOHID.h"
#include "platform/Time.h"

namespace lightpen {

// The queue of every HID backend: fixed depth, the oldest report goes when it is full. The backend pushes
// from its reader thread; everything is thread-safe.
class ReportQueue final : public IOHIDQueueInterface, public std::enable_shared_from_this<ReportQueue> {
public:
    // The drain is called, without any lock held, before each answer of getNextEvent: a backend fetches there
    // what its reader thread has not come to yet. It may be empty.
    explicit ReportQueue(std::function<void()> drain = {}) : drain_(std::move(drain)) {}

    // Takes a report if the queue is created, started and holds the event's element; returns whether it did.
    bool push(const IOHIDEventStruct& event);

    IOReturn createAsyncEventSource(RunLoopSourceRef& source) override;
    IOReturn create(std::uint32_t flags, std::uint32_t depth) override;
    IOReturn dispose() override;
    IOReturn addElement(IOHIDElementCookie cookie, std::uint32_t flags) override;
    bool hasElement(IOHIDElementCookie cookie) const override;
    IOReturn start() override;
    IOReturn stop() override;
    IOReturn getNextEvent(IOHIDEventStruct& event, std::uint64_t maximumTime,
                          std::uint32_t timeoutMs) override;
    IOReturn setEventCallout(IOHIDEventCallout callout) override;

private:
    void performCallout();

    const std::function<void()> drain_;
    mutable std::mutex mutex_;
    std::set<IOHIDElementCookie> elements_;
    std::deque<IOHIDEventStruct> reports_;
    std::size_t depth_ = 0; // 0: not created
    bool started_ = false;  // only when created
    IOHIDEventCallout callout_;
    RunLoopSourceRef source_;
    // Callouts that are still owed. One signal at a time is under way, so that a busy unit does not fill the
    // main loop; more than depth_ are never owed.
    std::size_t owedCallouts_ = 0;
};

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
    void deliverToAll(std::span<const std::uint8_t> report);

    Clock& clock_;
    const IOHIDElementCookie cookie_;
    const std::size_t declaredLength_;
    mutable std::mutex mutex_;
    bool vanished_ = false;
    bool cutLogged_ = false;
    std::vector<std::weak_ptr<ReportQueue>> queues_;
};

} // namespace lightpen
