// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <mutex>
#include <vector>

#include "platform/IOHID.h"

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
    std::vector<IOHIDElementCookie> elements_;
    std::deque<IOHIDEventStruct> reports_;
    std::size_t depth_ = 0; // 0: not created
    bool started_ = false;
    IOHIDEventCallout callout_;
    RunLoopSourceRef source_;
    // Callouts that are still owed. One signal at a time is under way, so that a busy unit does not fill the
    // main loop; more than depth_ are never owed.
    std::size_t owedCallouts_ = 0;
};

} // namespace lightpen
