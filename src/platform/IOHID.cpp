// SPDX-License-Identifier: MIT
#include "platform/IOHID.h"

#include <algorithm>

namespace lightpen {

void writeInputReportEvent(IOHIDEventStruct& event, IOHIDElementCookie cookie,
                           std::span<const std::uint8_t> report, std::size_t declaredLength,
                           std::uint64_t timestamp) {
    event.elementCookie = cookie;
    event.timestamp = timestamp;
    event.longValueSize = static_cast<std::uint32_t>(declaredLength);
    event.longValue.resize(std::max(declaredLength, kReadableReportBytes));
    const auto rest =
        std::copy_n(report.begin(), std::min(report.size(), declaredLength), event.longValue.begin());
    std::fill(rest, event.longValue.end(), std::uint8_t{0});
}

IOHIDEventStruct inputReportEvent(IOHIDElementCookie cookie, std::span<const std::uint8_t> report,
                                  std::size_t declaredLength, std::uint64_t timestamp) {
    IOHIDEventStruct event;
    writeInputReportEvent(event, cookie, report, declaredLength, timestamp);
    return event;
}

IOHIDQueueInterface::~IOHIDQueueInterface() {
    const std::lock_guard hold(fed_->mutex);
    std::erase(fed_->queues, this);
}

void IOHIDQueueInterface::join(std::shared_ptr<FedQueues> fed) {
    fed_ = std::move(fed);
    const std::lock_guard hold(fed_->mutex);
    fed_->queues.push_back(this);
}

// Without a remainder: each report would need three divisions.
IOHIDEventStruct& IOHIDQueueInterface::slot(std::size_t index) {
    const std::size_t at = first_ + index;
    return slots_[at < slots_.size() ? at : at - slots_.size()];
}

// The oldest report is none of the queue's any more; its slot is the last that will be used again.
IOHIDEventStruct& IOHIDQueueInterface::giveUpOldest() {
    IOHIDEventStruct& oldest = slot(0);
    first_ = first_ + 1 < slots_.size() ? first_ + 1 : 0;
    --count_;
    return oldest;
}

// A full queue gives the place of its oldest report.
IOHIDEventStruct* IOHIDQueueInterface::roomFor(IOHIDElementCookie cookie) {
    if (!started_ || std::ranges::find(elements_, cookie) == elements_.end())
        return nullptr;
    if (count_ == slots_.size())
        giveUpOldest();
    return &slot(count_++);
}

RunLoopSourceRef IOHIDQueueInterface::sourceOfFirstOwed() {
    if (callout_ && source_ && owedCallouts_ < slots_.size() && ++owedCallouts_ == 1)
        return source_;
    return nullptr;
}

void IOHIDQueueInterface::reportTaken() {
    if (const auto source = sourceOfFirstOwed())
        source->signal();
}

bool IOHIDQueueInterface::push(const IOHIDEventStruct& event) {
    RunLoopSourceRef toSignal;
    {
        const std::lock_guard hold(fed_->mutex);
        IOHIDEventStruct* const room = roomFor(event.elementCookie);
        if (!room)
            return false;
        *room = event;
        toSignal = sourceOfFirstOwed();
    }
    if (toSignal)
        toSignal->signal();
    return true;
}

void IOHIDQueueInterface::performCallout() {
    IOHIDEventCallout callout;
    RunLoopSourceRef again;
    {
        const std::lock_guard hold(fed_->mutex);
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
    const std::lock_guard hold(fed_->mutex);
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

// The newest reports stay.
void IOHIDQueueInterface::setDepth(std::size_t depth) {
    std::vector<IOHIDEventStruct> slots(depth);
    const std::size_t kept = std::min(count_, depth);
    for (std::size_t i = 0; i < kept; ++i)
        slots[i] = std::move(slot(count_ - kept + i));
    slots_ = std::move(slots);
    first_ = 0;
    count_ = kept;
}

IOReturn IOHIDQueueInterface::create(std::uint32_t, std::uint32_t depth) {
    if (depth == 0)
        return kIOReturnBadArgument;
    const std::lock_guard hold(fed_->mutex);
    setDepth(depth);
    return kIOReturnSuccess;
}

IOReturn IOHIDQueueInterface::dispose() {
    const std::lock_guard hold(fed_->mutex);
    setDepth(0);
    started_ = false;
    elements_.clear();
    callout_ = nullptr;
    owedCallouts_ = 0;
    return kIOReturnSuccess;
}

IOReturn IOHIDQueueInterface::addElement(IOHIDElementCookie cookie, std::uint32_t) {
    const std::lock_guard hold(fed_->mutex);
    if (std::ranges::find(elements_, cookie) == elements_.end())
        elements_.push_back(cookie);
    return kIOReturnSuccess;
}

bool IOHIDQueueInterface::hasElement(IOHIDElementCookie cookie) const {
    const std::lock_guard hold(fed_->mutex);
    return std::ranges::find(elements_, cookie) != elements_.end();
}

IOReturn IOHIDQueueInterface::start() {
    const std::lock_guard hold(fed_->mutex);
    if (slots_.empty())
        return kIOReturnNotOpen;
    count_ = 0;
    owedCallouts_ = 0;
    started_ = true;
    return kIOReturnSuccess;
}

IOReturn IOHIDQueueInterface::stop() {
    const std::lock_guard hold(fed_->mutex);
    started_ = false;
    return kIOReturnSuccess;
}

IOReturn IOHIDQueueInterface::getNextEvent(IOHIDEventStruct& event, std::uint64_t, std::uint32_t) {
    if (drain_)
        drain_();
    const std::lock_guard hold(fed_->mutex);
    if (count_ == 0)
        return kIOReturnUnderrun;
    IOHIDEventStruct& oldest = giveUpOldest();
    // From whoever brings no memory of that length the slot does not take any: the next report would have to
    // be given new one.
    if (event.longValue.size() == oldest.longValue.size())
        std::swap(event, oldest);
    else
        event = oldest;
    return kIOReturnSuccess;
}

IOReturn IOHIDQueueInterface::setEventCallout(IOHIDEventCallout callout) {
    const std::lock_guard hold(fed_->mutex);
    callout_ = std::move(callout);
    return kIOReturnSuccess;
}

} // namespace lightpen
