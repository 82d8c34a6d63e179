// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "app/home/ProgramFacts.h"
#include "platform/Platform.h"
#include "platform/ServiceRegistry.h"
#include "unit/bus/EmulatedBus.h"
#include "webcam/CameraCalibration.h"
#include "webcam/CameraLoop.h"
#include "webcam/CameraMemory.h"
#include "webcam/camera/ControlsFile.h"

namespace lightpen::webcam {

// Everything beside the application: the bus, the camera's thread, and what is remembered of cameras. Main
// thread.
class WebcamDesk {
public:
    // The user's wish, kept from one start to the next.
    static constexpr std::string_view kSwitchedOffKey = "Camera Switched Off";

    // Platform, registry and devices outlive it. The folder is where the application writes its files; the
    // camera is as CameraLoop takes it.
    WebcamDesk(Platform& platform, ServiceRegistry& registry, VideoDevices& devices,
               const std::string& folder, const std::string& camera, const VideoFolders& folders = {});
    ~WebcamDesk();
    WebcamDesk(const WebcamDesk&) = delete;
    WebcamDesk& operator=(const WebcamDesk&) = delete;

    // What the window shows and offers; as long as this object lives.
    ProgramCamera camera();
    // From now on the camera looks, when the user wants it.
    void start();
    // The program ends: see CameraLoop::end().
    void end() { loop_.end(); }

private:
    void switchOn(bool on);
    void tellChange() const;
    void followSeat();

    Platform& platform_;
    const ControlsFile controls_;
    const CameraMemory memory_;
    EmulatedBus bus_;
    CameraLoop loop_;
    CameraCalibration calibration_;
};

} // namespace lightpen::webcam
