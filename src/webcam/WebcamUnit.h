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
    double lens() const { return lens_; }
    // What it keeps now.
    UnitMemory memory();

private:
    CameraEye eye_;
    const double lens_;
};

// What the host sees of the unit of this camera.
UnitDescription webcamUnitDescription(const std::string& name, const std::string& identity);

} // namespace lightpen::webcam
