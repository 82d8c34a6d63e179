// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <string_view>

#include "platform/PriorityInheritance.h"
#include "platform/RunLoop.h"

namespace lightpen {

// The requests that wait for a run loop, in the order in which the loop must perform them; every run loop of
// the project is this queue and a way to wait. Thread-safe.
class PerformQueue {
public:
    // Appends a request to be run as soon as possible.
    void post(PerformRequest request);
    // Adds a request to be run when the time has come; equal times run in the order they were added.
    void postDelayed(PerformRequest request, Microseconds due);
    // Drops every delayed request with all three equal; posted ones stay.
    void cancelDelayed(const void* target, std::string_view selector, std::string_view argument);
    // Runs one request: the oldest posted one, else the earliest delayed one that is due. Returns false when
    // there was none. Requests may post, cancel and run others.
    bool runOne(Microseconds now);
    // When the earliest delayed request is due; none when there is none.
    std::optional<Microseconds> nextDue() const;
    bool hasPosted() const;

private:
    using Requests = std::multimap<Microseconds, PerformRequest>;

    mutable PriorityInheritanceMutex mutex_;
    Requests requests_; // by the time they are due, then as they came
    // The memory of the last one that ran, for the next one: a unit's report asks again and again.
    Requests::node_type spare_;
};

} // namespace lightpen
