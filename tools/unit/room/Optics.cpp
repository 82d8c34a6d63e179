// SPDX-License-Identifier: MIT
#include "unit/room/Optics.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "unit/wire/PenReports.h"

namespace lightpen {

namespace {

Size withArea(Size screen) {
    return screen.width > 0 && screen.height > 0 ? screen : Size{1, 1};
}

Optics preset(Size screen, const Optics::Corners& corners) {
    return *Optics::fromCorners(withArea(screen), corners);
}

constexpr CameraPoint kMiddle{kCameraWidth / 2.0, kCameraHeight / 2.0};
constexpr double kMostBarrel = 0.1;

// The square of a place's distance from the middle, in half diagonals.
double squareFromMiddle(CameraPoint point) {
    const double x = point.x - kMiddle.x;
    const double y = point.y - kMiddle.y;
    return (x * x + y * y) / (kMiddle.x * kMiddle.x + kMiddle.y * kMiddle.y);
}

// Brought so many times nearer to the middle.
CameraPoint drawnIn(CameraPoint point, double factor) {
    return {kMiddle.x + (point.x - kMiddle.x) * factor, kMiddle.y + (point.y - kMiddle.y) * factor};
}

// A well mixed number for each input; neighbouring inputs have nothing in common.
std::uint64_t mixed(std::uint64_t value) {
    value += 0x9E3779B97F4A7C15U;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31);
}

// In (0, 1].
double uniform(std::uint64_t bits) {
    return (static_cast<double>(bits >> 11) + 1) * 0x1p-53;
}

} // namespace

Optics::Optics(const Homography& toCamera, Size screen, const Corners& corners)
    : toCamera_(toCamera), toScreen_(toCamera.inverse()), corners_(corners),
      facing_(toCamera.depth({screen.width / 2, screen.height / 2})) {}

std::optional<Optics> Optics::fromCorners(Size screen, const Corners& corners) {
    const auto plane = [](CameraPoint point) { return PlanePoint{point.x, point.y}; };
    const auto mapping = Homography::ofRectangle(screen.width, screen.height,
                                                 {plane(corners.topLeft), plane(corners.topRight),
                                                  plane(corners.bottomRight), plane(corners.bottomLeft)});
    if (!mapping)
        return std::nullopt;
    return Optics(*mapping, screen, corners);
}

Optics Optics::straight(Size screen) {
    return preset(screen, {{380, 330}, {2180, 330}, {2180, 1590}, {380, 1590}});
}

Optics Optics::strongKeystone(Size screen) {
    return preset(screen, {{610, 420}, {2090, 260}, {2270, 1650}, {330, 1430}});
}

// A pure turn: right angles stay right, and every length is as many camera units a point.
Optics Optics::rotated(Size screen) {
    const Size area = withArea(screen);
    constexpr double kAngle = std::numbers::pi / 12;
    constexpr Size kSpan{2200, 1600}; // what the turned screen may take up
    const double cosine = std::cos(kAngle);
    const double sine = std::sin(kAngle);
    const double across = area.width * cosine + area.height * sine;
    const double down = area.width * sine + area.height * cosine;
    const double scale = std::min(kSpan.width / across, kSpan.height / down);
    const auto corner = [&](double right, double below) {
        const double x = right * area.width / 2;
        const double y = below * area.height / 2;
        return CameraPoint{kCameraWidth / 2.0 + scale * (x * cosine - y * sine),
                           kCameraHeight / 2.0 + scale * (x * sine + y * cosine)};
    };
    return preset(screen, {corner(-1, -1), corner(1, -1), corner(1, 1), corner(-1, 1)});
}

Optics& Optics::setNoise(double sigma, std::uint64_t seed) {
    sigma_ = sigma;
    seed_ = seed;
    return *this;
}

Optics& Optics::setBarrel(double part) {
    barrel_ = std::clamp(part, 0.0, kMostBarrel);
    return *this;
}

CameraPoint Optics::bent(CameraPoint straight) const {
    return barrel_ == 0 ? straight : drawnIn(straight, 1 - barrel_ * squareFromMiddle(straight));
}

CameraPoint Optics::project(ScreenPoint point) const {
    const PlanePoint seen = toCamera_.map({point.x, point.y});
    return bent({seen.x, seen.y});
}

// Each step leaves a small part of the error of the one before.
ScreenPoint Optics::unproject(CameraPoint point) const {
    constexpr int kSteps = 30;
    CameraPoint straight = point;
    for (int step = 0; barrel_ != 0 && step < kSteps; ++step)
        straight = drawnIn(point, 1 / (1 - barrel_ * std::min(squareFromMiddle(straight), 2.0)));
    const PlanePoint shown = toScreen_.map({straight.x, straight.y});
    return {shown.x, shown.y};
}

std::optional<CameraPoint> Optics::see(ScreenPoint point, Microseconds time) const {
    // Also true for a point at the horizon and for one that is not a number.
    if (!(toCamera_.depth({point.x, point.y}) / facing_ > 0))
        return std::nullopt;
    const CameraPoint exact = project(point);
    const bool inView = exact.x >= -kLensMargin && exact.x <= kCameraWidth + kLensMargin &&
                        exact.y >= -kLensMargin && exact.y <= kCameraHeight + kLensMargin;
    if (!inView)
        return std::nullopt;
    const CameraPoint off = noise(time);
    return CameraPoint{exact.x + off.x, exact.y + off.y};
}

// A function of time, so that it does not matter how often or in which order somebody looks.
CameraPoint Optics::noise(Microseconds time) const {
    if (sigma_ == 0)
        return {};
    const std::uint64_t first = mixed(seed_ ^ mixed(static_cast<std::uint64_t>(time.count())));
    const double radius = sigma_ * std::sqrt(-2 * std::log(uniform(first)));
    const double angle = 2 * std::numbers::pi * uniform(mixed(first));
    return {radius * std::cos(angle), radius * std::sin(angle)};
}

} // namespace lightpen
