// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

#include <QTimer>

#include "emulated/ScreenCapture.h"
#include "emulated/TargetSeeker.h"
#include "emulated/UnitControl.h"

namespace lightpen {

// A hand that calibrates by itself: while a calibration is on the screen, it touches each target that it
// sees. It looks at pixels and knows neither where targets stand nor how many there are. Main thread.
class TargetHand {
public:
    // The control and the clock outlive this. Without eyes it never touches anything. The last one says
    // whether a calibration by hand is on the screen now; elsewhere it looks at nothing.
    TargetHand(UnitControl& control, Clock& clock, std::unique_ptr<ScreenCapture> eyes,
               std::function<bool()> sessionShown);

    // At first it may not.
    void allow(bool allowed);
    bool allowed() const { return timer_.isActive(); }
    // Looks once; about 30 times a second by itself.
    void look();

private:
    UnitControl& control_;
    Clock& clock_;
    const std::unique_ptr<ScreenCapture> eyes_;
    const std::function<bool()> sessionShown_;
    QTimer timer_;
    TargetSeeker seeker_;
    std::optional<ScreenPoint> seen_;
};

// Whether one of this program's calibration windows is on the screen and the pen is what it waits for: with
// the camera's filter out, the camera finds the targets without anybody.
bool sessionByHandShown(CameraUnit& unit);

} // namespace lightpen
