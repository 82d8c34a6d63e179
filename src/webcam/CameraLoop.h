// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "platform/RunLoop.h"
#include "unit/bus/EmulatedBus.h"
#include "webcam/CameraState.h"
#include "webcam/WebcamUnit.h"
#include "webcam/camera/Camera.h"
#include "webcam/camera/CameraList.h"
#include "webcam/camera/NodeWatch.h"

namespace lightpen::webcam {

// The thread that has the camera. While the user wants it, it opens the camera, plugs its unit in, and shows
// its pictures to the unit's eye; a camera that leaves takes its unit with it, and comes back by itself. The
// camera streams at no other time. Main thread, unless an operation says otherwise.
class CameraLoop {
public:
    // All outlive the loop.
    struct Surroundings {
        VideoDevices& devices;
        const ControlsFile& controls;
        const CameraMemory& memory;
        EmulatedBus& bus;
        RunLoop& runLoop;
        Clock& clock; // in real time
        VideoFolders folders = {};
    };

    // The camera is what cameraMeant() finds by this; empty: the best there is. Changed is called on the main
    // thread when state() is another one.
    CameraLoop(const Surroundings& surroundings, std::string camera, std::function<void()> changed);
    // Ends.
    ~CameraLoop();
    CameraLoop(const CameraLoop&) = delete;
    CameraLoop& operator=(const CameraLoop&) = delete;

    // Starts the thread; the camera is wanted or not. Cameras that a program before has left as it needed
    // them are put back first.
    void start(bool switchedOn);
    // The user wants the camera to look, or not.
    void switchOn(bool on);
    bool switchedOn() const { return switchedOn_; }
    // Whether the user is at the machine; nothing looks while somebody else is.
    void allow(bool allowed);
    // How the camera is now. Any thread.
    CameraState state() const { return state_; }
    // The unit of the camera that looks now, while it is plugged in; null otherwise. It lives as long as the
    // bus. Any thread.
    WebcamUnit* unit() const { return unit_; }
    // Keeps what the unit keeps.
    void keep(WebcamUnit& unit) const;
    // Ends the thread, closes the camera, and writes what its unit keeps. The unit stays plugged in, so that
    // its host may take its leave; it sees nothing any more.
    void end();

private:
    using Units = std::map<std::string, WebcamUnit*>; // by their cameras' identities; the bus owns them

    // On the thread
    void run();
    void putBackLeft();
    bool mayLook() const { return !ending_ && switchedOn_ && allowed_; }
    std::optional<CameraInfo> choose();
    bool open(const CameraInfo& info);
    // Until the camera is not wanted any more, or has gone; whether it has sent a picture.
    bool lookWith(const CameraInfo& info);
    void adjust(CameraEye& eye, std::optional<EyeSettings>& used);
    WebcamUnit& unitOf(const CameraInfo& info);
    void tell(CameraState state);
    // On any
    void keepLater(const std::string& identity, WebcamUnit& unit);
    void onMainThread(void (CameraLoop::*operation)());
    // On the main thread
    void keepAll();
    void tellChange() { changed_(); }

    const Surroundings surroundings_;
    const std::string wanted_;
    const std::function<void()> changed_;
    NodeWatch watch_;
    std::atomic<bool> switchedOn_{false};
    std::atomic<bool> allowed_{true};
    std::atomic<bool> ending_{false};
    std::atomic<CameraState> state_{CameraState::off};
    std::atomic<WebcamUnit*> unit_{nullptr};
    PriorityInheritanceMutex mutex_; // guards what follows
    Units toKeep_;                   // those whose memory has changed
    // The thread's
    Camera camera_;
    Units units_;
    std::string toldOfNone_; // the log's last line of why there is no camera; empty while there is one
    std::thread thread_;
    // What requests to the main loop know of this object; gone with it.
    std::shared_ptr<CameraLoop*> self_;
};

} // namespace lightpen::webcam
