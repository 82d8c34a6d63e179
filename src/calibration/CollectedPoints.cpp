// SPDX-License-Identifier: MIT
#include "calibration/CollectedPoints.h"

#include <algorithm>
#include <cmath>

namespace lightpen {

namespace {

// The largest list that a unit stores.
constexpr std::size_t kMostPoints = 80;

// Camera units are compared with the target's points as they are, on purpose. The differences are of single
// precision.
bool isSamePoint(CameraPoint earlier, CameraPoint point, Size target) {
    const auto distance = [](double a, double b) {
        return static_cast<double>(static_cast<float>(std::fabs(a - b)));
    };
    return distance(earlier.x, point.x) < target.width / 2 &&
           distance(earlier.y, point.y) < target.height / 2;
}

} // namespace

CollectedPoints::CollectedPoints(std::int64_t targets)
    : wanted_(static_cast<std::size_t>(std::max<std::int64_t>(targets, 1))) {
    points_.reserve(std::min(wanted_, kMostPoints));
}

CollectedPoints::Verdict CollectedPoints::offer(CameraPoint point, Size targetSize) {
    const std::lock_guard hold(mutex_);
    if (points_.size() >= wanted_)
        return Verdict::complete;
    if (std::any_of(points_.begin(), points_.end(),
                    [&](CameraPoint earlier) { return isSamePoint(earlier, point, targetSize); }))
        return Verdict::samePoint;
    points_.push_back(point);
    return Verdict::taken;
}

PointListRef CollectedPoints::points() const {
    const std::lock_guard hold(mutex_);
    return std::make_shared<const PointList>(points_);
}

} // namespace lightpen
