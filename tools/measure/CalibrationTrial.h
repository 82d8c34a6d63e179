// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "app/LightPenNX7Controller.h"
#include "emulated/ScreenCapture.h"
#include "measure/Accuracy.h"
#include "measure/CalibrationScenes.h"
#include "measure/DriverDesktop.h"
#include "platform/Platform.h"
#include "unit/CameraUnit.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {

// What came of a calibration that was played.
struct CalibrationOutcome {
    std::string problem; // what went wrong; empty when nothing did
    AccuracyRow row;
    PointList stored; // what the unit's flash held after the session
    // What the driver read from it after the unit had been plugged in again; two more that hold the unit's
    // information follow the calibration's points.
    PointList readBack;
    int touches = 0; // of the hand during the session
    int completions = 0;
};

// Calibrates from nothing and measures what came of it: a unit with an empty flash is plugged in, a session
// is played, the unit is unplugged and plugged in again, and the hand taps all over the screen. Main thread.
class CalibrationTrial {
public:
    // Makes another look at the screen; null when that cannot be had.
    using NewCapture = std::function<std::unique_ptr<ScreenCapture>()>;

    // Everything outlives this object. The desktop's bus runs in real time. Pictures of the targets go to the
    // folder.
    CalibrationTrial(DriverDesktop& desktop, EmulatedBus& bus, LightPenNX7Controller& controller,
                     NewCapture newCapture, std::filesystem::path pictures);

    // Plays one calibration, with a unit of its own.
    CalibrationOutcome run(const CalibrationScene& scene);

private:
    // Each throws std::runtime_error with what went wrong.
    void play(const CalibrationScene& scene, CameraUnit& unit, CalibrationOutcome& outcome);
    void playSession(const CalibrationScene& scene, CameraUnit& unit, ScreenCapture& eyes,
                     CalibrationOutcome& outcome);
    void plugIn(CameraUnit& unit);
    void unplug(CameraUnit& unit);

    DriverDesktop& desktop_;
    Platform& platform_;
    EmulatedBus& bus_;
    LightPenNX7Controller& controller_;
    const NewCapture newCapture_;
    const std::filesystem::path pictures_;
};

} // namespace lightpen
