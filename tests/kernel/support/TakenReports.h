// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <span>
#include <vector>

#include "kernel/support/HostNodes.h"
#include "kit/Eventually.h"
#include "unit/CameraUnit.h"

namespace lightpen::test {

// A report in which each byte depends on its place and on the report, so that none can be mistaken.
inline ReportBytes patternOf(unsigned number, std::size_t length) {
    ReportBytes bytes(length);
    for (std::size_t place = 0; place < length; ++place)
        bytes[place] = static_cast<std::uint8_t>(number * 31 + place * 7 + place / 256 + 1);
    return bytes;
}

// The output reports that a unit has taken, in order. The unit outlives it.
class TakenReports {
public:
    explicit TakenReports(CameraUnit& unit) : unit_(unit) {
        unit_.onOutput([this](Microseconds, std::span<const std::uint8_t> report) {
            const std::lock_guard hold(mutex_);
            reports_.emplace_back(report.begin(), report.end());
        });
    }
    ~TakenReports() { unit_.onOutput({}); }
    TakenReports(const TakenReports&) = delete;
    TakenReports& operator=(const TakenReports&) = delete;

    std::vector<ReportBytes> reports() const {
        const std::lock_guard hold(mutex_);
        return reports_;
    }
    // Waits until there are so many; what there is then.
    std::vector<ReportBytes> waitFor(std::size_t count) const {
        eventually([&] { return reports().size() >= count; });
        return reports();
    }

private:
    CameraUnit& unit_;
    mutable std::mutex mutex_;
    std::vector<ReportBytes> reports_;
};

} // namespace lightpen::test
