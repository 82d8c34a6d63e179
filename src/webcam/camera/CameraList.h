// SPDX-License-Identifier: MIT
// Which cameras this machine has, and which of them is used.
#pragma once

#include <string>
#include <vector>

#include "webcam/camera/CameraMode.h"
#include "webcam/camera/CameraProblem.h"
#include "webcam/camera/VideoDevice.h"

namespace lightpen::webcam {

// Where the machine tells of its video nodes; a test has folders of its own.
struct VideoFolders {
    std::string system = "/sys/class/video4linux";
    std::string nodes = "/dev";
};

// A camera of this machine.
struct CameraInfo {
    std::string node; // as "/dev/video0"
    std::string name; // what it calls itself, for people
    // The same for this camera whenever it is plugged in: maker, product and serial number; also where it is
    // plugged in, when it has no such number or another camera has the same. Letters, digits, ".", "-" and
    // "_", so it can be a part of a file's name. Not for others to see.
    std::string identity;
    std::string usb;               // maker and product as "046d:0825"; empty when it is not on USB
    std::string driver;            // the kernel's driver of it; empty when it could not be opened
    bool builtIn = false;          // it is fixed to the machine, and so looks at its user
    std::vector<CameraMode> modes; // those that are read here, the best first
    CameraProblem problem;         // why it cannot be used; a busy one may still have modes
};

// All nodes that capture pictures or could not be asked, in the order of their numbers. Metadata and output
// nodes are left out. Each node is opened for a moment. Any thread.
std::vector<CameraInfo> listCameras(VideoDevices& devices, const VideoFolders& folders = {});

// The camera to be used: of those without a problem one that is not built in, then the one with the best
// mode, then the first. Null when there is none. Points into the list.
const CameraInfo* chosenCamera(const std::vector<CameraInfo>& cameras);
// The camera that the user means by a node ("/dev/video2", "video2"), a link to one ("/dev/v4l/by-id/..."),
// an identity or a name. Null when there is none. Points into the list.
const CameraInfo* cameraMeant(const std::vector<CameraInfo>& cameras, const std::string& wanted);
// The camera that a start would use: the one that the user means, or the best where wanted is empty. Null
// when it is not there or cannot be used. Points into the list.
const CameraInfo* usedCamera(const std::vector<CameraInfo>& cameras, const std::string& wanted);

// The list for a terminal: each camera with its modes, which one is used, why others are not, and that the
// wanted one is not there. Wanted is as above. Ends with a line break.
std::string listText(const std::vector<CameraInfo>& cameras, const std::string& wanted);

} // namespace lightpen::webcam
