// SPDX-License-Identifier: MIT
#include "calibration/Calibrator.h"

#include <cfloat>
#include <cmath>
#include <utility>

#include "platform/Log.h"

namespace lightpen {

namespace {

// The coefficients are exact to the last bit only where each operation is rounded to its own type at once.
static_assert(FLT_EVAL_METHOD == 0);

constexpr std::size_t kUnknowns = 8;

// The linear system of the coefficients, augmented by its right side.
using Matrix = std::array<std::array<float, kUnknowns + 1>, kUnknowns>;

// The two equations that carry a corner onto its target. Each entry is a double until it is stored.
void storeCorner(Matrix& matrix, std::size_t row, CameraPoint corner, double targetX, double targetY) {
    auto& first = matrix[row];
    first[0] = static_cast<float>(corner.x);
    first[1] = static_cast<float>(corner.y);
    first[2] = 1;
    first[6] = static_cast<float>(-corner.x * targetX);
    first[7] = static_cast<float>(-corner.y * targetX);
    first[8] = static_cast<float>(targetX);

    auto& second = matrix[row + 1];
    second[3] = static_cast<float>(corner.x);
    second[4] = static_cast<float>(corner.y);
    second[5] = 1;
    second[6] = static_cast<float>(-corner.x * targetY);
    second[7] = static_cast<float>(-corner.y * targetY);
    second[8] = static_cast<float>(targetY);
}

// Brings the row with the largest entry of the pivot column to the pivot's place; the earlier one of equals.
// The columns left of the pivot are never read again and stay where they are.
void choosePivot(Matrix& matrix, std::size_t pivot) {
    std::size_t best = pivot;
    for (std::size_t row = pivot + 1; row < kUnknowns; ++row)
        if (std::fabs(matrix[row][pivot]) > std::fabs(matrix[best][pivot]))
            best = row;
    if (best == pivot)
        return;
    for (std::size_t column = pivot; column <= kUnknowns; ++column)
        std::swap(matrix[pivot][column], matrix[best][column]);
}

// There is no test for a pivot of zero: its quotients are not finite, which says that there is no solution.
void eliminate(Matrix& matrix) {
    for (std::size_t pivot = 0; pivot + 1 < kUnknowns; ++pivot) {
        choosePivot(matrix, pivot);
        for (std::size_t row = pivot + 1; row < kUnknowns; ++row) {
            const float factor = matrix[row][pivot] / matrix[pivot][pivot];
            for (std::size_t column = pivot; column <= kUnknowns; ++column)
                matrix[row][column] -= matrix[pivot][column] * factor;
        }
    }
}

void substituteBack(const Matrix& matrix, std::array<float, kUnknowns>& solution) {
    for (std::size_t i = kUnknowns; i-- > 0;) {
        float sum = matrix[i][kUnknowns];
        for (std::size_t j = kUnknowns - 1; j > i; --j)
            sum -= solution[j] * matrix[i][j];
        solution[i] = sum / matrix[i][i];
    }
}

} // namespace

std::shared_ptr<Calibrator> Calibrator::calibratorWithSourceQuadPoints(const _KVRQuadPoints& sourcePoints,
                                                                       const ScreenRect& destinationRect) {
    return std::make_shared<Calibrator>(sourcePoints, destinationRect);
}

Calibrator::Calibrator(const _KVRQuadPoints& sourcePoints, const ScreenRect& destinationRect)
    : destinationRect_(destinationRect), sourcePoints_(sourcePoints) {
    calculateConstant();
}

void Calibrator::calculateConstant() {
    const double left = destinationRect_.origin.x;
    const double top = destinationRect_.origin.y;
    const double right = left + destinationRect_.size.width;
    const double bottom = top + destinationRect_.size.height;

    Matrix matrix{};
    storeCorner(matrix, 0, sourcePoints_.topLeft, left, top);
    storeCorner(matrix, 2, sourcePoints_.topRight, right, top);
    storeCorner(matrix, 4, sourcePoints_.bottomLeft, left, bottom);
    storeCorner(matrix, 6, sourcePoints_.bottomRight, right, bottom);
    eliminate(matrix);
    substituteBack(matrix, vector_);
}

ScreenPoint Calibrator::mapPointFrom(CameraPoint point) const {
    const ScreenPoint result = transformed(point);
    logLine("Calibr n:503 map point result: %s", PointText(result).c_str());
    return result;
}

} // namespace lightpen
