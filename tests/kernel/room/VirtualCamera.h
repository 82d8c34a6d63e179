// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "kernel/room/VideoStream.h"

namespace lightpen {

// What a camera delivers.
struct CameraMode {
    VideoFormat format{{640, 480}, PixelKind::grey};
    int rate = 60; // pictures a second, within one
};

// A camera of the kernel's whose pictures are those that are written to another node: the two ends of the
// kernel's virtual video device, joined. It offers the mode's size alone. Where nothing is written its
// pictures are noise. Needs root; one at a time. One thread.
class VirtualCamera {
public:
    // Plugged in. Throws VideoError when the kernel has none or cannot do that.
    explicit VirtualCamera(const CameraMode& mode);
    // Takes it out of the kernel, unless somebody still has it open.
    ~VirtualCamera();
    VirtualCamera(const VirtualCamera&) = delete;
    VirtualCamera& operator=(const VirtualCamera&) = delete;

    const CameraMode& mode() const { return mode_; }
    // The nodes that programs read and that pictures are written to; while it is plugged in.
    const std::string& node() const { return node_; }
    const std::string& outputNode() const { return outputNode_; }
    // How many of its pictures are lost on the way to their reader, in percent; whoever reads them. Throws
    // VideoError.
    void setLoss(int percent);

    // Pulls it out, whoever reads it, and puts it back with what it was set to. Each throws VideoError.
    void pull();
    void plugIn();

private:
    void bind(const char* action);
    void setUp();

    const CameraMode mode_;
    int loss_ = 0;
    std::string node_;
    std::string outputNode_;
};

} // namespace lightpen
