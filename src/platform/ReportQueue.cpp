// SPDX-License-Identifier: MIT
#include "platform/ReportQueue.h"

#include <utility>

#include "platform/Log.h"

namespace lightpen {

bool ReportQueue::push(const IOHIDEventStruct& event) {
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

void ReportQueue::performCallout() {
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

IOReturn ReportQueue::createAsyncEventSource(RunLoopSourceRef& source) {
    const std::lock_guard hold(mutex_);
    if (!source_) {
        // The source is kept by the run loop for ever, so it must not keep the queue.
        source_ = std::make_shared<RunLoopSource>([weak = weak_from_this()] {
            if (const auto queue = weak.lock())
                queue->performCallout();
        });
    }
    source = source_;
    return kIOReturnSuccess;
}

IOReturn ReportQueue::create(std::uint32_t, std::uint32_t depth) {
    if (depth == 0)
        return kIOReturnBadArgument;
    const std::lock_guard hold(mutex_);
    depth_ = depth;
    while (reports_.size() > depth_)
        reports_.pop_front();
    return kIOReturnSuccess;
}

IOReturn ReportQueue::dispose() {
    const std::lock_guard hold(mutex_);
    depth_ = 0;
    started_ = false;
    elements_.clear();
    reports_.clear();
    callout_ = nullptr;
    owedCallouts_ = 0;
    return kIOReturnSuccess;
}

IOReturn ReportQueue::addElement(IOHIDElementCookie cookie, std::uint32_t) {
    const std::lock_guard hold(mutex_);
    elements_.insert(cookie);
    return kIOReturnSuccess;
}

bool ReportQueue::hasElement(IOHIDElementCookie cookie) const {
    const std::lock_guard hold(mutex_);
    return elements_.contains(cookie);
}

IOReturn ReportQueue::start() {
    const std::lock_guard hold(mutex_);
    if (depth_ == 0)
        return kIOReturnNotOpen;
    reports_.clear();
    owedCallouts_ = 0;
    started_ = true;
    return kIOReturnSuccess;
}

IOReturn ReportQueue::stop() {
    const std::lock_guard hold(mutex_);
    started_ = false;
    return kIOReturnSuccess;
}

IOReturn ReportQueue::getNextEvent(IOHIDEventStruct& event, std::uint64_t, std::uint32_t) {
    if (drain_)
        drain_();
    const std::lock_guard hold(mutex_);
    if (reports_.empty())
        return kIOReturnUnderrun;
    event = std::move(reports_.front());
    reports_.pop_front();
    return kIOReturnSuccess;
}

IOReturn ReportQueue::setEventCallout(IOHIDEventCallout callout) {
    const std::lock_guard hold(mutex_);
    callout_ = std::move(callout);
    return kIOReturnSuccess;
}

ReportFanOut::ReportFanOut(Clock& clock, IOHIDElementCookie cookie, std::size_t declaredLength)
    : clock_(clock), cookie_(cookie), declaredLength_(declaredLength) {}

std::shared_ptr<ReportQueue> ReportFanOut::addQueue(std::function<void()> drain) {
    auto queue = std::make_shared<ReportQueue>(std::move(drain));
    const std::lock_guard hold(mutex_);
    std::erase_if(queues_, [](const auto& weak) { return weak.expired(); });
    queues_.push_back(queue);
    return queue;
}

void ReportFanOut::deliver(std::span<const std::uint8_t> report) {
    const std::lock_guard hold(mutex_);
    if (vanished_)
        return;
    if (report.size() > declaredLength_ && !std::exchange(cutLogged_, true))
        logLine("HID: an input report of %zu bytes is longer than the declared %zu; such reports are cut",
                report.size(), declaredLength_);
    deliverToAll(report);
}

void ReportFanOut::vanish() {
    const std::lock_guard hold(mutex_);
    if (!std::exchange(vanished_, true))
        deliverToAll({});
}

bool ReportFanOut::vanished() const {
    const std::lock_guard hold(mutex_);
    return vanished_;
}

void ReportFanOut::deliverToAll(std::span<const std::uint8_t> report) {
    const auto now = static_cast<std::uint64_t>(clock_.now().count());
    const IOHIDEventStruct event = inputReportEvent(cookie_, report, declaredLength_, now);
    for (const auto& weak : queues_)
        if (const auto queue = weak.lock())
            queue->push(event);
}

} // namespace lightpen
