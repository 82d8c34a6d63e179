// SPDX-License-Identifier: MIT
#include "emulated/TargetHand.h"

#include <utility>

#include <QApplication>

#include "calibration/KVRCalibrationWindow.h"

namespace lightpen {

TargetHand::TargetHand(UnitControl& control, Clock& clock, std::unique_ptr<ScreenCapture> eyes,
                       std::function<bool()> sessionShown)
    : eyes_(std::move(eyes)), sessionShown_(std::move(sessionShown)) {
    if (eyes_)
        hand_.emplace([&control](const Hand& hand) { control.play(hand); }, *eyes_, clock);
    timer_.setInterval(SeekingHand::kLookPeriod);
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { look(); });
}

void TargetHand::allow(bool allowed) {
    if (allowed)
        timer_.start();
    else
        timer_.stop();
}

void TargetHand::look() {
    if (!hand_)
        return;
    if (sessionShown_())
        hand_->look();
    else
        hand_->forget();
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
