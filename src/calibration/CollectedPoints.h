// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <mutex>

#include "device/PointList.h"

namespace lightpen {

// The camera points of one calibration session, and by its address the session itself: whatever belongs to
// a session holds on to this, so that what comes late finds a session that is over. Thread-safe.
class CollectedPoints {
public:
    // Taken; refused as a repetition of an earlier touch; refused since each target has its point.
    enum class Verdict { taken, samePoint, complete };

    // One point for each target; at least one.
    explicit CollectedPoints(std::int64_t targets);
    // Takes the point unless it repeats an earlier one, or there is one for each target.
    Verdict offer(CameraPoint point, Size targetSize);
    // The points so far, in the order of the targets.
    PointListRef points() const;

private:
    const std::size_t wanted_;
    mutable std::mutex mutex_;
    PointList points_;
};

} // namespace lightpen
