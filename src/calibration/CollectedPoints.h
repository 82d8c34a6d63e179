// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "device/PointList.h"
#include "platform/PriorityInheritance.h"

namespace lightpen {

// The camera points of one calibration session. The object stands for the session itself: what belongs to a
// session holds on to it, so that a late call can tell that its session is over. Thread-safe.
class CollectedPoints {
public:
    // The point was taken; it repeats an earlier one and was refused; all targets have their points already.
    enum class Verdict { taken, samePoint, complete };

    // The session has this number of targets; less than one counts as one.
    explicit CollectedPoints(std::int64_t targets);
    // Takes the point unless all targets have theirs, or it is nearer to an earlier point than half the
    // target's size on both axes.
    Verdict offer(CameraPoint point, Size targetSize);
    // The points so far, in the order of the targets; never null.
    PointListRef points() const;

private:
    const std::size_t wanted_;
    mutable PriorityInheritanceMutex mutex_;
    PointList points_;
};

} // namespace lightpen
