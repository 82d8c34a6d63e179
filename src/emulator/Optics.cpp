// SPDX-License-Identifier: MIT
#include "emulator/Optics.h"

#include <cmath>
#include <numbers>

#include "emulator/PenReports.h"

namespace lightpen {

namespace {

Homography::Corners screenCorners(Size screen) {
    return {PlanePoint{0, 0}, {screen.width, 0}, {screen.width, screen.height}, {0, screen.height}};
}

Optics preset(Size screen, const Optics::Corners& corners) {
    if (const auto optics = Optics::fromCorners(screen, corners))
        return *optics;
    return *Optics::fromCorners({1, 1}, corners);
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
    const auto mapping =
        Homography::between(screenCorners(screen), {plane(corners.topLeft), plane(corners.topRight),
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

Optics Optics::rotated(Size screen) {
    return preset(screen, {{650, 270}, {2260, 590}, {1960, 1690}, {310, 1350}});
}

Optics& Optics::setNoise(double sigma, std::uint64_t seed) {
    sigma_ = sigma;
    seed_ = seed;
    return *this;
}

CameraPoint Optics::project(ScreenPoint point) const {
    const PlanePoint seen = toCamera_.map({point.x, point.y});
    return {seen.x, seen.y};
}

ScreenPoint Optics::unproject(CameraPoint point) const {
    const PlanePoint shown = toScreen_.map({point.x, point.y});
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
