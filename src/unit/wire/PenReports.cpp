// SPDX-License-Identifier: MIT
#include "unit/wire/PenReports.h"

#include <algorithm>
#include <cmath>

namespace lightpen {

namespace {

// The host reads coordinates as signed 16-bit numbers.
constexpr double kLargestCoordinate = 32767;

std::uint8_t low(int value) {
    return static_cast<std::uint8_t>(value & 0xFF);
}

std::uint8_t high(int value) {
    return static_cast<std::uint8_t>((value >> 8) & 0xFF);
}

// A report knows no sign, so what lies before the range is reported as far beyond its end as it lies before.
int withinOrBeyond(double coordinate, int range) {
    double value = std::round(coordinate);
    if (value < 0)
        value = range - value;
    return static_cast<int>(std::min(value, kLargestCoordinate));
}

} // namespace

int reportedX(double x, bool avoidZeroLowByte) {
    const int whole = withinOrBeyond(x, kCameraWidth);
    if (!avoidZeroLowByte || (whole & 0xFF) != 0)
        return whole;
    if (whole == 0)
        return 1;
    if (whole == kCameraWidth)
        return whole - 1;
    return x < whole ? whole - 1 : whole + 1;
}

int reportedY(double y) {
    return withinOrBeyond(y, kCameraHeight);
}

ReportBytes spotReport(CameraPoint spot, bool avoidZeroLowByte) {
    const int x = reportedX(spot.x, avoidZeroLowByte);
    const int y = reportedY(spot.y);
    return {1, low(x), high(x), low(y), high(y)};
}

ReportBytes noSpotReport() {
    return {0, 0, 0, 0, 0};
}

} // namespace lightpen
