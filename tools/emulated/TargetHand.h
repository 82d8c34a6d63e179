// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <QTimer>

#include "emulated/ScreenCapture.h"
#include "emulated/SeekingHand.h"
#include "emulated/UnitControl.h"

namespace lightpen {

// A hand that calibrates by itself: it plays each calibration that comes to the screen. Main thread.
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
    const std::unique_ptr<ScreenCapture> eyes_;
    const std::function<bool()> sessionShown_;
    QTimer timer_;
    std::optional<SeekingHand> hand_; // none without eyes
};

// Whether one of this program's calibration windows is on the screen and the pen is what it waits for: with
// the camera's filter out, the camera finds the targets without anybody.
bool sessionByHandShown(CameraUnit& unit);

} // namespace lightpen
