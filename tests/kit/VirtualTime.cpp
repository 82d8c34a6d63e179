// SPDX-License-Identifier: MIT
#include "kit/VirtualTime.h"

#include <algorithm>
#include <stdexcept>

namespace lightpen {

Microseconds VirtualClock::now() {
    const std::lock_guard hold(mutex_);
    return now_;
}

void VirtualClock::sleep(Microseconds duration) {
    {
        const std::lock_guard hold(mutex_);
        sleeps_.push_back(duration);
    }
    waitUntil(now() + duration);
    if (onSleep)
        onSleep(duration);
}

void VirtualClock::waitUntil(Microseconds time, const std::function<bool()>& woken) {
    if (onWait)
        onWait(time, woken);
    else
        advanceTo(time);
}

void VirtualClock::advanceTo(Microseconds time) {
    const std::lock_guard hold(mutex_);
    now_ = std::max(now_, time);
}

std::vector<Microseconds> VirtualClock::takeSleeps() {
    const std::lock_guard hold(mutex_);
    return std::exchange(sleeps_, {});
}

void VirtualRunLoop::runPending() {
    while (!terminating() && queue_.runOne(clock_.now())) {
    }
}

bool VirtualRunLoop::containsSource(const RunLoopSourceRef& source, std::string_view mode) const {
    return std::any_of(sources_.begin(), sources_.end(),
                       [&](const auto& entry) { return entry.first == source && entry.second == mode; });
}

void VirtualRunLoop::addSource(const RunLoopSourceRef& source, std::string_view mode) {
    std::erase_if(sources_, [](const auto& entry) { return entry.first.use_count() == 1; });
    source->attachedTo(*this);
    sources_.emplace_back(source, mode);
}

void VirtualRunLoop::performAfterDelay(PerformRequest request, Microseconds delay) {
    queue_.postDelayed(std::move(request), clock_.now() + delay);
}

void VirtualRunLoop::cancelPreviousPerformRequests(const void* target, std::string_view selector,
                                                   std::string_view argument) {
    queue_.cancelDelayed(target, selector, argument);
}

void VirtualRunLoop::runFor(Microseconds duration) {
    if (runsLeft_ && (*runsLeft_)-- == 0)
        throw std::runtime_error("a wait in the run loop does not end");
    const Microseconds end = clock_.now() + duration;
    const auto woken = [this] { return queue_.hasPosted() || terminating(); };
    for (;;) {
        runPending();
        if (terminating())
            return;
        const auto due = queue_.nextDue();
        const bool dueMeanwhile = due && *due <= end;
        if (!dueMeanwhile && clock_.now() >= end)
            return;
        clock_.waitUntil(dueMeanwhile ? *due : end, woken);
    }
}

void VirtualRunLoop::terminate(int status) {
    if (!terminating_.exchange(true))
        terminateStatus_ = status;
}

} // namespace lightpen
