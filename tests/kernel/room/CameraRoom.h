// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>

#include "emulated/ScreenCapture.h"
#include "kernel/room/RoomView.h"
#include "kernel/room/VirtualCamera.h"
#include "platform/Time.h"
#include "unit/room/Hand.h"

namespace lightpen {

// A room with a projection, a hand with a pen that lights, and a camera of the kernel's that looks at both.
// What the camera sees is drawn anew for each of its pictures, on a thread of the room's. Any thread.
class CameraRoom {
public:
    // The screen's size, and how it is seen. Without eyes the projection is dark. The clock outlives the
    // room. Throws VideoError.
    CameraRoom(const CameraMode& mode, Size screen, const Optics& optics, Clock& clock,
               std::unique_ptr<ScreenCapture> eyes = nullptr);
    ~CameraRoom();
    CameraRoom(const CameraRoom&) = delete;
    CameraRoom& operator=(const CameraRoom&) = delete;

    // The node that programs read the camera through.
    const std::string& node() const { return camera_.node(); }
    const CameraMode& mode() const { return camera_.mode(); }
    // Where a light on the screen comes out in the camera's pictures.
    PicturePoint place(ScreenPoint point) const { return view_.place(point); }

    // Plays the script from now on.
    void play(Hand hand);
    // How long the script still takes; 0 when none is played.
    Microseconds toPlay() const;
    RoomLight light() const;
    void setLight(const RoomLight& light);
    // While there is no signal nothing is written, and the camera's pictures are noise.
    void setSignal(bool there);
    // How many of the camera's pictures are lost, in percent. Throws VideoError.
    void setLoss(int percent);
    // Pulls the camera out and puts it back, whoever reads it. Each throws VideoError.
    void pull();
    void plugIn();

    // How many pictures have been written since the start.
    unsigned long pictures() const;
    // Why nothing is written, where that was not asked for; empty while all is well.
    std::string problem() const;

private:
    void run(const std::stop_token& stop);
    bool ready();
    void followReader();
    void writePicture();
    std::optional<ScreenPoint> penNow() const;

    Clock& clock_;
    const std::unique_ptr<ScreenCapture> eyes_;
    mutable std::mutex mutex_; // guards all below
    VirtualCamera camera_;
    RoomView view_;
    std::unique_ptr<VideoStream> stream_;
    std::vector<std::uint8_t> grey_;
    Hand hand_;
    Microseconds handStart_{};
    Microseconds readerSeen_{};
    bool signal_ = true;
    bool plugged_ = true;
    unsigned long pictures_ = 0;
    std::string problem_;
    std::jthread thread_;
};

} // namespace lightpen
