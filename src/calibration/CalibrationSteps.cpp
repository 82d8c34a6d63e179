// SPDX-License-Identifier: MIT
#include "calibration/CalibrationSteps.h"

#include <cmath>

namespace lightpen {

namespace {

// The distance from one target to the next; none where there is no next one.
float stepBetween(double length, std::int64_t count) {
    return count < 2 ? 0.0F : static_cast<float>(length / (static_cast<double>(count) - 1));
}

float centreX(float step, std::int64_t column) {
    constexpr auto margin = static_cast<float>(kTargetSideMargin);
    return column == 0 ? margin : static_cast<float>(column) * step - margin;
}

} // namespace

WindowPoint targetOriginOfStep(const StepLayout& layout, std::int64_t step) {
    const auto& [grid, screen, target] = layout;
    const std::int64_t columns = grid.columns < 1 ? 1 : grid.columns;
    const std::int64_t row = step / columns;
    const double margin = row == grid.rows - 1 ? kTargetUpperMargin : -kTargetUpperMargin;
    const double stepY = stepBetween(screen.height, grid.rows);
    return {centreX(stepBetween(screen.width, columns), step % columns) - target.width / 2,
            screen.height - static_cast<double>(row) * stepY - target.height / 2 + margin};
}

WindowPoint firstTargetOrigin(Size screen, Size target) {
    return {kTargetSideMargin - target.width / 2, screen.height - kTargetUpperMargin - target.height / 2};
}

bool isSamePoint(CameraPoint earlier, CameraPoint point, Size target) {
    const auto distance = [](double a, double b) {
        return static_cast<double>(static_cast<float>(std::fabs(a - b)));
    };
    return distance(earlier.x, point.x) < target.width / 2 &&
           distance(earlier.y, point.y) < target.height / 2;
}

} // namespace lightpen
