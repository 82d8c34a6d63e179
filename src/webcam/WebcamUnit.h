// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "unit/bus/SoftwareUnit.h"
#include "webcam/CameraEye.h"
#include "webcam/CameraMemory.h"

namespace lightpen::webcam {

// A camera unit whose eye is a webcam: one for each camera, whose identity is its serial number.
class WebcamUnit final : public SoftwareUnit {
public:
    // Unplugged, with what the camera's memory holds. The socket is as for every unit.
    WebcamUnit(UnitDescription description, UnitSocket* socket, const UnitMemory& memory);

    CameraEye& eye() { return eye_; }
    // What it keeps now.
    UnitMemory memory();

    // What its eye undoes belongs to the calibration that was made with it. Any thread.

    // From now on, to make a calibration with it. It stays with the next that is stored; until then the one
    // before can be had back.
    void tryCorrection(const SightCorrection& correction);
    void giveUpTrial();
    // A calibration has been stored, which may be the same as before. Whether what is kept is another one.
    bool keepTrial();
    // Of the calibration that is stored.
    void correctLamp(CameraPoint lamp);
    // To be called when what the unit keeps has changed. A calibration that comes back, since it was the one
    // before the last, has its own correction again.
    void calibrationMayHaveChanged();

private:
    struct Calibration {
        Flash flash;
        SightCorrection correction;
    };

    CameraEye eye_;
    // The unit's lock guards these.
    Calibration stored_;
    Calibration before_;
};

// What the host sees of the unit of this camera.
UnitDescription webcamUnitDescription(const std::string& name, const std::string& identity);

} // namespace lightpen::webcam
