// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "platform/Time.h"
#include "unit/CameraUnit.h"

namespace lightpen {

// Has the unit's flash hold what a calibration on a screen of this size leaves, as its camera sees it now.
void storeCalibration(CameraUnit& unit, Size screen);

// What a person does with a camera unit in software: plugs it, lights lamps, moves it, holds its pen. The
// unit window and the commands both act through this. Main thread.
class UnitControl {
public:
    static constexpr Microseconds kReplugPause{1'000'000};
    // Before this has gone by behind a gesture, what it caused on the screen may still arrive.
    static constexpr Microseconds kEcho{500'000};
    // Beside the screen in every pose, so that the light presses nothing there.
    static constexpr CameraPoint kLampBeside{2420, 120};

    // The names of the camera's poses; the first one is a new unit's.
    static std::span<const std::string_view> poses();
    // None for a name that is not among them. The size is the screen's, in points.
    static std::optional<Optics> poseNamed(std::string_view name, Size screen);

    // Both outlive this object. The unit sees the screen of that size.
    UnitControl(CameraUnit& unit, Clock& clock, Size screen);

    CameraUnit& unit() { return unit_; }
    const CameraUnit& unit() const { return unit_; }
    Size screen() const { return screen_; }
    // The picture on the wall has another size in points from now on; camera and wall stay.
    void setScreen(Size screen);

    // Each asks for it and returns before it is done: who hears of it may take seconds, and this thread is to
    // stay free. Replug unplugs, and plugs in after the pause, whether the unit was there or not.
    void plug();
    void unplug();
    void replug(Microseconds pause = kReplugPause);
    // The flash holds what a calibration with four targets on this screen, in this pose, would leave.
    void calibrate();
    // The camera is put elsewhere; the flash stays as it is. False for an unknown name.
    bool pose(std::string_view name);
    std::string_view poseName() const { return pose_; } // the last one set

    // Plays the gestures from now on; false, and nothing happens, while the hand has not come to rest.
    bool play(const Hand& hand);
    // How long what it plays still takes; 0 when it plays nothing.
    Microseconds toPlay() const { return unit_.toPlay(); }
    // Whether the hand plays nothing and what it did last has arrived: only then a press on the screen cannot
    // be its own.
    bool handRests() const;

private:
    CameraUnit& unit_;
    Clock& clock_;
    Size screen_;
    std::string_view pose_;
    Microseconds restsAt_{};
};

} // namespace lightpen
