// SPDX-License-Identifier: MIT
#include "platform/PerformQueue.h"

#include <algorithm>

namespace lightpen {

void PerformQueue::post(PerformRequest request) {
    const std::lock_guard hold(mutex_);
    posted_.push_back(std::move(request));
}

void PerformQueue::postDelayed(PerformRequest request, Microseconds due) {
    const std::lock_guard hold(mutex_);
    const auto after =
        std::upper_bound(delayed_.begin(), delayed_.end(), due,
                         [](Microseconds time, const Delayed& other) { return time < other.due; });
    delayed_.insert(after, {due, std::move(request)});
}

void PerformQueue::cancelDelayed(const void* target, std::string_view selector, std::string_view argument) {
    const std::lock_guard hold(mutex_);
    std::erase_if(delayed_, [&](const Delayed& delayed) {
        const PerformRequest& request = delayed.request;
        return request.target == target && request.selector == selector && request.argument == argument;
    });
}

bool PerformQueue::runOne(Microseconds now) {
    PerformRequest next;
    {
        const std::lock_guard hold(mutex_);
        if (!posted_.empty()) {
            next = std::move(posted_.front());
            posted_.pop_front();
        } else if (!delayed_.empty() && delayed_.front().due <= now) {
            next = std::move(delayed_.front().request);
            delayed_.erase(delayed_.begin());
        } else {
            return false;
        }
    }
    next.operation();
    return true;
}

std::optional<Microseconds> PerformQueue::nextDue() const {
    const std::lock_guard hold(mutex_);
    if (delayed_.empty())
        return std::nullopt;
    return delayed_.front().due;
}

bool PerformQueue::hasPosted() const {
    const std::lock_guard hold(mutex_);
    return !posted_.empty();
}

} // namespace lightpen
