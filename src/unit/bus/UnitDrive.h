// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <memory>
#include <thread>
#include <vector>

#include "platform/PriorityInheritance.h"
#include "platform/Time.h"
#include "unit/bus/SoftwareUnit.h"

namespace lightpen {

// Owns units and lets them catch up with a clock; on a thread of its own, if started. Any thread.
class UnitDrive {
public:
    // The clock outlives it.
    explicit UnitDrive(Clock& clock) : clock_(clock) {}
    // Stops.
    ~UnitDrive();
    UnitDrive(const UnitDrive&) = delete;
    UnitDrive& operator=(const UnitDrive&) = delete;

    // The drive shares the unit until its own end.
    void add(std::shared_ptr<SoftwareUnit> unit);
    // A copy of the list.
    std::vector<std::shared_ptr<SoftwareUnit>> units() const;
    // Lets all units catch up with this time.
    void advance(Microseconds now);
    // Until a unit has something to do, within bounds: a script may change what comes next at any moment.
    Microseconds untilNextEvent() const;

    // Starts the thread; it wakes whenever a unit has something to do. The clock must run in real time.
    void start();
    // Ends the thread and waits for it.
    void stop();
    // Makes the thread look again what comes next. Does not wait.
    void wake() { wake_.notify_all(); }

private:
    void run();

    Clock& clock_;
    mutable PriorityInheritanceMutex mutex_; // guards what follows
    std::vector<std::shared_ptr<SoftwareUnit>> units_;
    std::condition_variable wake_;
    bool running_ = false;
    std::thread thread_;
};

} // namespace lightpen
