// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"
#include "kit/VirtualTime.h"
#include "kit/webcam/FakeCamera.h"
#include "linux_desktop/files/XdgDataFiles.h"
#include "webcam/camera/ControlsFile.h"

namespace lightpen::webcam {

// A machine with one camera at /dev/video0, and a folder of the application's.
struct CameraStage {
    CameraStage() { video.nodes["/dev/video0"] = &camera; }

    RecordingLog log;
    VirtualClock clock;
    FakeCamera camera{clock};
    FakeVideo video;
    TemporaryDirectory folder;
    XdgDataFiles files{folder.path().string(), ""};
    ControlsFile controls{files, folder.path().string()};

    std::string fileOf(const std::string& identity) const {
        return folder.file("camera-controls-" + identity);
    }
};

inline constexpr const char* kNode = "/dev/video0";
inline constexpr const char* kIdentity = "046d_0825-ABC123";

} // namespace lightpen::webcam
