// SPDX-License-Identifier: MIT
#include "webcam/WebcamDesk.h"

#include <utility>
#include <variant>

namespace lightpen::webcam {

WebcamDesk::WebcamDesk(Platform& platform, ServiceRegistry& registry, VideoDevices& devices,
                       const std::string& folder, const std::string& camera, const VideoFolders& folders)
    : platform_(platform), controls_(platform.dataFiles, folder), memory_(platform.dataFiles, folder),
      bus_(registry, platform.runLoop, platform.clock),
      loop_({devices, controls_, memory_, bus_, platform.runLoop, platform.clock, folders}, camera,
            [this] { tellChange(); }),
      calibration_(
          platform, [this] { return loop_.unit(); }, [this](WebcamUnit& unit) { loop_.keep(unit); }) {
    platform_.notifications.addObserver(this, kUnitAccessDidChange, nullptr,
                                        [this](const Notification&) { followSeat(); });
    followSeat();
}

WebcamDesk::~WebcamDesk() {
    platform_.notifications.removeObserver(this);
    loop_.end();
}

void WebcamDesk::followSeat() {
    loop_.allow(platform_.shell.unitAccess.hasTheSeat);
}

void WebcamDesk::start() {
    const auto off = platform_.defaults.objectForKey(kSwitchedOffKey);
    const auto* isOff = off ? std::get_if<bool>(&*off) : nullptr;
    loop_.start(!isOff || !*isOff);
    tellChange();
}

void WebcamDesk::switchOn(bool on) {
    platform_.defaults.setObject(kSwitchedOffKey, !on);
    loop_.switchOn(on);
    tellChange();
}

void WebcamDesk::tellChange() const {
    platform_.notifications.post({std::string(kProgramCameraDidChange)});
}

ProgramCamera WebcamDesk::camera() {
    return {[this] { return textKey(loop_.state()); }, [this] { return loop_.switchedOn(); },
            [this](bool on) { switchOn(on); },
            ProgramCamera::Calibration{
                [this](std::function<void()> goOn) { calibration_.measureLens(std::move(goOn)); },
                [this](const HomeTexts& texts) { calibration_.askForTouch(texts); },
                [this] { return calibration_.underWay(); }, [this] { calibration_.end(); }}};
}

} // namespace lightpen::webcam
