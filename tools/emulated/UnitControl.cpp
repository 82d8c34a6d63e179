// SPDX-License-Identifier: MIT
#include "emulated/UnitControl.h"

#include <algorithm>
#include <array>

#include "calibration/TargetGrid.h"

namespace lightpen {

namespace {

constexpr std::array<std::string_view, 3> kPoses{"keystone", "straight", "rotated"};

} // namespace

void storeCalibration(CameraUnit& unit, Size screen) {
    const double right = screen.width - kTargetSideMargin;
    const double bottom = screen.height - kTargetUpperMargin;
    unit.flash()->store(unit.seen({kTargetSideMargin, kTargetUpperMargin}),
                        unit.seen({right, kTargetUpperMargin}), unit.seen({kTargetSideMargin, bottom}),
                        unit.seen({right, bottom}));
}

std::span<const std::string_view> UnitControl::poses() {
    return kPoses;
}

std::optional<Optics> UnitControl::poseNamed(std::string_view name, Size screen) {
    if (name == "keystone")
        return Optics::strongKeystone(screen);
    if (name == "straight")
        return Optics::straight(screen);
    if (name == "rotated")
        return Optics::rotated(screen);
    return std::nullopt;
}

UnitControl::UnitControl(CameraUnit& unit, Clock& clock, Size screen)
    : unit_(unit), clock_(clock), screen_(screen) {
    pose(kPoses.front());
}

void UnitControl::setScreen(Size screen) {
    screen_ = screen;
    pose(pose_);
}

void UnitControl::plug() {
    unit_.schedule(clock_.now(), [](CameraUnit& unit) { unit.plug(); });
}

void UnitControl::unplug() {
    unit_.schedule(clock_.now(), [](CameraUnit& unit) { unit.unplug(); });
}

void UnitControl::replug(Microseconds pause) {
    unplug();
    unit_.schedule(clock_.now() + pause, [](CameraUnit& unit) { unit.plug(); });
}

void UnitControl::calibrate() {
    storeCalibration(unit_, screen_);
}

bool UnitControl::pose(std::string_view name) {
    const auto optics = poseNamed(name, screen_);
    if (!optics)
        return false;
    pose_ = *std::find(kPoses.begin(), kPoses.end(), name);
    unit_.moveCamera(*optics);
    return true;
}

bool UnitControl::play(const Hand& hand) {
    if (toPlay() > Microseconds::zero())
        return false;
    unit_.play(hand);
    restsAt_ = clock_.now() + hand.duration() + kEcho;
    return true;
}

bool UnitControl::handRests() const {
    return toPlay() == Microseconds::zero() && clock_.now() >= restsAt_;
}

} // namespace lightpen
