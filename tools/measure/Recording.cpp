// SPDX-License-Identifier: MIT
#include "measure/Recording.h"

#include <utility>

namespace lightpen {

namespace {

// Reports are taken and their events injected by one and the same thread; timers' events by another one.
thread_local std::optional<Microseconds> lastTaken;

} // namespace

void Recording::reportTaken(Microseconds time) {
    lastTaken = time;
}

void Recording::injected(InjectedEvent::Kind kind, ScreenPoint position) {
    const std::lock_guard hold(mutex_);
    injected_.push_back({kind, lastTaken, position});
}

void Recording::posted(std::string notification) {
    const std::lock_guard hold(mutex_);
    posted_.push_back(std::move(notification));
}

std::vector<InjectedEvent> Recording::injectedEvents() const {
    const std::lock_guard hold(mutex_);
    return injected_;
}

std::vector<std::string> Recording::postedNotifications() const {
    const std::lock_guard hold(mutex_);
    return posted_;
}

} // namespace lightpen
