// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "platform/Time.h"
#include "webcam/camera/CameraList.h"
#include "webcam/camera/ControlsFile.h"
#include "webcam/camera/VideoDevice.h"

namespace lightpen::webcam {

// What a user should send when a camera does not work: of each camera the driver, the formats, the controls
// with their ranges and values, and the rate that two seconds have shown. No picture and no serial number are
// in it. It lasts two seconds for each camera. Ends with a line break.
std::string cameraReport(VideoDevices& devices, const ControlsFile& controls, Clock& clock,
                         const std::vector<CameraInfo>& cameras);

} // namespace lightpen::webcam
