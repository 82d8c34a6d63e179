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

void Recording::mapped(CameraPoint reported, ScreenPoint place) {
    const std::lock_guard hold(mutex_);
    stroke_ = NotedStroke{reported, place, false};
}

void Recording::lifted() {
    const std::lock_guard hold(mutex_);
    if (stroke_)
        stroke_->lifted = true;
}

void Recording::clearStroke() {
    const std::lock_guard hold(mutex_);
    stroke_.reset();
}

std::optional<NotedStroke> Recording::stroke() const {
    const std::lock_guard hold(mutex_);
    return stroke_;
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
