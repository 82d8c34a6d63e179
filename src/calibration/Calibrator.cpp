// SPDX-License-Identifier: MIT
#include "calibration/Calibrator.h"

#include <algorithm>
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
using Equation = std::array<float, kUnknowns + 1>;
using Matrix = std::array<Equation, kUnknowns>;

// The equation that carries a corner onto one coordinate of its target; its own three unknowns begin at the
// column. Each entry is a double until it is stored.
void storeEquation(Equation& row, std::size_t column, CameraPoint corner, double target) {
    row[column] = static_cast<float>(corner.x);
    row[column + 1] = static_cast<float>(corner.y);
    row[column + 2] = 1;
    row[6] = static_cast<float>(-corner.x * target);
    row[7] = static_cast<float>(-corner.y * target);
    row[8] = static_cast<float>(target);
}

void storeCorner(Matrix& matrix, std::size_t row, CameraPoint corner, ScreenPoint target) {
    storeEquation(matrix[row], 0, corner, target.x);
    storeEquation(matrix[row + 1], 3, corner, target.y);
}

// Brings the row with the largest entry of the pivot column to the pivot's place; the earlier one of equals.
void choosePivot(Matrix& matrix, std::size_t pivot) {
    std::size_t best = pivot;
    for (std::size_t row = pivot + 1; row < kUnknowns; ++row)
        if (std::fabs(matrix[row][pivot]) > std::fabs(matrix[best][pivot]))
            best = row;
    std::swap(matrix[pivot], matrix[best]);
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
    storeCorner(matrix, 0, sourcePoints_.topLeft, {left, top});
    storeCorner(matrix, 2, sourcePoints_.topRight, {right, top});
    storeCorner(matrix, 4, sourcePoints_.bottomLeft, {left, bottom});
    storeCorner(matrix, 6, sourcePoints_.bottomRight, {right, bottom});
    eliminate(matrix);
    substituteBack(matrix, projection_.vector);
}

ScreenPoint Projection::mapPointFrom(CameraPoint point) const {
    const ScreenPoint result = transformed(point);
    logLine("Calibr n:503 map point result: %s", result);
    return result;
}

// In two steps of a few points, so that the compiler divides two at a time.
void Calibrator::transformed(std::span<const CameraPoint> points, std::span<ScreenPoint> results) const {
    const std::array<float, 8>& v = vector();
    const auto [a, b, c, d, e, f, g, h] =
        std::array<double, 8>{v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7]};
    std::array<double, 64> scales{};
    for (std::size_t done = 0; done < points.size(); done += scales.size()) {
        const auto some = points.subspan(done, std::min(scales.size(), points.size() - done));
        for (std::size_t i = 0; i < some.size(); ++i)
            scales[i] = 1 / static_cast<double>(static_cast<float>(g * some[i].x + h * some[i].y + 1.0));
        for (std::size_t i = 0; i < some.size(); ++i)
            results[done + i] = {(a * some[i].x + b * some[i].y + c) * scales[i],
                                 (d * some[i].x + e * some[i].y + f) * scales[i]};
    }
}

} // namespace lightpen
