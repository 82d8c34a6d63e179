// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Time.h"
#include "unit/wire/UnitReport.h"

namespace lightpen {

class SoftwareUnit;

// Where a unit's plug goes. The unit calls these on whatever thread drives it, with its own lock held: an
// implementation must not wait for another thread.
class UnitSocket {
public:
    virtual ~UnitSocket() = default;
    // The time on the clock that drives the unit.
    virtual Microseconds now() = 0;
    virtual void unitPlugged(SoftwareUnit& unit) = 0;
    virtual void unitUnplugged(SoftwareUnit& unit) = 0;
    // Carries an input report to the host; only between plugged and unplugged.
    virtual void unitReport(SoftwareUnit& unit, const UnitReport& report) = 0;
};

} // namespace lightpen
