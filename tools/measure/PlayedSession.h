// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

#include "emulated/ScreenCapture.h"
#include "platform/Platform.h"
#include "unit/CameraUnit.h"

namespace lightpen {

// Who answers the targets: the emulated hand, or nobody.
enum class SessionKind { byHand, automatic };

// Plays one calibration from its first target to its completion: by hand the emulated pen touches whatever
// target is seen on the screen; in an automatic one nobody does anything. Nothing here knows where targets
// stand or how many there are. Main thread.
class PlayedSession {
public:
    // Everything outlives this object. The capture is the player's eyes; the unit's own are not here.
    PlayedSession(Platform& platform, CameraUnit& unit, ScreenCapture& eyes);
    ~PlayedSession();
    PlayedSession(const PlayedSession&) = delete;
    PlayedSession& operator=(const PlayedSession&) = delete;

    // Calls start, which begins the session, and plays it; a picture of the screen with the first target goes
    // to the file. Returns what went wrong, empty when nothing did.
    std::string run(SessionKind kind, const std::function<void()>& start, const std::string& pictureFile);
    // How often the hand touched the screen, and how many calibrations were completed.
    int touches() const { return touches_; }
    int completions() const { return completions_; }

private:
    void watch(); // keeps the picture once the camera's only target is shown
    void keepPicture(const ScreenPicture& picture);

    Platform& platform_;
    CameraUnit& unit_;
    ScreenCapture& eyes_;
    std::string pictureFile_;
    bool pictureKept_ = false;
    int touches_ = 0;
    int completions_ = 0;
};

} // namespace lightpen
