// SPDX-License-Identifier: MIT
// The calibration in force, and what it makes of camera points.
#include "calibration/KVRCalibrationCenter.h"

#include <algorithm>

#include "device/EventGeneratorNX7.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

// The result before any calibrator was asked.
constexpr ScreenPoint kNoResult{-1, -1};

} // namespace

void KVRCalibrationCenter::setGridFor(std::int64_t totalPoints) {
    _totalPoints = totalPoints;
    const TargetGrid grid = TargetGrid::forTotalPoints(totalPoints);
    setCalibrationRows(grid.rows, grid.columns);
}

void KVRCalibrationCenter::setTotalPoints(std::int64_t totalPoints) {
    setGridFor(totalPoints);
    setCalibrators(std::make_shared<const CalibratorList>());
}

void KVRCalibrationCenter::setCalibrationRows(std::int64_t rows, std::int64_t columns) {
    _rows = rows;
    _columns = columns;
}

void KVRCalibrationCenter::setCalibrationPoints(const PointListRef& points) {
    const PointListRef taken = points ? points : std::make_shared<const PointList>();
    setGridFor(static_cast<std::int64_t>(taken->size()));
    _calibrationPoints = taken;
    // In one step, so that a pen that is down meanwhile is never without a calibration.
    auto list = std::make_shared<CalibratorList>();
    addCalibrators(*list, taken);
    setCalibrators(std::move(list));
}

void KVRCalibrationCenter::setCalibrators(CalibratorListRef list) {
    firstProjection_ = list->empty() ? std::nullopt : std::optional(list->front()->projection());
    calibrators_ = std::move(list);
}

PointListRef KVRCalibrationCenter::calibrationPoints() const {
    const SessionRef session = session_;
    return session ? session->points() : _calibrationPoints.load();
}

void KVRCalibrationCenter::createCalibrator() {
    auto list = std::make_shared<CalibratorList>(*calibrators());
    addCalibrators(*list, calibrationPoints());
    setCalibrators(std::move(list));
}

CalibratedScreen KVRCalibrationCenter::screenOfNow() const {
    const auto screen = calibrationScreen();
    return screen ? CalibratedScreen{screen->frame.size, screen->quarterTurns} : CalibratedScreen();
}

void KVRCalibrationCenter::addCalibrators(CalibratorList& list, const PointListRef& points) {
    if (!points || points->empty())
        return;
    logLine("KVR n:279 _calibrationPoints: %s", describe(points).c_str());
    mappedScreen_ = screenOfNow();
    const CalibratedScreen made =
        calibratedScreen(EventGeneratorNX7::unitSerialNumber(), *points).value_or(mappedScreen_);
    if (made != mappedScreen_)
        logLine("Calibration: it was made on %g x %g points, and is used on %g x %g", made.size.width,
                made.size.height, mappedScreen_.size.width, mappedScreen_.size.height);
    const TargetGrid grid{_rows, _columns};
    const CellSize size = cellSize(grid, made.size);
    logLine("KVR n:284 rectWidth : %d rectHeight : %d", size.width, size.height);
    if (!grid.isCoveredBy(points->size())) {
        logLine(
            "KVR: %zu calibration points are too few for %lld by %lld targets; the pen stays uncalibrated",
            points->size(), static_cast<long long>(_rows), static_cast<long long>(_columns));
        return;
    }
    for (const TargetCell& cell : targetCells(grid, size)) {
        const auto [at, rectangle] = cellOnScreen(cell, made, mappedScreen_);
        logLine("KVR n:288 create calibrator using point : %d %d %d %d, destination rectangle :%s",
                static_cast<int>(at[0]), static_cast<int>(at[1]), static_cast<int>(at[2]),
                static_cast<int>(at[3]), NSStringFromRect(rectangle).c_str());
        list.push_back(calibratorWithPoints(
            {(*points)[at[0]], (*points)[at[1]], (*points)[at[2]], (*points)[at[3]]}, rectangle));
    }
}

void KVRCalibrationCenter::screensDidChange() {
    if (!_calibrationScreen)
        setCalibrationScreen(Platform::current().desktop.mainScreen());
    if (session_.load())
        return checkScreenOfSession();
    // Without any screen there is nothing to map to; the next one brings the same news.
    if (const auto points = _calibrationPoints.load();
        points && Platform::current().desktop.mainScreen() && screenOfNow() != mappedScreen_)
        setCalibrationPoints(points);
}

std::shared_ptr<Calibrator>
KVRCalibrationCenter::calibratorWithPoints(const std::array<CameraPoint, 4>& points,
                                           const ScreenRect& destinationRectangle) const {
    // The list goes row by row, the quadrilateral clockwise.
    const _KVRQuadPoints quad{points[0], points[1], points[3], points[2]};
    return Calibrator::calibratorWithSourceQuadPoints(quad, destinationRectangle);
}

// Each point is inside the first calibrator.
ScreenPoint KVRCalibrationCenter::mapPointFrom(CameraPoint point) {
    const auto first = firstProjection_.load();
    const ScreenPoint result = first ? first->mapPointFrom(point) : kNoResult;
    return result == kNoResult ? smallestOf(*calibrators(), point) : result;
}

ScreenPoint KVRCalibrationCenter::smallestOf(const CalibratorList& list, CameraPoint point) {
    const auto screen = Platform::current().desktop.mainScreenFrame();
    const Size size = screen ? screen->size : Size();
    ScreenPoint smallest{size.width + 1, size.height + 1};
    for (const auto& calibrator : list) {
        const ScreenPoint mapped = calibrator->mapPointFrom(point);
        smallest = {std::min(smallest.x, mapped.x), std::min(smallest.y, mapped.y)};
    }
    return smallest;
}

} // namespace lightpen
