// SPDX-License-Identifier: MIT
#include "platform/PerformQueue.h"

#include <utility>

namespace lightpen {

namespace {

// Posted requests are due before every delayed one.
constexpr Microseconds kAtOnce = Microseconds::min();

} // namespace

void PerformQueue::post(PerformRequest request) {
    postDelayed(std::move(request), kAtOnce);
}

void PerformQueue::postDelayed(PerformRequest request, Microseconds due) {
    const std::lock_guard hold(mutex_);
    if (spare_.empty()) {
        requests_.emplace(due, std::move(request));
        return;
    }
    spare_.key() = due;
    spare_.mapped() = std::move(request);
    requests_.insert(std::move(spare_));
}

void PerformQueue::cancelDelayed(const void* target, std::string_view selector, std::string_view argument) {
    const std::lock_guard hold(mutex_);
    std::erase_if(requests_, [&](const auto& entry) {
        const auto& [due, request] = entry;
        return due != kAtOnce && request.target == target && request.selector == selector &&
               request.argument == argument;
    });
}

bool PerformQueue::runOne(Microseconds now) {
    std::unique_lock hold(mutex_);
    if (requests_.empty() || requests_.begin()->first > now)
        return false;
    auto next = requests_.extract(requests_.begin());
    hold.unlock();
    next.mapped().perform();
    next.mapped() = {};
    hold.lock();
    spare_ = std::move(next);
    return true;
}

std::optional<Microseconds> PerformQueue::nextDue() const {
    const std::lock_guard hold(mutex_);
    const auto first = requests_.upper_bound(kAtOnce);
    return first == requests_.end() ? std::nullopt : std::optional(first->first);
}

bool PerformQueue::hasPosted() const {
    const std::lock_guard hold(mutex_);
    return requests_.contains(kAtOnce);
}

} // namespace lightpen
