// SPDX-License-Identifier: MIT
#include "platform/IOHID.h"

#include <algorithm>

namespace lightpen {

IOHIDEventStruct inputReportEvent(IOHIDElementCookie cookie, std::span<const std::uint8_t> report,
                                  std::size_t declaredLength, std::uint64_t timestamp) {
    IOHIDEventStruct event;
    event.elementCookie = cookie;
    event.timestamp = timestamp;
    event.longValueSize = static_cast<std::uint32_t>(declaredLength);
    event.longValue.resize(std::max(declaredLength, kReadableReportBytes));
    std::copy_n(report.begin(), std::min(report.size(), declaredLength), event.longValue.begin());
    return event;
}

bool IOHIDQueueInterface::push(const IOHIDEventStruct& event) {
    RunLoopSourceRef toSignal;
    {
        const std::lock_guard hold(mutex_);
        if (!started_ || !elements_.contains(event.elementCookie))
            return false;
        if (reports_.size() == depth_)
            reports_.pop_front();
        reports_.push_back(event);
        if (callout_ && source_ && owedCallouts_ < depth_ && ++owedCallouts_ == 1)
            toSignal = source_;
    }
    if (toSignal)
        toSignal->signal();
    return true;
}

void IOHIDQueueInterface::performCallout() {
    IOHIDEventCallout callout;
    RunLoopSourceRef again;
    {
        const std::lock_guard hold(mutex_);
        if (owedCallouts_ == 0)
            return;
        if (--owedCallouts_ > 0)
            again = source_;
        callout = callout_;
    }
    if (again)
        again->signal();
    if (callout)
        callout(kIOReturnSuccess, *this);
}

IOReturn IOHIDQueueInterface::createAsyncEventSource(RunLoopSourceRef& source) {
    const std::lock_guard hold(mutex_);
    if (!source_) {
        // The queue keeps the source, so that one must not keep the queue.
        source_ = std::make_shared<RunLoopSource>([weak = weak_from_this()] {
            if (const auto queue = weak.lock())
                queue->performCallout();
        });
    }
    source = source_;
    return kIOReturnSuccess;
}

IOReturn IOHIDQueueInterface::create(std::uint32_t, std::uint32_t depth) {
    if (depth == 0)
        return kIOReturnBadArgument;
    const std::lock_guard hold(mutex_);
    depth_ = depth;
    while (reports_.size() > depth_)
        reports_.pop_front();
    return kIOReturnSuccess;
}

IOReturn IOHIDQueueInterface::dispose() {
    const std::lock_guard hold(mutex_);
    depth_ = 0;
    started_ = false;
    elements_.clear();
    reports_.clear();
    callout_ = nullptr;
    owedCallouts_ = 0;
    return kIOReturnSuccess;
}

IOReturn IOHIDQueueInterface::addElement(IOHIDElementCookie cookie, std::uint32_t) {
    const std::lock_guard hold(mutex_);
    elements_.insert(cookie);
    return kIOReturnSuccess;
}

bool IOHIDQueueInterface::hasElement(IOHIDElementCookie cookie) const {
    const std::lock_guard hold(mutex_);
    return elements_.contains(cookie);
}

IOReturn IOHIDQueueInterface::start() {
    const std::lock_guard hold(mutex_);
    if (depth_ == 0)
        return kIOReturnNotOpen;
    reports_.clear();
    owedCallouts_ = 0;
    started_ = true;
    return kIOReturnSuccess;
}

IOReturn IOHIDQueueInterface::stop() {
    const std::lock_guard hold(mutex_);
    started_ = false;
    return kIOReturnSuccess;
}

IOReturn IOHIDQueueInterface::getNextEvent(IOHIDEventStruct& event, std::uint64_t, std::uint32_t) {
    if (drain_)
        drain_();
    const std::lock_guard hold(mutex_);
    if (reports_.empty())
        return kIOReturnUnderrun;
    event = std::move(reports_.front());
    reports_.pop_front();
    return kIOReturnSuccess;
}

IOReturn IOHIDQueueInterface::setEventCallout(IOHIDEventCallout callout) {
    const std::lock_guard hold(mutex_);
    callout_ = std::move(callout);
    return kIOReturnSuccess;
}

} // namespace lightpen
