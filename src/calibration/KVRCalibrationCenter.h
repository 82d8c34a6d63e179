// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "calibration/Calibrator.h"
#include "calibration/TargetGrid.h"
#include "device/PointList.h"
#include "device/Protocols.h"
#include "platform/Shared.h"

namespace lightpen {

// Holds a calibration and maps camera points to the screen with it. The point thread maps; everything else
// is for the main thread. Whoever maps sees one whole set of calibrators, the old one or the new one.
class KVRCalibrationCenter : public KVRCalibrationProtocol {
public:
    // The calibrators of this moment; they never change while they are held.
    using CalibratorList = std::vector<std::shared_ptr<const Calibrator>>;
    using CalibratorListRef = std::shared_ptr<const CalibratorList>;

    // The mode is stored and returned only. The screen is the frame of the one that calibrations are shown
    // on; without one its size counts as 0.
    explicit KVRCalibrationCenter(std::int32_t mode, std::optional<ScreenRect> screen = std::nullopt);

    std::int32_t mode() const { return _mode; }
    // No screen is ignored. Calibrators that exist are not made anew.
    void setCalibrationScreen(std::optional<ScreenRect> screen);
    std::optional<ScreenRect> calibrationScreen() const { return _calibrationScreen; }

    // Sets the grid for so many targets and drops all calibrators.
    void setTotalPoints(std::int64_t totalPoints);
    std::int64_t totalPoints() const { return _totalPoints; }
    // Sets the grid alone.
    void setCalibrationRows(std::int64_t rows, std::int64_t columns);

    // Takes a calibration: its number of targets, its points and the calibrators made of them. Null counts as
    // an empty list, which has no calibrators.
    void setCalibrationPoints(const PointListRef& points);
    // Null before the first calibration.
    PointListRef calibrationPoints() const { return _calibrationPoints; }

    // Adds the calibrators of the points to those that are there. A list that does not reach the end of its
    // grid adds none and is logged.
    void createCalibrator();
    // A calibrator for one cell, its points row by row: upper left, upper right, lower left, lower right.
    std::shared_ptr<Calibrator> calibratorWithPoints(const std::array<CameraPoint, 4>& points,
                                                     const ScreenRect& destinationRectangle) const;
    // Row by row, one for each cell of the grid. Any thread.
    CalibratorListRef calibrators() const { return calibrators_; }

    // The point on the screen, by the first calibrator; beyond the screen's lower right corner without one.
    // Point thread.
    ScreenPoint mapPointFrom(CameraPoint point) override;

private:
    void setGridFor(std::int64_t totalPoints);
    void addCalibrators(CalibratorList& list) const;
    static ScreenPoint smallestOf(const CalibratorList& list, CameraPoint point);

    const std::int32_t _mode;
    std::optional<ScreenRect> _calibrationScreen;
    SharedRecord<PointListRef> _calibrationPoints;
    std::int64_t _totalPoints = 0;
    std::int64_t _rows = 0;
    std::int64_t _columns = 0;
    SharedReference<const CalibratorList> calibrators_{std::make_shared<const CalibratorList>()};
};

} // namespace lightpen
