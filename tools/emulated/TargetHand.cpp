// SPDX-License-Identifier: MIT
#include "emulated/TargetHand.h"

#include <utility>

#include <QApplication>

#include "calibration/KVRCalibrationWindow.h"
#include "unit/room/ScreenSight.h"

namespace lightpen {

namespace {

constexpr std::chrono::milliseconds kLookPeriod{30};
constexpr Microseconds kDwell = std::chrono::milliseconds(120);

} // namespace

TargetHand::TargetHand(UnitControl& control, Clock& clock, std::unique_ptr<ScreenCapture> eyes,
                       std::function<bool()> sessionShown)
    : control_(control), clock_(clock), eyes_(std::move(eyes)), sessionShown_(std::move(sessionShown)) {
    timer_.setInterval(kLookPeriod);
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { look(); });
}

void TargetHand::allow(bool allowed) {
    if (allowed)
        timer_.start();
    else
        timer_.stop();
}

void TargetHand::look() {
    if (!eyes_ || !sessionShown_()) {
        seeker_ = {};
        seen_.reset();
        return;
    }
    if (eyes_->changed()) {
        const auto picture = eyes_->look();
        seen_ = picture ? targetSeen(*picture) : std::nullopt;
    }
    if (const auto place = seeker_.look(seen_, clock_.now()))
        control_.play(Hand().press(*place).stay(kDwell).lift());
}

bool sessionByHandShown(CameraUnit& unit) {
    if (unit.firmware()->settings().filterOut)
        return false;
    for (const QWidget* widget : QApplication::topLevelWidgets())
        if (widget->isVisible() && dynamic_cast<const KVRCalibrationWindow*>(widget))
            return true;
    return false;
}

} // namespace lightpen
