// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/Time.h"
#include "webcam/camera/CameraControls.h"
#include "webcam/camera/CameraMode.h"
#include "webcam/camera/CameraProblem.h"
#include "webcam/camera/ControlsFile.h"
#include "webcam/camera/GreyPicture.h"
#include "webcam/camera/VideoDevice.h"

namespace lightpen::webcam {

class VideoStream;

// One camera that sends pictures while it is open. Pictures never leave memory. One thread at a time.
class Camera {
public:
    // What a wait for a picture ended with.
    enum class Next {
        picture, // there is one
        timeOut, // none in time; the next call may have one
        gone,    // the camera has left, or answers no more: close, and open when it is there again
    };

    // Keeps all three; they must outlive the camera.
    Camera(VideoDevices& devices, const ControlsFile& controls, Clock& clock);
    // Closes.
    ~Camera();
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    // Opens the node (of a camera that was listed, which has this identity), chooses its best mode and lets
    // it stream. A camera that a program before has left as it needed it is put back first. A failure is one
    // log line, and no other until something else is told; the camera is then closed.
    CameraProblem open(const std::string& node, const std::string& identity);
    // Puts the controls back as they were found, and ends the stream. Nothing when it is not open.
    void close();
    // Whether it is open; also while the camera has gone.
    bool isOpen() const { return stream_ != nullptr; }

    // The mode in which it streams, as the camera has confirmed it. Only while it is open.
    const CameraMode& mode() const;
    // Whether the exposure can be set; otherwise it is the camera's own. Only while it is open.
    bool manualExposure() const { return controls_ && controls_->manualExposure(); }
    // How long pictures take from now on, or by the camera's own choice. A camera that cannot says so in the
    // log once. The next opening begins with the camera's own choice. Only while it is open.
    void expose(Exposure exposure);

    // Waits for so long at most, and makes the newest picture this one; older ones are thrown away. The
    // memory of the picture given is used again. A picture that is not whole is counted and left out. A
    // camera that has sent no whole one for three seconds is gone, too. Only while it is open.
    Next newest(GreyPicture& picture, Microseconds timeout);
    // How many pictures since it was opened were not whole.
    std::uint64_t broken() const;
    // How many whole ones were older than the one taken, so that nobody saw them.
    std::uint64_t passedOver() const;

private:
    CameraProblem start(const std::string& node, const std::string& identity);
    CameraProblem startStream(const std::string& node);
    Next look(GreyPicture& picture);
    Next lost(const std::string& how);
    void tell(const std::string& line);

    VideoDevices& devices_;
    const ControlsFile& file_;
    Clock& clock_;
    // In the order in which they are made; the stream and the controls use the device.
    std::unique_ptr<VideoDevice> device_;
    std::unique_ptr<CameraControls> controls_;
    std::unique_ptr<VideoStream> stream_;
    std::string node_;
    Microseconds lastWhole_{0};  // when the last whole picture was taken, or the stream began
    int failures_ = 0;           // since there was a picture, whole or not
    bool streaming_ = false;     // whether a whole picture has come since it was opened
    std::string lastTold_;       // the log's last line of how the camera is
    std::string toldOfExposure_; // the camera whose lack of an exposure the log was told of
};

// Puts the controls of a camera back that a program before has left as it needed them; nothing when it has
// left none, or still has the camera. For the start of a program.
void putBackLeftControls(VideoDevices& devices, const ControlsFile& file, const std::string& node,
                         const std::string& identity);

} // namespace lightpen::webcam
